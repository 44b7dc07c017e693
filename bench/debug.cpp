// A debug message: while the output is switched off, and while it is on with a sink that drops the text, so that only
// the test and the composing count. The peer is spdlog's compiled library with a null sink: its free function, which
// needs as little at hand as DebugMessage does, and the same through a logger that the caller keeps. empty-call is a
// call into this library that does nothing.
#include "doors.h"
#include "measure.h"

#include <bxtools/debug.h>

#include <memory>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

static constexpr char MODULE[] = "STORE.DLL";
static constexpr char HEADER[] = "From BOOL DocumentStore::Open( LPCTSTR pName )";
static constexpr char MESSAGE[] = " Error: !aFile.Open( pName, 0 )";
static constexpr char SPDLOG_FORMAT[] = "{} -> {}\r\n{}\r\n";

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

static void RegisterEmptyCall()
{
    benchmark::RegisterBenchmark( "debug/off/empty-call",
                                  []( benchmark::State& rState )
                                  {
                                      for ( [[maybe_unused]] auto aRun : rState )
                                          benchmark::DoNotOptimize(
                                              BenchEmptyCall( MODULE, HEADER, MESSAGE ) );
                                  } );
}

static std::shared_ptr<spdlog::logger> MakeLogger( spdlog::level::level_enum eLevel )
{
    auto pLogger =
        std::make_shared<spdlog::logger>( "bench", std::make_shared<spdlog::sinks::null_sink_st>() );
    pLogger->set_level( eLevel );
    pLogger->set_pattern( "%v" );
    return pLogger;
}

static void RegisterSpdlog( spdlog::level::level_enum eLevel, const char* pFreeName, const char* pLoggerName )
{
    const std::shared_ptr<spdlog::logger> pLogger = MakeLogger( eLevel );
    const char* pModule = MODULE;
    const char* pHeader = HEADER;
    const char* pMessage = MESSAGE;
    benchmark::RegisterBenchmark( pFreeName,
                                  [=]( benchmark::State& rState )
                                  {
                                      spdlog::set_default_logger( pLogger );
                                      for ( [[maybe_unused]] auto aRun : rState )
                                      {
                                          spdlog::debug( SPDLOG_FORMAT, pModule, pHeader, pMessage );
                                          benchmark::ClobberMemory();
                                      }
                                  } );
    benchmark::RegisterBenchmark( pLoggerName,
                                  [=]( benchmark::State& rState )
                                  {
                                      for ( [[maybe_unused]] auto aRun : rState )
                                      {
                                          pLogger->debug( SPDLOG_FORMAT, pModule, pHeader, pMessage );
                                          benchmark::ClobberMemory();
                                      }
                                  } );
}

void RegisterDebugMeasurements()
{
    RegisterDebugMessage( "debug/off/bxtools", FALSE );
    RegisterEmptyCall();
    RegisterSpdlog( spdlog::level::info, "debug/off/spdlog", "debug/off/spdlog-logger" );
    RegisterDebugMessage( "debug/dropped/bxtools", TRUE );
    RegisterSpdlog( spdlog::level::debug, "debug/dropped/spdlog", "debug/dropped/spdlog-logger" );
}
