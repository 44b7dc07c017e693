// For the programs that print what the platform's calls do, line by line: built from the same source, they
// run against our own layer on Linux and against the real calls on Windows, and the two transcripts are
// compared.
#pragma once

#include "platform/callrecord.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <type_traits>

// A line "name: values". Names do not repeat within a transcript.
[[gnu::format( printf, 2, 3 )]] inline void Say( const std::string& rName, const char* pFormat, ... )
{
    std::printf( "%s: ", rName.c_str() );
    va_list aArguments;
    va_start( aArguments, pFormat );
    std::vprintf( pFormat, aArguments );
    va_end( aArguments );
    std::printf( "\n" );
    RecordLine( rName.c_str() );
}

// The outcome of a call that fails with FALSE or null: "ok", or the last error.
template <class Result>
void SayOutcome( const std::string& rName, Result aResult )
{
    const DWORD dwError = GetLastError();
    if ( aResult )
        Say( rName, "ok" );
    else
        Say( rName, "failed %u", static_cast<unsigned>( dwError ) );
}

// A number alone, or the result of a call with the last error behind it.
template <class Number>
void SayNumber( const std::string& rName, Number nNumber )
{
    if constexpr ( std::is_signed_v<Number> )
        Say( rName, "%lld", static_cast<long long>( nNumber ) );
    else
        Say( rName, "%llu", static_cast<unsigned long long>( nNumber ) );
}

template <class Number>
void SayWithError( const std::string& rName, Number nResult )
{
    const DWORD dwError = GetLastError();
    Say( rName, "%lld, last error %u", static_cast<long long>( nResult ), static_cast<unsigned>( dwError ) );
}

// Whether a call gave an object.
inline void SayMade( const std::string& rName, HANDLE hObject )
{
    const DWORD dwError = GetLastError();
    Say( rName, "%s, last error %u", hObject != NULL ? "made" : "null", static_cast<unsigned>( dwError ) );
}

// A value that no call sets, so that a call that leaves the last error alone shows.
constexpr DWORD UNTOUCHED = 4711;

// From here on each call of the platform layer is recorded, natively.
#include <recordedcalls.h>

inline void SayWait( const std::string& rName, HANDLE hObject, DWORD dwMilliseconds = 0 )
{
    SetLastError( UNTOUCHED );
    SayWithError( rName, WaitForSingleObject( hObject, dwMilliseconds ) );
}
