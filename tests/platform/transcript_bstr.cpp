// Counted wide texts, and the conversion between bytes and wide characters.

#include "platform/transcript.h"

#include <cstring>
#include <string>

namespace
{
constexpr OLECHAR g_aSource[] = { 'a', 'b', 0, 'c', 'd', 0 };

std::string Units( const OLECHAR* pText, UINT uLength )
{
    std::string strUnits;
    for ( UINT i = 0; i < uLength; ++i )
    {
        char aUnit[8];
        std::snprintf( aUnit, sizeof( aUnit ), "%s%04X", i == 0 ? "" : " ",
                       static_cast<unsigned>( pText[i] ) );
        strUnits += aUnit;
    }
    return strUnits;
}

void SayBstr( const char* pName, BSTR aBstr )
{
    const UINT uLength = SysStringLen( aBstr );
    Say( pName, "%u characters, %u bytes, %s, terminated %d", uLength, SysStringByteLen( aBstr ),
         Units( aBstr, uLength ).c_str(), aBstr[uLength] == 0 );
}

void SayTexts()
{
    BSTR aBstr = SysAllocString( g_aSource );
    SayBstr( "allocated up to the zero", aBstr );
    SysFreeString( aBstr );
    aBstr = SysAllocStringLen( g_aSource, 5 );
    SayBstr( "allocated with its zero", aBstr );
    SayNumber( "reallocated from itself", SysReAllocStringLen( &aBstr, aBstr + 3, 2 ) != FALSE );
    SayBstr( "its own tail", aBstr );
    SayNumber( "grown", SysReAllocStringLen( &aBstr, g_aSource, 4 ) != FALSE );
    SayBstr( "grown text", aBstr );
    SayNumber( "to nothing", SysReAllocStringLen( &aBstr, g_aSource, 0 ) != FALSE );
    SayBstr( "nothing", aBstr );
    SysFreeString( aBstr );

    aBstr = NULL;
    SayNumber( "reallocated from null", SysReAllocStringLen( &aBstr, g_aSource, 2 ) != FALSE );
    SayBstr( "from null", aBstr );
    SayNumber( "reallocated whole", SysReAllocString( &aBstr, g_aSource + 3 ) != FALSE );
    SayBstr( "whole", aBstr );
    SysFreeString( aBstr );

    aBstr = SysAllocStringLen( NULL, 3 );
    Say( "null source", "%u characters, terminated %d", SysStringLen( aBstr ), aBstr[3] == 0 );
    SysFreeString( aBstr );
    SayNumber( "null text", SysAllocString( NULL ) == NULL );
    Say( "length of null", "%u %u", SysStringLen( NULL ), SysStringByteLen( NULL ) );
    SysFreeString( NULL );
    SayNumber( "too long", SysAllocStringLen( NULL, 0x80000000 ) == NULL );
}

void SayWidened( const char* pName, UINT uCodePage, const char* pBytes, int nBytes )
{
    WCHAR aWide[64];
    const int nLength = MultiByteToWideChar( uCodePage, 0, pBytes, nBytes, aWide, 64 );
    Say( pName, "%d: %s", nLength, Units( aWide, static_cast<UINT>( nLength ) ).c_str() );
}

void SayNarrowed( const char* pName, const WCHAR* pWide, int nWide )
{
    char aBytes[64];
    const int nLength = WideCharToMultiByte( CP_UTF8, 0, pWide, nWide, aBytes, 64, NULL, NULL );
    std::string strBytes;
    for ( int i = 0; i < nLength; ++i )
    {
        char aByte[4];
        std::snprintf( aByte, sizeof( aByte ), " %02X", static_cast<unsigned char>( aBytes[i] ) );
        strBytes += aByte;
    }
    Say( pName, "%d:%s", nLength, strBytes.c_str() );
}

void SayWidening()
{
    SayWidened( "ASCII", CP_ACP, "abc", 3 );
    SayWidened( "terminated", CP_ACP, "abc", -1 );
    SayWidened( "an embedded zero", CP_ACP, "a\0b", 3 );
    SayWidened( "two bytes", CP_UTF8, "\xC3\xA4", 2 );
    SayWidened( "three bytes", CP_UTF8, "\xE2\x82\xAC", 3 );
    SayWidened( "four bytes", CP_UTF8, "\xF0\x9F\x98\x80", 4 );
    SayWidened( "lone continuation", CP_UTF8, "a\x80z", 3 );
    SayWidened( "cut short", CP_UTF8, "a\xE2\x82", 3 );
    SayWidened( "broken off", CP_UTF8, "\xE2\x82z", 3 );
    SayWidened( "broken off before four", CP_UTF8, "\xF0\x9Fz", 3 );
    SayWidened( "overlong", CP_UTF8, "\xC0\xAF", 2 );
    SayWidened( "overlong of three", CP_UTF8, "\xE0\x80\xAF", 3 );
    SayWidened( "surrogate in bytes", CP_UTF8, "\xED\xA0\x80", 3 );
    SayWidened( "beyond the last character", CP_UTF8, "\xF4\x90\x80\x80", 4 );
    SayWidened( "last character", CP_UTF8, "\xF4\x8F\xBF\xBF", 4 );
    SayWidened( "no lead byte", CP_UTF8, "\xFFz", 2 );
    SayWidened( "euro in the default code page", CP_ACP, "\x80", 1 );
}

void SayNarrowing()
{
    constexpr WCHAR WIDE[] = { 'a', 0xE4, 0x20AC, 0xD83D, 0xDE00, 0 };
    SayNarrowed( "to bytes", WIDE, 5 );
    SayNarrowed( "to bytes, terminated", WIDE, -1 );
    constexpr WCHAR LONE[] = { 0xD83D, 'x', 0xDE00, 0xD83D };
    SayNarrowed( "lone surrogates", LONE, 4 );
}

void SayLimits()
{
    WCHAR aWide[8];
    char aBytes[8];
    SayOutcome( "no input", MultiByteToWideChar( CP_ACP, 0, "abc", 0, aWide, 8 ) );
    SayOutcome( "null input", MultiByteToWideChar( CP_ACP, 0, NULL, -1, aWide, 8 ) );
    SayNumber( "asked for the room", MultiByteToWideChar( CP_ACP, 0, "abc", -1, NULL, 0 ) );
    SayNumber( "asked with a buffer", MultiByteToWideChar( CP_ACP, 0, "abc", -1, aWide, 0 ) );
    SayNumber( "just enough", MultiByteToWideChar( CP_ACP, 0, "abc", 3, aWide, 3 ) );
    SayOutcome( "one too few", MultiByteToWideChar( CP_ACP, 0, "abc", -1, aWide, 3 ) );
    SayOutcome( "half a pair of room", MultiByteToWideChar( CP_UTF8, 0, "\xF0\x9F\x98\x80", 4, aWide, 1 ) );
    SayOutcome( "null output with a size", MultiByteToWideChar( CP_ACP, 0, "abc", 3, NULL, 8 ) );
    SayOutcome( "negative length", MultiByteToWideChar( CP_ACP, 0, "abc", -1, aWide, -1 ) );
    SayOutcome( "no such code page", MultiByteToWideChar( 4711, 0, "abc", 3, aWide, 8 ) );
    SayOutcome( "wrong bytes refused",
                MultiByteToWideChar( CP_UTF8, MB_ERR_INVALID_CHARS, "a\x80", 2, aWide, 8 ) );
    constexpr WCHAR WIDE[] = { 'a', 'b', 0x20AC };
    SayOutcome( "no wide input", WideCharToMultiByte( CP_ACP, 0, WIDE, 0, aBytes, 8, NULL, NULL ) );
    SayOutcome( "null wide input", WideCharToMultiByte( CP_ACP, 0, NULL, 3, aBytes, 8, NULL, NULL ) );
    SayNumber( "bytes asked for", WideCharToMultiByte( CP_UTF8, 0, WIDE, 3, NULL, 0, NULL, NULL ) );
    SayOutcome( "bytes too few", WideCharToMultiByte( CP_UTF8, 0, WIDE, 3, aBytes, 4, NULL, NULL ) );
    BOOL fUsed = TRUE;
    WideCharToMultiByte( CP_ACP, 0, WIDE, 2, aBytes, 8, NULL, &fUsed );
    SayNumber( "default character used", fUsed );
}
} // namespace

int main()
{
    SayTexts();
    SayWidening();
    SayNarrowing();
    SayLimits();
    return 0;
}
