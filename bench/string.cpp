// The string class beside the strings a caller would take instead.
#include "measure.h"

#include <bxtools/mstring.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <glib.h>
#include <vector>

static constexpr char TEXT_12[] = "ERRCLS_STORE";
static constexpr char TEXT_36[] = "BXTOOLS.ERRCLS_DOCUMENT_STORE_LOCKED";
static_assert( sizeof( TEXT_12 ) == 12 + 1 && sizeof( TEXT_36 ) == 36 + 1 );

static void RegisterMake( const char* pText, const char* pOurs, const char* pGLib, const char* pStandard )
{
    const std::string strExpected = pText + std::string( "\n" );
    Measure( pOurs, strExpected,
             [pText]( auto& rUse )
             {
                 MString aText( pText );
                 rUse( aText.data() );
             } );
    Measure( pGLib, strExpected,
             [pText]( auto& rUse )
             {
                 gchar* pCopy = g_strdup( pText );
                 rUse( static_cast<const char*>( pCopy ) );
                 g_free( pCopy );
             } );
    Measure( pStandard, strExpected,
             [pText]( auto& rUse )
             {
                 std::string strText( pText );
                 rUse( strText.c_str() );
             } );
}

static void RegisterCopy()
{
    const std::string strSource( 100, 'c' );
    const MString aSource( strSource.c_str() );
    Measure( "string/copy100/bxtools", strSource + "\n",
             [aSource]( auto& rUse )
             {
                 MString aCopy( aSource );
                 rUse( aCopy.data() );
             } );
    Measure( "string/copy100/std::string", strSource + "\n",
             [strSource]( auto& rUse )
             {
                 std::string strCopy( strSource );
                 rUse( strCopy.c_str() );
             } );
}

// Ten pieces of ten characters, put together in a new text.
static void RegisterAppend()
{
    static constexpr int PIECES = 10;
    const char* pPiece = "0123456789";
    std::string strExpected;
    for ( int i = 0; i < PIECES; ++i )
        strExpected += pPiece;
    strExpected += '\n';

    Measure( "string/append/bxtools", strExpected,
             [pPiece]( auto& rUse )
             {
                 MString aText;
                 for ( int i = 0; i < PIECES; ++i )
                     aText += pPiece;
                 rUse( aText.data() );
             } );
    Measure( "string/append/GString", strExpected,
             [pPiece]( auto& rUse )
             {
                 GString* pText = g_string_new( NULL );
                 for ( int i = 0; i < PIECES; ++i )
                     g_string_append( pText, pPiece );
                 rUse( static_cast<const char*>( pText->str ) );
                 g_string_free( pText, TRUE );
             } );
    Measure( "string/append/std::string", strExpected,
             [pPiece]( auto& rUse )
             {
                 std::string strText;
                 for ( int i = 0; i < PIECES; ++i )
                     strText += pPiece;
                 rUse( strText.c_str() );
             } );
}

static void RegisterFindChar()
{
    const std::string strText = std::string( 1023, 'a' ) + 'z';
    const MString aText( strText.c_str() );
    Measure( "string/find-char/bxtools", "1023\n", [aText]( auto& rUse ) { rUse( aText.Find( 'z' ) ); } );
    Measure( "string/find-char/memchr", "1023\n",
             [strText]( auto& rUse )
             {
                 const char* pText = strText.data();
                 rUse( static_cast<const char*>( std::memchr( pText, 'z', strText.size() ) ) - pText );
             } );
}

// A text at the end of 1 KB whose first letter occurs nowhere else, or all the time.
static void RegisterFindText( char cFiller, const char* pOurs, const char* pPeer )
{
    const char* pNeedle = "needle";
    const std::string strText = std::string( 1018, cFiller ) + pNeedle;
    const MString aText( strText.c_str() );
    Measure( pOurs, "1018\n", [aText, pNeedle]( auto& rUse ) { rUse( aText.FindStr( pNeedle ) ); } );
    Measure( pPeer, "1018\n",
             [strText, pNeedle]( auto& rUse )
             {
                 const char* pText = strText.c_str();
                 rUse( std::strstr( pText, pNeedle ) - pText );
             } );
}

static void RegisterCompare()
{
    const char* pOther = "bxtools.errcls_document_store_locked";
    const std::string strText( TEXT_36 );
    const MString aText( TEXT_36 );
    Measure( "string/compare-no-case/bxtools", "1\n",
             [aText, pOther]( auto& rUse ) { rUse( aText.CompareNoCase( pOther ) == 0 ); } );
    Measure( "string/compare-no-case/GLib", "1\n",
             [strText, pOther]( auto& rUse )
             { rUse( g_ascii_strcasecmp( strText.c_str(), pOther ) == 0 ); } );
}

static std::vector<std::string> Split( const std::string& strText, char cDelimiter )
{
    std::vector<std::string> aTokens;
    size_t ulStart = 0;
    size_t ulEnd;
    while ( ( ulEnd = strText.find( cDelimiter, ulStart ) ) != std::string::npos )
    {
        aTokens.emplace_back( strText, ulStart, ulEnd - ulStart );
        ulStart = ulEnd + 1;
    }
    aTokens.emplace_back( strText, ulStart );
    return aTokens;
}

// 64 tokens of 15 characters, 1,023 characters in all; each token is made a string.
static void RegisterTokens()
{
    static constexpr USHORT TOKENS = 64;
    std::string strText;
    std::string strExpected;
    for ( int i = 0; i < TOKENS; ++i )
    {
        const std::string strToken = "token number " + std::to_string( 10 + i );
        strText += ( i == 0 ? "" : ";" ) + strToken;
        strExpected += strToken + "\n";
    }
    const MString aText( strText.c_str() );

    Measure( "string/tokens/bxtools", strExpected,
             [aText]( auto& rUse )
             {
                 for ( USHORT i = 0; i < TOKENS; ++i )
                 {
                     const MStringAdapter aToken = aText.GetToken( i, ';' );
                     rUse( aToken.data() );
                 }
             } );
    Measure( "string/tokens/split", strExpected,
             [strText]( auto& rUse )
             {
                 for ( const std::string& strToken : Split( strText, ';' ) )
                     rUse( strToken.c_str() );
             } );
    Measure( "string/tokens/g_strsplit", strExpected,
             [strText]( auto& rUse )
             {
                 gchar** ppTokens = g_strsplit( strText.c_str(), ";", -1 );
                 for ( gchar** ppToken = ppTokens; *ppToken != NULL; ++ppToken )
                     rUse( static_cast<const char*>( *ppToken ) );
                 g_strfreev( ppTokens );
             } );

    Measure( "string/token-count/bxtools", "64\n",
             [aText]( auto& rUse ) { rUse( aText.GetTokenCount( ';' ) ); } );
    Measure( "string/token-count/std::count", "64\n",
             [strText]( auto& rUse ) { rUse( 1 + std::count( strText.begin(), strText.end(), ';' ) ); } );
}

static void RegisterFormat()
{
    const char* pName = "document";
    const long lNumber = 4711;
    const unsigned int unTotal = 60000;
    Measure( "string/format/bxtools", "document: 4711 of 60000\n",
             [=]( auto& rUse )
             {
                 MString aText;
                 aText.Format( "%s: %ld of %u", pName, lNumber, unTotal );
                 rUse( aText.data() );
             } );
    Measure( "string/format/snprintf", "document: 4711 of 60000\n",
             [=]( auto& rUse )
             {
                 char aBuffer[512];
                 std::snprintf( aBuffer, sizeof( aBuffer ), "%s: %ld of %u", pName, lNumber, unTotal );
                 std::string strText( aBuffer );
                 rUse( strText.c_str() );
             } );
}

void RegisterStringMeasurements()
{
    static const std::string strText100( 100, 't' );
    RegisterMake( TEXT_12, "string/make12/bxtools", "string/make12/g_strdup", "string/make12/std::string" );
    RegisterMake( TEXT_36, "string/make36/bxtools", "string/make36/g_strdup", "string/make36/std::string" );
    RegisterMake( strText100.c_str(), "string/make100/bxtools", "string/make100/g_strdup",
                  "string/make100/std::string" );
    RegisterCopy();
    RegisterAppend();
    RegisterFindChar();
    RegisterFindText( 'a', "string/find-rare/bxtools", "string/find-rare/strstr" );
    RegisterFindText( 'n', "string/find-frequent/bxtools", "string/find-frequent/strstr" );
    RegisterCompare();
    RegisterTokens();
    RegisterFormat();
}
