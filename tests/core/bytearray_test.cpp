#include "support/failnew.h"
#include "support/recorder.h"

#include <bxtools/bytearray.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace
{

MByteArray Bytes( const std::string& strBytes )
{
    MByteArray aBytes;
    for ( const char cByte : strBytes )
        aBytes.Add( static_cast<BYTE>( cByte ) );
    return aBytes;
}

std::string Text( const MByteArray& aBytes )
{
    std::string strText;
    for ( int nIndex = 0; nIndex < aBytes.GetSize(); ++nIndex )
        strText += aBytes[nIndex] != 0 ? static_cast<char>( aBytes[nIndex] ) : '0';
    return strText;
}

// The sizes at which an array that grows byte by byte moves to a new buffer.
std::vector<int> MovesUpTo( MByteArray& aBytes, int nSize )
{
    std::vector<int> anMoves;
    while ( aBytes.GetSize() < nSize )
    {
        const BYTE* pBefore = aBytes.GetData();
        aBytes.Add( 1 );
        if ( aBytes.GetData() != pBefore )
            anMoves.push_back( aBytes.GetSize() );
    }
    return anMoves;
}

} // namespace

TEST( ByteArray, GrowsByAnEighthOfItsSizeButFourAtLeast )
{
    MByteArray aBytes;
    EXPECT_EQ( ( std::vector{ 1, 2, 6, 10, 14, 18, 22, 26, 30, 34, 38, 42, 47, 52, 58, 65, 73, 82, 92 } ),
               MovesUpTo( aBytes, 100 ) );
    MByteArray aStepped;
    aStepped.SetSize( 1, 50 );
    EXPECT_EQ( ( std::vector<int>{ 2, 52 } ), MovesUpTo( aStepped, 100 ) );
}

TEST( ByteArray, SizeChangesZeroWhatIsNew )
{
    MByteArray aBytes = Bytes( "abcdef" );
    const BYTE* pBuffer = aBytes.GetData();
    aBytes.SetSize( 2 );
    aBytes.SetSize( 5 );
    EXPECT_EQ( pBuffer, aBytes.GetData() );
    EXPECT_EQ( "ab000", Text( aBytes ) );
    aBytes.SetAtGrow( 40, 'x' );
    EXPECT_EQ( "ab" + std::string( 38, '0' ) + "x", Text( aBytes ) );
    aBytes.RemoveAt( 2, 38 );
    aBytes.FreeExtra();
    EXPECT_EQ( "abx", Text( aBytes ) );
    EXPECT_EQ( 2, aBytes.GetUpperBound() );
    aBytes.RemoveAll();
    EXPECT_EQ( NULL, aBytes.GetData() );
    EXPECT_EQ( -1, aBytes.GetUpperBound() );
}

TEST( ByteArray, InsertsAndRemovesInPlace )
{
    MByteArray aBytes = Bytes( "abcd" );
    aBytes.InsertAt( 1, 'x', 3 );
    EXPECT_EQ( "axxxbcd", Text( aBytes ) );
    aBytes.InsertAt( 9, 'y', 2 );
    EXPECT_EQ( "axxxbcd00yy", Text( aBytes ) );
    aBytes.RemoveAt( 1, 3 );
    EXPECT_EQ( "abcd00yy", Text( aBytes ) );
    aBytes.RemoveAt( 4, 4 );
    const MByteArray aInserted = Bytes( "123" );
    aBytes.InsertAt( 2, &aInserted );
    EXPECT_EQ( "ab123cd", Text( aBytes ) );
    aBytes.InsertAt( 1, &aBytes );
    EXPECT_EQ( "aab123cdb123cd", Text( aBytes ) );
    MByteArray aTwice = Bytes( "pq" );
    EXPECT_EQ( 2, aTwice.Append( aTwice ) );
    EXPECT_EQ( "pqpq", Text( aTwice ) );
}

TEST( ByteArray, SizesThatAreNoneLeaveItUnchanged )
{
    MByteArray aBytes = Bytes( "abc" );
    aBytes.SetSize( -1 );
    aBytes.SetSize( INT_MIN, 7 );
    aBytes.SetAtGrow( -1, 'x' );
    aBytes.SetAtGrow( INT_MAX, 'x' );
    aBytes.InsertAt( -1, 'x', 1 );
    aBytes.InsertAt( 1, 'x', 0 );
    aBytes.InsertAt( 1, 'x', -1 );
    aBytes.InsertAt( 1, 'x', INT_MAX );
    aBytes.InsertAt( INT_MAX, 'x', 1 );
    aBytes.InsertAt( 0, static_cast<const MByteArray*>( NULL ) );
    aBytes.RemoveAt( -1, 1 );
    aBytes.RemoveAt( 0, -1 );
    aBytes.RemoveAt( 2, 2 );
    aBytes.RemoveAt( INT_MAX, INT_MAX );
    EXPECT_EQ( "abc", Text( aBytes ) );
    aBytes.SetSize( 4, INT_MAX - 1 );
    EXPECT_EQ( "abc0", Text( aBytes ) ) << "a step beyond the largest size is cut to it";
}

TEST( ByteArray, CopiesShareTheBufferUntilOneGrowsOutOfIt )
{
    MByteArray aFirst = Bytes( "ab" );
    MByteArray aSecond( aFirst );
    aSecond.SetAt( 0, 'A' );
    EXPECT_EQ( "Ab", Text( aFirst ) );
    EXPECT_EQ( 2, aSecond.Add( 'c' ) );
    EXPECT_EQ( "Ab", Text( aFirst ) ) << "each has a size of its own";
    MByteArray aDeep;
    aDeep.Copy( aSecond );
    MByteArray aOther;
    aOther = aSecond;
    aOther.Copy( aFirst );
    EXPECT_EQ( "Ab", Text( aOther ) );
    EXPECT_NE( aFirst.GetData(), aOther.GetData() );
    aSecond.SetSize( 1000 );
    aSecond.SetAt( 0, 'x' );
    EXPECT_EQ( "Ab", Text( aFirst ) );
    EXPECT_EQ( "Abc", Text( aDeep ) );
    aFirst = aSecond;
    aFirst = *&aFirst;
    aSecond.RemoveAll();
    EXPECT_EQ( 'x', aFirst.GetAt( 0 ) );
}

TEST( OutOfMemory, ByteArraysStayAsTheyWereAndCopiesAreEmpty )
{
    static const MByteArray aOther = Bytes( std::string( 100, 'o' ) );
    const Report aNotGrown( "From void MByteArray::SetSize( int nNewSize, int nGrowBy )",
                            " Error: pNewData = new BYTE[nNewMaxSize] failed" );
    const Report aNotCut( "From void MByteArray::FreeExtra()",
                          " Error: pNewData = new BYTE[m_nSize] failed" );
    const Report aNotShared( "From MByteArray::MByteArray( const MByteArray& aByteArray )",
                             " Error: m_pShare = new ByteArrayShare() failed" );
    const std::pair<Report, void ( * )( MByteArray& )> aChanges[] = {
        { aNotGrown, []( MByteArray& rBytes ) { rBytes.InsertAt( 0, 'x', 1000 ); } },
        { aNotGrown, []( MByteArray& rBytes ) { rBytes.InsertAt( 0, &aOther ); } },
        { aNotGrown, []( MByteArray& rBytes ) { rBytes.Append( aOther ); } },
        { aNotGrown, []( MByteArray& rBytes ) { rBytes.Copy( aOther ); } },
        { aNotCut, []( MByteArray& rBytes ) { rBytes.FreeExtra(); } },
    };
    DebugRecorder aRecorder;
    for ( const auto& rChange : aChanges )
    {
        const auto ChangeOnce = [&]( NewFault& rFault )
        {
            MByteArray aBytes = Bytes( "abc" );
            rFault.Arm();
            rChange.second( aBytes );
            rFault.Disarm();
            EXPECT_TRUE( rFault.Hit() ? aRecorder.OnlyReports( { rChange.first } ) : aRecorder.Silent() );
            EXPECT_TRUE( !rFault.Hit() || Text( aBytes ) == "abc" );
        };
        EXPECT_LE( 1u, ForEachFailingNew( ChangeOnce ) );
    }
    MByteArray aFull = Bytes( "a" );
    EXPECT_EQ( -1, NewFault( 1 ).During( [&] { return aFull.Add( 'b' ); } ) );
    EXPECT_EQ( 0, NewFault( 1 ).During( [&] { return MByteArray( aFull ).GetSize(); } ) );
    EXPECT_TRUE( aRecorder.OnlyReports( { aNotGrown, aNotShared } ) );
    EXPECT_EQ( "a", Text( aFull ) );
}
