// What happens when memory runs out, at every allocation of a call. Not on the Windows build, where the DLL has its
// own import of operator new.
#include "core/buffserver.h"
#include "support/failnew.h"
#include "support/recorder.h"

#include <bxtools/buffers.h>
#include <bxtools/bytearray.h>
#include <bxtools/debug.h>
#include <bxtools/lists.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>
#include <thread>

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

} // namespace

TEST( OutOfMemory, ANodeThatCannotBeMadeLeavesTheListAndTheElement )
{
    HookRecorder aHooks;
    const auto OnlyNodeReport = [&]
    {
        return aHooks.OnlyReport( "From MYLINK* MyBaseList::CreateItem( long lIndex, MYBASEDATA* p )",
                                  " Error: pObj = new MYLINK() failed" );
    };
    int anElements[2];
    EXPECT_EQ( 1u, ForEachFailingNew(
                       [&]( NewFault& rFault )
                       {
                           MyBaseList aList( 10, &HookRecorder::Debug );
                           rFault.Arm();
                           const BOOL fAppended = aList.Append( &anElements[0] );
                           rFault.Disarm();
                           EXPECT_NE( rFault.Hit(), fAppended != FALSE );
                           EXPECT_EQ( fAppended ? 1u : 0u, aList.ItemCount() );
                           EXPECT_TRUE( fAppended ? aHooks.Silent() : OnlyNodeReport() );
                           EXPECT_TRUE( aList.Append( &anElements[0] ) );
                       } ) );
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            MyBaseList aList( 10, &HookRecorder::Debug );
            aList.Append( &anElements[0] );
            rFault.Arm();
            const BOOL fInserted = aList.Insert( 0, &anElements[1] );
            rFault.Disarm();
            EXPECT_EQ( fInserted ? &anElements[1] : &anElements[0], aList.GetItem( 0 ) );
            EXPECT_TRUE( fInserted ? aHooks.Silent() : OnlyNodeReport() );
        } );
}

TEST( OutOfMemory, ACopyThatCannotShareIsEmpty )
{
    HookRecorder aHooks;
    DebugRecorder aRecorder;
    int nElement = 0;
    MyBaseList aList( 10, &HookRecorder::Debug );
    aList.Append( &nElement );
    EXPECT_EQ( 1u, ForEachFailingNew(
                       [&]( NewFault& rFault )
                       {
                           rFault.Arm();
                           MyBaseList aCopy( aList );
                           rFault.Disarm();
                           EXPECT_EQ( rFault.Hit() ? 0u : 1u, aCopy.ItemCount() );
                           EXPECT_EQ( rFault.Hit() ? 1u : 0u, aHooks.TakeReports().size() );
                           EXPECT_EQ( &nElement, aList.GetItem( 0 ) );
                       } ) );
    MByteArray aBytes;
    aBytes.Add( 'a' );
    EXPECT_EQ( 1u, ForEachFailingNew(
                       [&]( NewFault& rFault )
                       {
                           rFault.Arm();
                           MByteArray aCopy( aBytes );
                           rFault.Disarm();
                           EXPECT_EQ( rFault.Hit() ? 0 : 1, aCopy.GetSize() );
                           EXPECT_EQ( rFault.Hit(), !aRecorder.Take().empty() );
                           EXPECT_EQ( 'a', aBytes[0] );
                       } ) );
}

TEST( OutOfMemory, AnArrayThatCannotGrowStaysAsItWas )
{
    DebugRecorder aRecorder;
    MByteArray aOther;
    aOther.SetSize( 100 );
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            MByteArray aBytes;
            aBytes.Add( 'a' );
            aRecorder.Take();
            rFault.Arm();
            int nIndex = aBytes.Add( 'b' );
            rFault.Disarm();
            EXPECT_EQ( rFault.Hit() ? -1 : 1, nIndex );
            EXPECT_TRUE( rFault.Hit() ? aRecorder.OnlyReport(
                                            "From void MByteArray::SetSize( int nNewSize, int nGrowBy )",
                                            " Error: pNewData = new BYTE[nNewMaxSize] failed" )
                                      : aRecorder.Silent() );
            const int nSize = aBytes.GetSize();
            NewFault aNext( 1 );
            aNext.Arm();
            aBytes.InsertAt( 0, 'x', 1000 );
            aNext.Arm();
            aBytes.InsertAt( 0, &aOther );
            aNext.Arm();
            aBytes.Append( aOther );
            aNext.Arm();
            aBytes.Copy( aOther );
            aNext.Arm();
            aBytes.FreeExtra();
            aNext.Disarm();
            EXPECT_EQ( nSize, aBytes.GetSize() );
            EXPECT_EQ( 'a', aBytes[0] );
        } );
}

TEST( OutOfMemory, TextBuffersReportAndStayConsistent )
{
    DebugRecorder aRecorder;
    for ( const BOOL fWithCopy : { TRUE, FALSE } )
    {
        EXPECT_EQ( 1u, ForEachFailingNew(
                           [&]( NewFault& rFault )
                           {
                               ULONG uSize = 4;
                               LPTSTR pBuffer = MyTCHARFactory( uSize );
                               std::memcpy( pBuffer, "abc", 4 );
                               rFault.Arm();
                               const BOOL fDone = EpandTCHARBuffer( fWithCopy, &uSize, 4, 8, &pBuffer );
                               rFault.Disarm();
                               EXPECT_NE( rFault.Hit(), fDone != FALSE );
                               EXPECT_EQ( fDone ? 8u : fWithCopy ? 4u : 0u, uSize );
                               EXPECT_EQ( !fDone && !fWithCopy, pBuffer == NULL );
                               MyTCHARDeleter( pBuffer );
                           } ) );
    }
    const std::string strFactory =
        "BXTOOLS.DLL -> From DLL_EXPORT_MOD LPTSTR DLL_EXPORT MyTCHARFactory( ULONG ulSize )\r\n"
        " Error: pRet = aFactory.CreateVector( usSize ) failed -> memory exception\r\n";
    EXPECT_TRUE( aRecorder.Take().starts_with( strFactory ) );
}

TEST( OutOfMemory, AThreadThatRanOutFormatsAgainWhenThereIsMemory )
{
    DebugRecorder aRecorder;
    unsigned long ulFailures = 0;
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            // Each time a new thread, which has no buffers yet. What it makes for itself first may be tried twice, so that a
            // failed allocation need not fail the call.
            std::thread(
                [&]
                {
                    rFault.Arm();
                    const LPCTSTR pText = BuildLength( 5000 );
                    rFault.Disarm();
                    EXPECT_TRUE( rFault.Hit() ? pText != NULL || !aRecorder.Take().empty()
                                              : pText != NULL && aRecorder.Silent() );
                    ulFailures += pText == NULL;
                    BuildLength( 1 );
                    EXPECT_STREQ( "7", BuildLength( 1 ) );
                    const unsigned long ulBefore = NewCount();
                    BuildLength( 900 );
                    EXPECT_EQ( ulBefore, NewCount() ) << "nothing is allocated in the steady state";
                } )
                .join();
            aRecorder.Take();
        } );
    EXPECT_GE( ulFailures, 5u );
}

TEST( OutOfMemory, DebugMessagesNeedMemoryOnlyWhenTheyAreLong )
{
    DebugRecorder aRecorder;
    const std::string strLong( 5000, 'x' );
    EXPECT_EQ( 1u, ForEachFailingNew(
                       [&]( NewFault& rFault )
                       {
                           rFault.Arm();
                           DebugMessage( "M", "h", strLong.c_str() );
                           rFault.Disarm();
                           EXPECT_EQ( rFault.Hit() ? "" : "M -> h\r\n" + strLong + "\r\n", aRecorder.Take() );
                       } ) );
    EXPECT_EQ( 0u, ForEachFailingNew(
                       [&]( NewFault& rFault )
                       {
                           rFault.Arm();
                           DebugMessage( "M", "h", "m" );
                           rFault.Disarm();
                       } ) );
    EXPECT_EQ( "M -> h\r\nm\r\n", aRecorder.Take() );
}
