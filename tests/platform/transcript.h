// For the programs that print what the platform's calls do, line by line: built from the same source, they
// run against our own layer on Linux and against the real calls on Windows, and the two transcripts are
// compared.
#pragma once

#include "platform/callrecord.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <cstdarg>
#include <cstdio>

// A line "name: values". Names do not repeat within a transcript.
[[gnu::format( printf, 2, 3 )]] inline void Say( const char* pName, const char* pFormat, ... )
{
    std::printf( "%s: ", pName );
    va_list aArguments;
    va_start( aArguments, pFormat );
    std::vprintf( pFormat, aArguments );
    va_end( aArguments );
    std::printf( "\n" );
    RecordLine( pName );
}

// The outcome of a call that fails with FALSE or null: "ok", or the last error.
template <class Result>
void SayOutcome( const char* pName, Result aResult )
{
    const DWORD dwError = GetLastError();
    if ( aResult )
        Say( pName, "ok" );
    else
        Say( pName, "failed %u", static_cast<unsigned>( dwError ) );
}

// A value that no call sets, so that a call that leaves the last error alone shows.
constexpr DWORD UNTOUCHED = 4711;

// From here on each call of the platform layer is recorded, natively.
#include <recordedcalls.h>
