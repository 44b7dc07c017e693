// What happens when memory runs out, at every allocation of a call.
#include "support/failnew.h"
#include "support/recorder.h"

#include <bxtools/mstring.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

const char* const LONG_TEXT =
    "a text that is too long to be kept in a string itself, and therefore comes on the heap";
const std::string OTHER( 200, 'o' );
const std::basic_string<WCHAR> WIDE( 200, 'w' );

// A call on a string that holds LONG_TEXT. Result: whether it was done.
struct Call
{
    const char* pName;
    bool ( *pCall )( MString& );
    // When the first allocation fails; empty: one report, whichever fails, and otherwise another text.
    std::vector<Report> aFirstReports = {};
};

bool IsMade( BSTR bstr )
{
    SysFreeString( bstr );
    return bstr != NULL;
}

bool SetSysString( MString& rString )
{
    BSTR bstr = NULL;
    rString.SetSysString( &bstr );
    return IsMade( bstr );
}

// With every allocation failing in turn, nothing is thrown, the string keeps its text, its hook hears of it once, and
// nothing leaks.
void ExpectUnchangedWhenItFails( const Call& rCall )
{
    SCOPED_TRACE( rCall.pName );
    const bool fChanges = rCall.aFirstReports.empty();
    const long lBefore = NewOutstanding();
    bool fFirst = true;
    const auto CallOnce = [&]( NewFault& rFault )
    {
        HookRecorder aHooks;
        MString aString( LONG_TEXT );
        // A second owner makes every edit need a block of its own.
        const MString aSharer( aString );
        aString.SetFuncPtr( &HookRecorder::Debug, NULL );
        const bool fDone = rFault.During( [&] { return rCall.pCall( aString ); } );
        EXPECT_NE( rFault.Hit(), fDone );
        const std::vector<Report> aReports = aHooks.TakeReports();
        EXPECT_EQ( rFault.Hit(), !aReports.empty() );
        EXPECT_TRUE( fChanges ? aReports.size() < 2 : !fFirst || aReports == rCall.aFirstReports )
            << ::testing::PrintToString( aReports );
        EXPECT_TRUE( rFault.Hit() ? aString == LONG_TEXT : !fChanges || aString != LONG_TEXT );
        EXPECT_TRUE( aSharer == LONG_TEXT );
        fFirst = false;
    };
    EXPECT_LT( 0u, ForEachFailingNew( CallOnce ) );
    EXPECT_EQ( lBefore, NewOutstanding() );
}

} // namespace

TEST( OutOfMemory, AStringKeepsItsText )
{
    const Report aNoBuffer(
        "From BOOL MStringAdapter::ExpandBuffer( LPTSTR* ppBuffer, ULONG* pulBuffSize, ULONG ulNewBuffSize )",
        " Error: *ppBuffer = MyTCHARFactory( *pulBuffSize ) failed" );
    const Report aNotGiven(
        "From LPTSTR MStringAdapter::GetBuffer( int nMinBufLength )",
        " Error: !( fGo = ExpandBuffer( &m_pDataBuffer, &m_ulDataBufferSize, ulTempSize ) )" );
    const Report aNotFormatted(
        "From void MStringAdapter::Format( LPCTSTR lpszFormat, ... )",
        " Error: !( fStat = ExpandBuffer( &m_pConvertBuffer, &m_ulConvertBufferSize ) )" );
    const Report aNotAllocated( "From BSTR MStringAdapter::AllocSysString() const",
                                " Error: ::SysAllocStringLen(...) failed" );
    const Report aNotSet( "From BSTR MStringAdapter::SetSysString( BSTR* pbstr ) const",
                          " Error: ::SysReAllocStringLen(...) failed" );
    const Call aCalls[] = {
        { "append", []( MString& r ) { return ( r += OTHER.c_str() ) != LONG_TEXT; } },
        { "assign", []( MString& r ) { return ( r = OTHER.c_str() ) != LONG_TEXT; } },
        { "number", []( MString& r ) { return ( r += 42 ) != LONG_TEXT; } },
        { "erase all", []( MString& r ) { return r.EraseAllChars( 'x' ) != LONG_TEXT; } },
        { "cut", []( MString& r ) { return !r.Cut( 2, 60 ).IsEmpty(); } },
        { "upper", []( MString& r ) { return r.MakeUpper(), r != LONG_TEXT; } },
        { "set", []( MString& r ) { return r.SetAt( 0, 'A' ), r != LONG_TEXT; } },
        { "delete", []( MString& r ) { return r.DeleteTokenStr( 0, " " ) != 0; } },
        { "from wide", []( MString& r ) { return r.FromBSTR( WIDE.c_str() ) != FALSE; } },
        { "short format", []( MString& r ) { return r.Format( "%s", OTHER.c_str() ), r != LONG_TEXT; } },
        { "format",
          []( MString& r ) { return r.Format( "%1000s", "" ), r != LONG_TEXT; },
          { aNoBuffer, aNotFormatted } },
        { "buffer", []( MString& r ) { return r.GetBuffer( 10 ) != NULL; }, { aNoBuffer, aNotGiven } },
        { "new wide", []( MString& r ) { return IsMade( r.AllocSysString() ); }, { aNotAllocated } },
        { "wide", &SetSysString, { aNotSet } },
    };
    for ( const Call& rCall : aCalls )
        ExpectUnchangedWhenItFails( rCall );

    DebugRecorder aRecorder;
    NewFault aFault( 1 );
    aFault.Arm();
    const MString aString( LONG_TEXT );
    aFault.Disarm();
    EXPECT_TRUE( aString.IsEmpty() );
    EXPECT_TRUE( aRecorder.OnlyReport( "From MStringAdapter::MStringAdapter( std::string_view aText )",
                                       "Severe error occurred executing this function" ) );
}
