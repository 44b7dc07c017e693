// Processes that do something at once, timed by the clock on the wall.
#pragma once

#include <functional>

// Where a process waits, prepared, until all of them are.
class StartGate
{
public:
    StartGate();
    ~StartGate();
    StartGate( const StartGate& ) = delete;
    StartGate& operator=( const StartGate& ) = delete;

    // In a process: returns when the gate is opened.
    void Pass();
    // In the one that measures.
    void AwaitArrivals( int nProcesses );
    void Open();

private:
    int m_anArrived[2];
    int m_anOpened[2];
};

// The body of a process, which calls Pass once; false when what it met was wrong.
//   nProcess  0 and up.
using ProcessBody = std::function<bool( int nProcess, StartGate& rGate )>;

// Starts them as copies of this process.
//   fOneProcessor  all of them on the first processor.
// Result: seconds from the opening of the gate to the last one's end. Ends the program when a body's answer is false.
double TimeOfProcesses( const char* pName, int nProcesses, const ProcessBody& aBody,
                        bool fOneProcessor = false );

// Registers a measurement whose time is that of one of lItems things that the processes do together.
void MeasureProcesses( const char* pName, int nProcesses, long lItems, const ProcessBody& aBody,
                       bool fOneProcessor = false );

// Zero memory that the processes share.
void* MakeSharedMemory( size_t nBytes );
