#include "support/recorder.h"

#include "support/debugcapture.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <mutex>

namespace
{

// A text of the library is written with exactly one CR LF at its end, whatever line end it had.
std::string WithLineEnd( std::string strText )
{
    if ( strText.ends_with( '\n' ) )
        strText.pop_back();
    if ( strText.ends_with( '\r' ) )
        strText.pop_back();
    return strText + "\r\n";
}

std::string Written( const std::vector<Report>& aReports )
{
    std::string strWritten;
    for ( const Report& aReport : aReports )
        strWritten += "BXTOOLS.DLL -> " + WithLineEnd( aReport.first ) + WithLineEnd( aReport.second );
    return strWritten;
}

// What the hooks received. They are static, so this is, too; and it takes no memory through operator new, which a
// test may have made to fail.
struct Recorded
{
    char* apTexts[1000][3];
    size_t uCalls;
};
std::mutex g_aLock;
Recorded g_aDebugCalls;
Recorded g_aLogCalls;

void Record( Recorded& rCalls, std::initializer_list<LPCTSTR> aTexts )
{
    const std::lock_guard aGuard( g_aLock );
    if ( rCalls.uCalls == std::size( rCalls.apTexts ) )
        return;
    char** ppText = rCalls.apTexts[rCalls.uCalls++];
    for ( LPCTSTR pText : aTexts )
        *ppText++ = strdup( pText != NULL ? pText : "(null)" );
}

// A recorded text, which is freed.
std::string Taken( char* pText )
{
    const std::string strText( pText );
    std::free( pText );
    return strText;
}

std::vector<char**> Taken( Recorded& rCalls )
{
    std::vector<char**> aCalls;
    for ( size_t uCall = 0; uCall < rCalls.uCalls; ++uCall )
        aCalls.push_back( rCalls.apTexts[uCall] );
    rCalls.uCalls = 0;
    return aCalls;
}

} // namespace

DebugRecorder::DebugRecorder()
{
    StartDebugCapture();
}

DebugRecorder::~DebugRecorder()
{
    EXPECT_TRUE( Silent() );
    EndDebugCapture();
}

std::string DebugRecorder::Take()
{
    return TakeDebugOutput();
}

::testing::AssertionResult DebugRecorder::OnlyReports( const std::vector<Report>& aExpected )
{
    const std::string strOutput = Take();
    const std::string strExpected = Written( aExpected );
    if ( strOutput == strExpected )
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "debug output:\n"
                                         << ::testing::PrintToString( strOutput ) << "\nexpected:\n"
                                         << ::testing::PrintToString( strExpected );
}

HookRecorder::HookRecorder()
{
    TakeReports();
    TakeLogLines();
}

void DLL_EXPORT HookRecorder::Debug( LPCTSTR pHeader, LPCTSTR pMessage )
{
    Record( g_aDebugCalls, { pHeader, pMessage } );
}

int DLL_EXPORT HookRecorder::Log( LPCTSTR pFormat, LPCTSTR pFirstText, LPCTSTR pSecondText )
{
    Record( g_aLogCalls, { pFormat, pFirstText, pSecondText } );
    return 1;
}

::testing::AssertionResult HookRecorder::OnlyReports( const std::vector<Report>& aExpected )
{
    const std::vector<Report> aReports = TakeReports();
    const std::vector<std::string> aLogLines = TakeLogLines();
    if ( aReports == aExpected && aLogLines.empty() )
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "reports:\n"
                                         << ::testing::PrintToString( aReports ) << "\nlog lines:\n"
                                         << ::testing::PrintToString( aLogLines ) << "\nexpected:\n"
                                         << ::testing::PrintToString( aExpected );
}

std::vector<Report> HookRecorder::TakeReports()
{
    const std::lock_guard aGuard( g_aLock );
    std::vector<Report> aReports;
    for ( char** ppTexts : Taken( g_aDebugCalls ) )
        aReports.emplace_back( Taken( ppTexts[0] ), Taken( ppTexts[1] ) );
    return aReports;
}

std::vector<std::string> HookRecorder::TakeLogLines()
{
    const std::lock_guard aGuard( g_aLock );
    std::vector<std::string> aLines;
    for ( char** ppTexts : Taken( g_aLogCalls ) )
        aLines.push_back( Taken( ppTexts[0] ) + "|" + Taken( ppTexts[1] ) + "|" + Taken( ppTexts[2] ) );
    return aLines;
}
