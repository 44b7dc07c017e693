// Error streams of any bytes: every reader answers, and the answers agree with each other.
#include "diag/sharedvalues.h"
#include "fuzz/require.h"

#include <bxtools/cerror.h>
#include <bxtools/errobject.h>
#include <bxtools/error.h>
#include <bxtools/mstring.h>

#include <cstdint>
#include <string>
#include <vector>

namespace
{
ULONG CountRecords( const MString& aStream )
{
    ULONG ulCount = 0;
    Require( GetAvailableErrorCountFromStream( ulCount, aStream ) );
    return ulCount;
}

// A record that can be read is written as a text that reads as the same record.
void ReadAndWriteRecord( const MString& aStream, ULONG ulIndex )
{
    ErrObjectBase aRecord;
    if ( !Error2ObjectFromStream( aRecord, ulIndex, aStream ) )
        return;
    MString aText;
    Require( aRecord.ToStream( aText ) );
    ErrObjectBase aAgain;
    MString aTextAgain;
    Require( aAgain.FromStream( aText ) && aAgain.ToStream( aTextAgain ) && aText == aTextAgain );
    ULONG ulFound = 0;
    Require( FindObjectInStream( ulFound, aRecord, aStream ) );
}

void ReverseTwice( const MString& aStream )
{
    MString aReversed( aStream );
    ReverseStream( aReversed );
    Require( CountRecords( aReversed ) == CountRecords( aStream ) );
    ReverseStream( aReversed );
    Require( aReversed == aStream );
}

// The same in buffers of exactly the size, where a byte too many shows.
void UseBuffers( const std::string& strText, ULONG ulIndex )
{
    std::vector<char> aBuffer( strText.c_str(), strText.c_str() + strText.size() + 1 );
    C_ReverseStream( aBuffer.data() );
    C_DeleteErrorFromStream( ulIndex, aBuffer.data() );
    ULONG ulNeeded = 0;
    C_Append2Stream( aBuffer.data(), static_cast<ULONG>( aBuffer.size() ), &ulNeeded, strText.c_str() );
    char szClass[8];
    USHORT usNeeded = 0;
    ERR lError = 0;
    DWORD dwSystemError = 0;
    C_GetOriginErrorValuesFromStream( szClass, sizeof( szClass ), &usNeeded, &lError, &dwSystemError, ulIndex,
                                      strText.c_str() );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    SetDebugEnabled( false );
    const std::string strText( std::string( reinterpret_cast<const char*>( pBytes ), nBytes ).c_str() );
    const MString aStream( strText.c_str() );
    const ULONG ulCount = CountRecords( aStream );
    Require( IsErrorStream( aStream ) || ulCount == 0 );
    constexpr ULONG MOST_RECORDS = 64;
    for ( ULONG i = 0; i < ulCount && i < MOST_RECORDS; ++i )
        ReadAndWriteRecord( aStream, i );
    ErrObjectBase aBeyond;
    Require( !Error2ObjectFromStream( aBeyond, ulCount, aStream ) );
    ReverseTwice( aStream );
    UseBuffers( strText, ulCount / 2 );
    return 0;
}
