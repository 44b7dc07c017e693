// What happens when memory runs out, at every allocation of a call. Not on the Windows build, where the DLL has its
// own import of operator new.
#include "support/failnew.h"
#include "support/recorder.h"

#include <bxtools/mstring.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace
{

const char* const LONG_TEXT =
    "a text that is too long to be kept in a string itself, and therefore comes on the heap";

// A call that changes a string and tells whether it did.
struct Change
{
    const char* m_pName;
    std::function<bool( MString& )> m_aCall;
};

// With every allocation failing in turn, nothing is thrown, the string keeps its text, its hook hears of it once, and
// nothing leaks.
void ExpectUnchangedWhenItFails( const Change& aChange )
{
    SCOPED_TRACE( aChange.m_pName );
    const long lBefore = NewOutstanding();
    const unsigned long ulAllocations = ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            HookRecorder aHooks;
            MString aString( LONG_TEXT );
            // A second owner makes every edit need a block of its own.
            const MString aSharer( aString );
            aString.SetFuncPtr( &HookRecorder::Debug, NULL );
            rFault.Arm();
            const bool fDone = aChange.m_aCall( aString );
            rFault.Disarm();
            EXPECT_EQ( rFault.Hit() ? 1u : 0u, aHooks.TakeReports().size() );
            EXPECT_NE( rFault.Hit(), fDone );
            EXPECT_EQ( rFault.Hit(), aString == LONG_TEXT );
            EXPECT_TRUE( aSharer == LONG_TEXT );
        } );
    EXPECT_LT( 0u, ulAllocations );
    EXPECT_EQ( lBefore, NewOutstanding() );
}

// With the first allocation failing, aCall fails, and these are all reports.
void ExpectReports( const std::vector<Report>& aExpected, const std::function<bool( MString& )>& aCall )
{
    HookRecorder aHooks;
    MString aString( LONG_TEXT );
    aString.SetFuncPtr( &HookRecorder::Debug, NULL );
    NewFault aFault( 1 );
    aFault.Arm();
    const bool fDone = aCall( aString );
    aFault.Disarm();
    EXPECT_FALSE( fDone );
    EXPECT_TRUE( aHooks.OnlyReports( aExpected ) );
    EXPECT_TRUE( aString == LONG_TEXT );
}

} // namespace

TEST( OutOfMemory, AStringKeepsItsText )
{
    static const std::string strOther( 200, 'o' );
    static const std::basic_string<WCHAR> strWide( 200, 'w' );
    const Change aChanges[] = {
        { "append", []( MString& rString ) { return ( rString += strOther.c_str() ) != LONG_TEXT; } },
        { "assign", []( MString& rString ) { return ( rString = strOther.c_str() ) != LONG_TEXT; } },
        { "number", []( MString& rString ) { return ( rString += 42 ) != LONG_TEXT; } },
        { "erase all", []( MString& rString ) { return rString.EraseAllChars( 'x' ) != LONG_TEXT; } },
        { "cut", []( MString& rString ) { return !rString.Cut( 2, 60 ).IsEmpty(); } },
        { "upper", []( MString& rString ) { return rString.MakeUpper(), rString != LONG_TEXT; } },
        { "set", []( MString& rString ) { return rString.SetAt( 0, 'A' ), rString != LONG_TEXT; } },
        { "delete", []( MString& rString ) { return rString.DeleteTokenStr( 0, " " ) != 0; } },
        { "from wide", []( MString& rString ) { return rString.FromBSTR( strWide.c_str() ) != FALSE; } },
        { "format",
          []( MString& rString ) { return rString.Format( "%s", strOther.c_str() ), rString != LONG_TEXT; } },
    };
    for ( const Change& rChange : aChanges )
        ExpectUnchangedWhenItFails( rChange );
}

TEST( OutOfMemory, ANewStringIsEmpty )
{
    DebugRecorder aRecorder;
    NewFault aFault( 1 );
    aFault.Arm();
    const MString aString( LONG_TEXT );
    aFault.Disarm();
    EXPECT_TRUE( aString.IsEmpty() );
    EXPECT_TRUE( aRecorder.OnlyReport( "From MStringAdapter::MStringAdapter( std::string_view aText )",
                                       "Severe error occurred executing this function" ) );
}

TEST( OutOfMemory, BuffersAreReportedStepByStep )
{
    const Report aExpand(
        "From BOOL MStringAdapter::ExpandBuffer( LPTSTR* ppBuffer, ULONG* pulBuffSize, ULONG ulNewBuffSize )",
        " Error: *ppBuffer = MyTCHARFactory( *pulBuffSize ) failed" );
    ExpectReports(
        { aExpand,
          { "From LPTSTR MStringAdapter::GetBuffer( int nMinBufLength )",
            " Error: !( fGo = ExpandBuffer( &m_pDataBuffer, &m_ulDataBufferSize, ulTempSize ) )" } },
        []( MString& rString ) { return rString.GetBuffer( 10 ) != NULL; } );
    ExpectReports( { aExpand,
                     { "From void MStringAdapter::Format( LPCTSTR lpszFormat, ... )",
                       " Error: !( fStat = ExpandBuffer( &m_pConvertBuffer, &m_ulConvertBufferSize ) )" } },
                   []( MString& rString )
                   {
                       rString.Format( "%1000s", "" );
                       return rString != LONG_TEXT;
                   } );
    ExpectReports(
        { { "From BSTR MStringAdapter::AllocSysString() const", " Error: ::SysAllocStringLen(...) failed" } },
        []( MString& rString ) { return rString.AllocSysString() != NULL; } );
    ExpectReports( { { "From BSTR MStringAdapter::SetSysString( BSTR* pbstr ) const",
                       " Error: ::SysReAllocStringLen(...) failed" } },
                   []( MString& rString )
                   {
                       BSTR bstr = NULL;
                       return rString.SetSysString( &bstr ) != NULL;
                   } );
}
