// Tree files that are not as they were written: a good one with some of its bytes replaced, perhaps cut short. Where the first
// byte is odd the sums of its pages are made right again, so that what stands behind them is reached. A text comes out as it
// was written, or there is none; nobody looks outside the file or goes on for ever.
//
// An input is a byte of flags and any number of pieces: three bytes of a place, one of a length, and that many bytes.
#include "fuzz/require.h"
#include "runtime/rwbtreeondisk.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace
{
constexpr int KEYS = 600;
constexpr unsigned KEY_LENGTH = 24;

enum Flags
{
    SUMS_MADE_RIGHT = 1,
    CUT_AT_FIRST_PLACE = 2
};

std::string Path()
{
    const char* const pFolder = std::getenv( "BXTOOLS_OBJECT_DIR" );
    return std::string( pFolder != NULL ? pFolder : "." ) + "/treefile";
}

std::string Key( int nKey )
{
    return "049FUZZ.SECTION" + std::to_string( nKey % 7 ) + "KEY" +
           std::string( nKey % 50 == 0 ? 40 : 0, 'k' ) + std::to_string( nKey );
}

std::string Text( int nKey )
{
    return "text " + std::to_string( nKey );
}

void Put( RWFileManager& rFile, RWBTreeOnDisk& rTree, const std::string& strKey, const std::string& strText )
{
    const RWoffset lPlace = rFile.allocate( static_cast<unsigned long>( strText.size() + 4 ) );
    rFile.SeekTo( lPlace );
    RWCString( strText.c_str() ).saveOn( rFile );
    rTree.insertKeyAndValue( strKey.c_str(), lPlace );
}

// Two states, the second one of pages on two levels.
std::string MakeFile()
{
    std::filesystem::remove( Path() );
    for ( int nState = 0; nState < 2; ++nState )
    {
        RWFileManager aFile( Path().c_str() );
        RWBTreeOnDisk aTree( aFile, 10, RWBTreeOnDisk::autoCreate, KEY_LENGTH );
        for ( int nKey = nState; nKey < KEYS; nKey += 2 )
            Put( aFile, aTree, Key( nKey ), Text( nKey ) );
    }
    std::ifstream aBytes( Path(), std::ios::binary );
    return std::string( std::istreambuf_iterator<char>( aBytes ), {} );
}

void SumPages( std::string& rBytes )
{
    for ( size_t nPlace = 0; nPlace + TREE_PAGE_SIZE <= rBytes.size(); nPlace += TREE_PAGE_SIZE )
    {
        TreePage aPage;
        std::memcpy( static_cast<void*>( &aPage ), rBytes.data() + nPlace, sizeof( aPage ) );
        if ( std::memcmp( aPage.aHead.aMark, TREE_PAGE_MARK, sizeof( TREE_PAGE_MARK ) ) != 0 )
            continue;
        aPage.aHead.ullChecksum = ChecksumOfPage( aPage );
        std::memcpy( rBytes.data() + nPlace, &aPage, sizeof( aPage ) );
    }
}

// The good file with the pieces of an input.
std::string Damage( std::string strBytes, const uint8_t* pInput, size_t nInput )
{
    const uint8_t* const pEnd = pInput + nInput;
    const unsigned uFlags = *pInput++;
    size_t nCut = strBytes.size();
    for ( bool fFirst = true; pEnd - pInput >= 4; fFirst = false )
    {
        const size_t nPlace =
            ( pInput[0] | size_t{ pInput[1] } << 8 | size_t{ pInput[2] } << 16 ) % strBytes.size();
        const size_t nLength = std::min(
            { size_t{ pInput[3] }, static_cast<size_t>( pEnd - pInput - 4 ), strBytes.size() - nPlace } );
        pInput += 4;
        if ( fFirst && ( uFlags & CUT_AT_FIRST_PLACE ) != 0 )
            nCut = nPlace;
        std::memcpy( strBytes.data() + nPlace, pInput, nLength );
        pInput += nLength;
    }
    strBytes.resize( nCut );
    if ( ( uFlags & SUMS_MADE_RIGHT ) != 0 )
        SumPages( strBytes );
    return strBytes;
}

// Whether a key is there, with a text that is its own unless somebody made the sums right.
bool Find( RWFileManager& rFile, RWBTreeOnDisk& rTree, const std::string& strKey, const std::string& strText,
           bool fForged )
{
    RWCString aText;
    RWoffset lPlace = RWNIL;
    if ( !rTree.findKeyAndValue( strKey.c_str(), aText, lPlace ) )
        return false;
    rFile.SeekTo( lPlace );
    aText.restoreFrom( rFile );
    Require( fForged || strText == aText.data() );
    return true;
}

void ReadAll( bool fForged )
{
    RWFileManager aFile( Path().c_str(), "rb" );
    RWBTreeOnDisk aTree( aFile );
    for ( int nKey = 0; nKey < KEYS; nKey += 11 )
    {
        try
        {
            Find( aFile, aTree, Key( nKey ), Text( nKey ), fForged );
            Find( aFile, aTree, Key( nKey ) + "!", "", true );
        }
        catch ( const RWFileErr& )
        {
        }
    }
    size_t nCharacters = 0;
    aTree.applyToKeyAndValue( []( const char* pKey, RWoffset, void* pSum )
                              { *static_cast<size_t*>( pSum ) += std::strlen( pKey ); },
                              &nCharacters );
}

void AddSome( bool fForged )
{
    RWFileManager aFile( Path().c_str(), "rb+" );
    RWBTreeOnDisk aTree( aFile );
    for ( int nKey = KEYS; nKey < 2 * KEYS; nKey += 5 )
        Put( aFile, aTree, Key( nKey ), Text( nKey ) );
    aTree.Flush();
    for ( int nKey = KEYS; nKey < 2 * KEYS; nKey += 5 )
        Require( Find( aFile, aTree, Key( nKey ), Text( nKey ), fForged ) || fForged );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    static const std::string strGood = MakeFile();
    if ( nBytes == 0 )
        return 0;
    std::filesystem::remove( Path() );
    std::ofstream( Path(), std::ios::binary ) << Damage( strGood, pBytes, nBytes );
    for ( void ( *const pUse )( bool ) : { &ReadAll, &AddSome } )
    {
        try
        {
            pUse( ( pBytes[0] & SUMS_MADE_RIGHT ) != 0 );
        }
        catch ( const RWFileErr& )
        {
        }
    }
    return 0;
}
