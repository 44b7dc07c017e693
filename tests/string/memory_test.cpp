// What happens when memory runs out, at every allocation of a call. Not on the Windows build, where the DLL has its
// own import of operator new.
#include "support/failnew.h"
#include "support/recorder.h"

#include <bxtools/mstring.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace
{

const char* const LONG_TEXT =
    "a text that is too long to be kept in a string itself, and therefore comes on the heap";

// With every allocation failing in turn, nothing is thrown, the string keeps its text, its hook hears of it once, and
// nothing leaks. The call tells whether it was done; the reports are those when its first allocation fails.
void ExpectUnchangedWhenItFails( const char* pName, const std::vector<Report>& aFirstReports,
                                 const std::function<bool( MString& )>& aCall )
{
    SCOPED_TRACE( pName );
    const long lBefore = NewOutstanding();
    bool fFirst = true;
    const auto CallOnce = [&]( NewFault& rFault )
    {
        HookRecorder aHooks;
        MString aString( LONG_TEXT );
        // A second owner makes every edit need a block of its own.
        const MString aSharer( aString );
        aString.SetFuncPtr( &HookRecorder::Debug, NULL );
        const bool fDone = rFault.During( [&] { return aCall( aString ); } );
        const std::vector<Report> aReports = aHooks.TakeReports();
        EXPECT_TRUE( !fFirst || aFirstReports.empty() || aReports == aFirstReports )
            << ::testing::PrintToString( aReports );
        EXPECT_EQ( rFault.Hit(), !aReports.empty() );
        EXPECT_TRUE( !aFirstReports.empty() || aReports.size() < 2 );
        EXPECT_NE( rFault.Hit(), fDone );
        EXPECT_TRUE( rFault.Hit() ? aString == LONG_TEXT : !aFirstReports.empty() || aString != LONG_TEXT );
        EXPECT_TRUE( aSharer == LONG_TEXT );
        fFirst = false;
    };
    EXPECT_LT( 0u, ForEachFailingNew( CallOnce ) );
    EXPECT_EQ( lBefore, NewOutstanding() );
}

} // namespace

TEST( OutOfMemory, AStringKeepsItsText )
{
    static const std::string strOther( 200, 'o' );
    static const std::basic_string<WCHAR> strWide( 200, 'w' );
    const std::pair<const char*, std::function<bool( MString& )>> aChanges[] = {
        { "append", []( MString& r ) { return ( r += strOther.c_str() ) != LONG_TEXT; } },
        { "assign", []( MString& r ) { return ( r = strOther.c_str() ) != LONG_TEXT; } },
        { "number", []( MString& r ) { return ( r += 42 ) != LONG_TEXT; } },
        { "erase all", []( MString& r ) { return r.EraseAllChars( 'x' ) != LONG_TEXT; } },
        { "cut", []( MString& r ) { return !r.Cut( 2, 60 ).IsEmpty(); } },
        { "upper", []( MString& r ) { return r.MakeUpper(), r != LONG_TEXT; } },
        { "set", []( MString& r ) { return r.SetAt( 0, 'A' ), r != LONG_TEXT; } },
        { "delete", []( MString& r ) { return r.DeleteTokenStr( 0, " " ) != 0; } },
        { "from wide", []( MString& r ) { return r.FromBSTR( strWide.c_str() ) != FALSE; } },
        { "format", []( MString& r ) { return r.Format( "%s", strOther.c_str() ), r != LONG_TEXT; } },
    };
    for ( const auto& [pName, aCall] : aChanges )
        ExpectUnchangedWhenItFails( pName, {}, aCall );
}

TEST( OutOfMemory, BuffersAreReportedStepByStep )
{
    const Report aExpand(
        "From BOOL MStringAdapter::ExpandBuffer( LPTSTR* ppBuffer, ULONG* pulBuffSize, ULONG ulNewBuffSize )",
        " Error: *ppBuffer = MyTCHARFactory( *pulBuffSize ) failed" );
    ExpectUnchangedWhenItFails(
        "buffer",
        { aExpand,
          { "From LPTSTR MStringAdapter::GetBuffer( int nMinBufLength )",
            " Error: !( fGo = ExpandBuffer( &m_pDataBuffer, &m_ulDataBufferSize, ulTempSize ) )" } },
        []( MString& r ) { return r.GetBuffer( 10 ) != NULL; } );
    ExpectUnchangedWhenItFails(
        "format",
        { aExpand,
          { "From void MStringAdapter::Format( LPCTSTR lpszFormat, ... )",
            " Error: !( fStat = ExpandBuffer( &m_pConvertBuffer, &m_ulConvertBufferSize ) )" } },
        []( MString& r ) { return r.Format( "%1000s", "" ), r != LONG_TEXT; } );
    ExpectUnchangedWhenItFails(
        "new automation string",
        { { "From BSTR MStringAdapter::AllocSysString() const", " Error: ::SysAllocStringLen(...) failed" } },
        []( MString& r )
        {
            BSTR bstr = r.AllocSysString();
            SysFreeString( bstr );
            return bstr != NULL;
        } );
    ExpectUnchangedWhenItFails( "automation string",
                                { { "From BSTR MStringAdapter::SetSysString( BSTR* pbstr ) const",
                                    " Error: ::SysReAllocStringLen(...) failed" } },
                                []( MString& r )
                                {
                                    BSTR bstr = NULL;
                                    r.SetSysString( &bstr );
                                    SysFreeString( bstr );
                                    return bstr != NULL;
                                } );
    DebugRecorder aRecorder;
    NewFault aFault( 1 );
    aFault.Arm();
    const MString aString( LONG_TEXT );
    aFault.Disarm();
    EXPECT_TRUE( aString.IsEmpty() );
    EXPECT_TRUE( aRecorder.OnlyReport( "From MStringAdapter::MStringAdapter( std::string_view aText )",
                                       "Severe error occurred executing this function" ) );
}
