// How an operation is measured, and how its answer is checked before its time counts.
//
// An operation is a callable with one argument, the use that is made of its results; it hands over every result while
// the result is alive:
//
//     Measure( "string/make36/bxtools", "the text\n", [pText]( auto& rUse ) {
//         MString aText( pText );
//         rUse( aText.data() );
//     } );
//
// First it runs once with a use that writes all results down, one a line; unless they are the expected ones the program
// ends. In the timed loop the use only keeps the compiler from leaving a result out.
//
// Names are <group>/<case>/<who>; who is bxtools or a peer. bench/goals.txt says which ratios are wanted.
#pragma once

#include <benchmark/benchmark.h>
#include <concepts>
#include <string>
#include <utility>

// How a result is written down; a type of a group's own gets an overload beside it.
inline std::string Written( const char* pText )
{
    return pText;
}
inline std::string Written( const std::string& strText )
{
    return strText;
}
std::string Written( std::integral auto nValue )
{
    return std::to_string( nValue );
}

class WrittenDown
{
public:
    template <class Result>
    void operator()( const Result& aResult )
    {
        m_strLines += Written( aResult );
        m_strLines += '\n';
    }
    const std::string& Lines() const { return m_strLines; }

private:
    std::string m_strLines;
};

struct KeptAlive
{
    template <class Result>
    void operator()( const Result& aResult ) const
    {
        benchmark::DoNotOptimize( aResult );
    }
};

// Ends the program unless what an operation has written is what was expected of it.
void CheckAnswer( const char* pName, const std::string& strWritten, const std::string& strExpected );

// Registers an operation.
//   strExpected  its results, each followed by a line feed.
//   lItems       how many things one run of it works on: the time shown is that of one of them.
template <class Operation>
void Measure( const char* pName, const std::string& strExpected, Operation aOperation,
              benchmark::IterationCount lItems = 1 )
{
    WrittenDown aWritten;
    aOperation( aWritten );
    CheckAnswer( pName, aWritten.Lines(), strExpected );

    auto TimedLoop = [aTimed = std::move( aOperation ), lItems]( benchmark::State& rState ) mutable
    {
        KeptAlive aKept;
        if ( lItems == 1 )
            for ( [[maybe_unused]] auto aRun : rState )
                aTimed( aKept );
        else
            while ( rState.KeepRunningBatch( lItems ) )
                aTimed( aKept );
    };
    benchmark::RegisterBenchmark( pName, std::move( TimedLoop ) );
}

// The groups; each registers its operations, having checked them.
void RegisterStringMeasurements();
void RegisterNumberMeasurements();
void RegisterStreamMeasurements();
void RegisterGrowthMeasurements();
void RegisterDebugMeasurements();
void RegisterThreadMeasurements();
void RegisterStartMeasurements();
void RegisterLockMeasurements();
void RegisterProcessMeasurements();
void RegisterWaitMeasurements();
void RegisterChannelMeasurements();
void RegisterRegistryMeasurements();
void RegisterIniMeasurements();
void RegisterFileMeasurements();
void RegisterPathMeasurements();
void RegisterNlsMeasurements();
void RegisterTreeMeasurements();

// What peers leave in the system.
void RemoveLockPeers();
