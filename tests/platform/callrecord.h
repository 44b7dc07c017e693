// Which calls each line of a transcript stands for: docs/platform.md shows them. Where BXTOOLS_TRANSCRIPT_CALLS names a file, a
// line's name is written there with the latest calls that its own thread, and with those that all threads have made since the
// line before.
#pragma once

#include <atomic>
#include <cstdio>
#include <cstdlib>

// Nothing here allocates or waits: a thread that is suspended or ended may be in it.
struct CallRecord
{
    static constexpr unsigned KEPT = 64;

    void Add( const char* pCall ) { apCalls[uCalls++ % KEPT] = pCall; }

    // Forgets them.
    void Write( FILE* pFile )
    {
        const unsigned uEnd = uCalls.exchange( 0 );
        for ( unsigned u = uEnd > KEPT ? uEnd - KEPT : 0; u < uEnd; ++u )
            std::fprintf( pFile, " %s", apCalls[u % KEPT].load() );
    }

    std::atomic<const char*> apCalls[KEPT]; // the latest ones, each at its number modulo KEPT
    std::atomic<unsigned> uCalls;
};
inline constinit thread_local CallRecord t_aOwnCalls{};
inline constinit CallRecord g_aAllCalls{};

inline void RecordCall( const char* pCall )
{
    t_aOwnCalls.Add( pCall );
    g_aAllCalls.Add( pCall );
}

inline void RecordLine( const char* pName )
{
    // Nothing that is made with its first use: the run-time library would take a handle for it, perhaps the number of one that
    // the transcript has just closed.
    static constinit std::atomic<FILE*> s_pFile{ nullptr };
    const char* const pPath = std::getenv( "BXTOOLS_TRANSCRIPT_CALLS" );
    if ( pPath == nullptr )
        return;
    if ( s_pFile == nullptr )
        s_pFile = std::fopen( pPath, "w" );
    FILE* const pFile = s_pFile;
    if ( pFile == nullptr )
        return;
    std::fprintf( pFile, "%s\t", pName );
    t_aOwnCalls.Write( pFile );
    std::fputc( '\t', pFile );
    g_aAllCalls.Write( pFile );
    std::fputc( '\n', pFile );
}
