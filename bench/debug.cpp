// A debug message: while the output is switched off, and while it is on with a sink that drops the text, so that only
// the test and the composing count. The peer is a logger of spdlog's compiled library with a null sink.
#include "doors.h"
#include "measure.h"

#include <bxtools/debug.h>

#include <memory>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

static constexpr char MODULE[] = "STORE.DLL";
static constexpr char HEADER[] = "From BOOL DocumentStore::Open( LPCTSTR pName )";
static constexpr char MESSAGE[] = " Error: !aFile.Open( pName, 0 )";

static void RegisterDebugMessage( const char* pName, BOOL fOn )
{
    benchmark::RegisterBenchmark( pName,
                                  [fOn]( benchmark::State& rState )
                                  {
                                      BenchSwitchDebugMessages( fOn );
                                      if ( IsDbgMessage() != fOn )
                                          rState.SkipWithError( "the switch has no effect" );
                                      for ( [[maybe_unused]] auto aRun : rState )
                                          benchmark::DoNotOptimize( DebugMessage( MODULE, HEADER, MESSAGE ) );
                                      BenchSwitchDebugMessages( TRUE );
                                  } );
}

static void RegisterSpdlog( const char* pName, spdlog::level::level_enum aLevel, const char* pPattern )
{
    auto pLogger = std::make_shared<spdlog::logger>( pName, std::make_shared<spdlog::sinks::null_sink_st>() );
    pLogger->set_level( aLevel );
    pLogger->set_pattern( pPattern );
    benchmark::RegisterBenchmark( pName,
                                  [pLogger]( benchmark::State& rState )
                                  {
                                      const char* pModule = MODULE;
                                      const char* pHeader = HEADER;
                                      const char* pMessage = MESSAGE;
                                      for ( [[maybe_unused]] auto aRun : rState )
                                      {
                                          pLogger->debug( "{} -> {}\r\n{}\r\n", pModule, pHeader, pMessage );
                                          benchmark::ClobberMemory();
                                      }
                                  } );
}

void RegisterDebugMeasurements()
{
    RegisterDebugMessage( "debug/off/bxtools", FALSE );
    RegisterSpdlog( "debug/off/spdlog", spdlog::level::info, "%v" );
    RegisterDebugMessage( "debug/dropped/bxtools", TRUE );
    RegisterSpdlog( "debug/dropped/spdlog", spdlog::level::debug, "%v" );
}
