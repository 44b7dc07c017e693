#include "support/recorder.h"

#include "support/debugcapture.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <mutex>

namespace
{

std::string Line( const Report& aReport )
{
    return "  " + aReport.first + " | " + aReport.second + "\n";
}

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
    char* apTexts[3];
};
std::mutex g_aLock;
constexpr size_t MAX_CALLS = 1000;
Recorded g_aDebugCalls[MAX_CALLS];
Recorded g_aLogCalls[MAX_CALLS];
size_t g_uDebugCalls = 0;
size_t g_uLogCalls = 0;

void Record( Recorded* pCalls, size_t* puCalls, std::initializer_list<LPCTSTR> aTexts )
{
    const std::lock_guard aGuard( g_aLock );
    if ( *puCalls == MAX_CALLS )
        return;
    char** ppText = pCalls[( *puCalls )++].apTexts;
    for ( LPCTSTR pText : aTexts )
    {
        const LPCTSTR pShown = pText != NULL ? pText : "(null)";
        *ppText = static_cast<char*>( std::malloc( std::strlen( pShown ) + 1 ) );
        std::strcpy( *ppText++, pShown );
    }
}

// A recorded text, which is freed.
std::string Taken( char*& rpText )
{
    const std::string strText( rpText );
    std::free( rpText );
    rpText = NULL;
    return strText;
}

} // namespace

DebugRecorder::DebugRecorder()
{
    StartDebugCapture();
}

DebugRecorder::~DebugRecorder()
{
    EndDebugCapture();
}

std::string DebugRecorder::Take()
{
    return TakeDebugOutput();
}

::testing::AssertionResult DebugRecorder::Silent()
{
    return OnlyReports( {} );
}

::testing::AssertionResult DebugRecorder::OnlyReport( const std::string& strHeader,
                                                      const std::string& strText )
{
    return OnlyReports( { { strHeader, strText } } );
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

HookRecorder::~HookRecorder() = default;

void DLL_EXPORT HookRecorder::Debug( LPCTSTR pHeader, LPCTSTR pMessage )
{
    Record( g_aDebugCalls, &g_uDebugCalls, { pHeader, pMessage } );
}

int DLL_EXPORT HookRecorder::Log( LPCTSTR pFormat, LPCTSTR pFirstText, LPCTSTR pSecondText )
{
    Record( g_aLogCalls, &g_uLogCalls, { pFormat, pFirstText, pSecondText } );
    return 1;
}

::testing::AssertionResult HookRecorder::Silent()
{
    return OnlyReports( {} );
}

::testing::AssertionResult HookRecorder::OnlyReport( const std::string& strHeader,
                                                     const std::string& strText )
{
    return OnlyReports( { { strHeader, strText } } );
}

::testing::AssertionResult HookRecorder::OnlyReports( const std::vector<Report>& aExpected )
{
    const std::vector<Report> aReports = TakeReports();
    const std::vector<std::string> aLogLines = TakeLogLines();
    if ( aReports == aExpected && aLogLines.empty() )
        return ::testing::AssertionSuccess();
    auto aFailure = ::testing::AssertionFailure();
    aFailure << aReports.size() << " reports and " << aLogLines.size() << " log lines:\n";
    for ( const Report& aReport : aReports )
        aFailure << Line( aReport );
    aFailure << "expected:\n";
    for ( const Report& aReport : aExpected )
        aFailure << Line( aReport );
    return aFailure;
}

std::vector<Report> HookRecorder::TakeReports()
{
    const std::lock_guard aGuard( g_aLock );
    std::vector<Report> aReports;
    for ( size_t uCall = 0; uCall < g_uDebugCalls; ++uCall )
    {
        const std::string strHeader = Taken( g_aDebugCalls[uCall].apTexts[0] );
        aReports.emplace_back( strHeader, Taken( g_aDebugCalls[uCall].apTexts[1] ) );
    }
    g_uDebugCalls = 0;
    return aReports;
}

std::vector<std::string> HookRecorder::TakeLogLines()
{
    const std::lock_guard aGuard( g_aLock );
    std::vector<std::string> aLines;
    for ( size_t uCall = 0; uCall < g_uLogCalls; ++uCall )
    {
        std::string strLine = Taken( g_aLogCalls[uCall].apTexts[0] );
        for ( size_t uText = 1; uText < 3; ++uText )
            strLine += "|" + Taken( g_aLogCalls[uCall].apTexts[uText] );
        aLines.push_back( strLine );
    }
    g_uLogCalls = 0;
    return aLines;
}
