// Three pieces of work that fail, each in its own way of telling. They record what happened on the stack of the thread
// that runs them, and carry on.
#pragma once

#include <bxtools/thread.h>

struct Worker
{
    const char* pName;
    const char* pStory;
    void ( *pWork )();
};

void ReadSettings();
void LoadPlugIns();
void ConvertTexts();

inline constexpr Worker WORKERS[] = {
    { "settings", "opens a file that is missing, and a folder as if it were a file", ReadSettings },
    { "plug-ins", "loads a library that is not there, and looks for a function that is none", LoadPlugIns },
    { "texts", "converts bytes that are no text, and closes a handle that is none", ConvertTexts },
};

// A worker as the work of a thread: it does its piece, and then waits for more until it is asked to stop or to end.
class WorkerThread : public WorkerThreadBase
{
public:
    explicit WorkerThread( const Worker& rWorker );
    ~WorkerThread() override;
    WorkerThread( const WorkerThread& ) = delete;
    WorkerThread& operator=( const WorkerThread& ) = delete;

    bool Execute( SingleThread* pThread ) override;
    void OnNotify( bool fStop ) override;

private:
    const Worker& m_rWorker;
    const HANDLE m_hWakeUp;
    bool m_fDone = false;
};
