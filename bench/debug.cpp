// A debug message: while the output is switched off, and while it is on with a sink that drops the text, so that only
// the test and the composing count. The peer is spdlog's compiled library with a null sink: its free function, which
// needs as little at hand as DebugMessage does, and the same through a logger that the caller keeps. empty-call is a
// call into this library that does nothing. bare-ring is what the ring of messages is held to: the same texts composed right
// into the next slot of a shared mapping, without time, origin, checksum and waking.
#include "doors.h"
#include "measure.h"

#include <bxtools/debug.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#include <sys/mman.h>
#include <unistd.h>

static constexpr char MODULE[] = "STORE.DLL";
static constexpr char HEADER[] = "From BOOL DocumentStore::Open( LPCTSTR pName )";
static constexpr char MESSAGE[] = " Error: !aFile.Open( pName, 0 )";
static constexpr char SPDLOG_FORMAT[] = "{} -> {}\r\n{}\r\n";

static void RegisterDebugMessage( const char* pName, BOOL fOn, const char* pSink = "none" )
{
    benchmark::RegisterBenchmark( pName,
                                  [fOn, pSink]( benchmark::State& rState )
                                  {
                                      BenchUseDebugSink( pSink );
                                      BenchSwitchDebugMessages( fOn );
                                      if ( IsDbgMessage() != fOn )
                                          rState.SkipWithError( "the switch has no effect" );
                                      for ( [[maybe_unused]] auto aRun : rState )
                                          benchmark::DoNotOptimize( DebugMessage( MODULE, HEADER, MESSAGE ) );
                                      BenchSwitchDebugMessages( TRUE );
                                      BenchUseDebugSink( "none" );
                                  } );
}

struct BareRing
{
    struct Slot
    {
        std::atomic<uint64_t> ullState;
        uint32_t nLength;
        char szText[244];
    };
    alignas( 64 ) std::atomic<uint64_t> ullNext;
    alignas( 64 ) Slot aSlots[16384];
};

static BareRing& MapBareRing()
{
    const std::string strFile = std::string( std::getenv( "BXTOOLS_OBJECT_DIR" ) ) + "/bare-ring";
    const int nFile = open( strFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600 );
    void* pView = MAP_FAILED;
    if ( posix_fallocate( nFile, 0, sizeof( BareRing ) ) == 0 )
        pView = mmap( nullptr, sizeof( BareRing ), PROT_READ | PROT_WRITE, MAP_SHARED, nFile, 0 );
    if ( pView == MAP_FAILED )
        std::abort();
    close( nFile );
    return *static_cast<BareRing*>( pView );
}

static void WriteToBareRing( BareRing& rRing, const char* pModule, const char* pHeader, const char* pMessage )
{
    const uint64_t ullNumber = rRing.ullNext.fetch_add( 1, std::memory_order_relaxed );
    BareRing::Slot& rSlot = rRing.aSlots[ullNumber % std::size( rRing.aSlots )];
    char* pEnd = rSlot.szText;
    for ( const char* pText : { pModule, " -> ", pHeader, "\r\n", pMessage, "\r\n" } )
    {
        const size_t nLength = std::strlen( pText );
        std::memcpy( pEnd, pText, nLength );
        pEnd += nLength;
    }
    rSlot.nLength = static_cast<uint32_t>( pEnd - rSlot.szText );
    rSlot.ullState.store( ullNumber + 1, std::memory_order_release );
}

static void RegisterBareRing()
{
    benchmark::RegisterBenchmark( "debug/ring/bare-ring",
                                  [&rRing = MapBareRing()]( benchmark::State& rState )
                                  {
                                      const char* apTexts[] = { MODULE, HEADER, MESSAGE };
                                      for ( [[maybe_unused]] auto aRun : rState )
                                      {
                                          benchmark::DoNotOptimize( apTexts );
                                          WriteToBareRing( rRing, apTexts[0], apTexts[1], apTexts[2] );
                                      }
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
    RegisterDebugMessage( "debug/ring/bxtools", TRUE, "ring" );
    RegisterBareRing();
}
