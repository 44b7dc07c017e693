// What happens when memory runs out, at every allocation of a call. Not on the Windows build, where the DLL has its
// own import of operator new.
#include "core/buffserver.h"
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/threads.h"

#include <bxtools/buffers.h>
#include <bxtools/bytearray.h>
#include <bxtools/debug.h>
#include <bxtools/lists.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>

namespace
{

[[gnu::format( BX_PRINTF_ARCHETYPE, 1, 2 )]] LPCTSTR Build( LPCTSTR pFormat, ... )
{
    va_list aArguments;
    va_start( aArguments, pFormat );
    const LPCTSTR pText = internalBuildStr( pFormat, aArguments );
    va_end( aArguments );
    return pText;
}

// A text of that many characters, formatted: "7" with blanks before it.
LPCTSTR BuildLength( int nLength )
{
    return Build( "%*d", nLength, 7 );
}

// The check of a call that allocates once.
template <class Body>
void FailTheOne( Body aBody )
{
    EXPECT_EQ( 1u, ForEachFailingNew( aBody ) );
}

} // namespace

TEST( OutOfMemory, ListsStayAsTheyWereAndCopiesAreEmpty )
{
    HookRecorder aHooks;
    int anElements[2];
    const auto Insert = [&]( NewFault& rFault )
    {
        MyBaseList aList( 10, &HookRecorder::Debug );
        aList.Append( &anElements[0] );
        const BOOL fInserted = rFault.During( [&] { return aList.Insert( 0, &anElements[1] ); } );
        EXPECT_NE( rFault.Hit(), fInserted != FALSE );
        EXPECT_EQ( fInserted ? &anElements[1] : &anElements[0], aList.GetItem( 0 ) );
        EXPECT_TRUE( fInserted ? aHooks.Silent()
                               : aHooks.OnlyReport(
                                     "From MYLINK* MyBaseList::CreateItem( long lIndex, MYBASEDATA* p )",
                                     " Error: pObj = new MYLINK() failed" ) );
        EXPECT_TRUE( aList.Append( &anElements[0] ) );
        EXPECT_EQ( fInserted ? 3u : 2u, aList.ItemCount() );
    };
    FailTheOne( Insert );
    MyBaseList aList( 10, &HookRecorder::Debug );
    aList.Append( anElements );
    const auto Copy = [&]( NewFault& rFault )
    {
        rFault.Arm();
        MyBaseList aCopy( aList );
        rFault.Disarm();
        EXPECT_EQ( rFault.Hit() ? 0u : 1u, aCopy.ItemCount() );
        EXPECT_EQ( rFault.Hit() ? 1u : 0u, aHooks.TakeReports().size() );
        EXPECT_EQ( anElements, aList.GetItem( 0 ) );
    };
    FailTheOne( Copy );
}

TEST( OutOfMemory, ByteArraysStayAsTheyWereAndCopiesAreEmpty )
{
    DebugRecorder aRecorder;
    MByteArray aOther;
    aOther.SetSize( 100 );
    const auto Copy = [&]( NewFault& rFault )
    {
        rFault.Arm();
        MByteArray aCopy( aOther );
        rFault.Disarm();
        EXPECT_EQ( rFault.Hit() ? 0 : 100, aCopy.GetSize() );
        EXPECT_EQ( rFault.Hit(), !aRecorder.Take().empty() );
        EXPECT_EQ( 100, aOther.GetSize() );
    };
    FailTheOne( Copy );
    const auto Grow = [&]( NewFault& rFault )
    {
        MByteArray aBytes;
        aBytes.Add( 'a' );
        const int nIndex = rFault.During( [&] { return aBytes.Add( 'b' ); } );
        EXPECT_EQ( rFault.Hit() ? -1 : 1, nIndex );
        EXPECT_TRUE( rFault.Hit()
                         ? aRecorder.OnlyReport( "From void MByteArray::SetSize( int nNewSize, int nGrowBy )",
                                                 " Error: pNewData = new BYTE[nNewMaxSize] failed" )
                         : aRecorder.Silent() );
        const int nSize = aBytes.GetSize();
        NewFault aNext( 1 );
        for ( int nCall = 0; nCall < 5; ++nCall )
        {
            aNext.Arm();
            switch ( nCall )
            {
            case 0: aBytes.InsertAt( 0, 'x', 1000 ); break;
            case 1: aBytes.InsertAt( 0, &aOther ); break;
            case 2: aBytes.Append( aOther ); break;
            case 3: aBytes.Copy( aOther ); break;
            default: aBytes.FreeExtra();
            }
            aNext.Disarm();
            EXPECT_EQ( nSize, aBytes.GetSize() );
            EXPECT_EQ( 'a', aBytes[0] );
        }
        aRecorder.Take();
    };
    ForEachFailingNew( Grow );
}

TEST( OutOfMemory, TextBuffersReportAndStayConsistent )
{
    DebugRecorder aRecorder;
    for ( const BOOL fWithCopy : { TRUE, FALSE } )
    {
        const auto Expand = [&]( NewFault& rFault )
        {
            ULONG uSize = 4;
            LPTSTR pBuffer = MyTCHARFactory( uSize );
            std::memcpy( pBuffer, "abc", 4 );
            const BOOL fDone =
                rFault.During( [&] { return EpandTCHARBuffer( fWithCopy, &uSize, 4, 8, &pBuffer ); } );
            EXPECT_NE( rFault.Hit(), fDone != FALSE );
            EXPECT_EQ( fDone ? 8u : fWithCopy ? 4u : 0u, uSize );
            EXPECT_EQ( !fDone && !fWithCopy, pBuffer == NULL );
            MyTCHARDeleter( pBuffer );
        };
        FailTheOne( Expand );
    }
    EXPECT_TRUE( aRecorder.Take().starts_with(
        "BXTOOLS.DLL -> From DLL_EXPORT_MOD LPTSTR DLL_EXPORT MyTCHARFactory( ULONG ulSize )\r\n"
        " Error: pRet = aFactory.CreateVector( usSize ) failed -> memory exception\r\n" ) );
}

TEST( OutOfMemory, AThreadThatRanOutFormatsAgainWhenThereIsMemory )
{
    DebugRecorder aRecorder;
    unsigned long ulFailures = 0;
    // Each time a new thread, which has no buffers yet. What it makes for itself first may be tried twice, so that a
    // failed allocation need not fail the call.
    const auto FormatOnce = [&]( NewFault& rFault )
    {
        const LPCTSTR pText = rFault.During( [] { return BuildLength( 5000 ); } );
        EXPECT_TRUE( rFault.Hit() ? pText != NULL || !aRecorder.Take().empty()
                                  : pText != NULL && aRecorder.Silent() );
        ulFailures += pText == NULL;
        BuildLength( 1 );
        EXPECT_STREQ( "7", BuildLength( 1 ) );
        const unsigned long ulBefore = NewCount();
        BuildLength( 900 );
        EXPECT_EQ( ulBefore, NewCount() ) << "nothing is allocated in the steady state";
        aRecorder.Take();
    };
    ForEachFailingNew( [&]( NewFault& rFault ) { OnOtherThread( [&] { FormatOnce( rFault ); } ); } );
    EXPECT_GE( ulFailures, 5u );
}

TEST( OutOfMemory, DebugMessagesNeedMemoryOnlyWhenTheyAreLong )
{
    DebugRecorder aRecorder;
    for ( const size_t uLength : { 1u, 5000u } )
    {
        const std::string strText( uLength, 'x' );
        const auto Write = [&]( NewFault& rFault )
        {
            rFault.Arm();
            DebugMessage( "M", "h", strText.c_str() );
            rFault.Disarm();
            EXPECT_EQ( rFault.Hit() ? "" : "M -> h\r\n" + strText + "\r\n", aRecorder.Take() );
        };
        EXPECT_EQ( uLength == 1 ? 0u : 1u, ForEachFailingNew( Write ) );
    }
}
