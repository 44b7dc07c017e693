#include "error/syserrtext.h"

#include "core/callreport.h"

#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <cstring>

namespace
{

// The system's text for an error number, freed at the end of the scope.
class SystemText
{
public:
    explicit SystemText( DWORD dwErrorCode )
    {
        constexpr DWORD FLAGS = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
        m_dwLength = FormatMessageA( FLAGS, NULL, dwErrorCode, MAKELANGID( LANG_NEUTRAL, SUBLANG_DEFAULT ),
                                     reinterpret_cast<LPSTR>( &m_pText ), 0, NULL );
    }
    ~SystemText() { LocalFree( m_pText ); }
    SystemText( const SystemText& ) = delete;
    SystemText& operator=( const SystemText& ) = delete;

    bool IsFound() const { return m_dwLength != 0; }
    DWORD Length() const { return m_dwLength; }
    LPCTSTR Text() const { return m_pText; }

private:
    LPSTR m_pText = NULL;
    DWORD m_dwLength = 0;
};

// Why there is no text. Shown is the length of the reason's text, where one would expect its number; kept so.
BOOL FailWithReason( CallReport& aReport, const SystemText& aReason )
{
    aReport.Fail( " Error: ( dwRet = FormatMessage(...) ) == 0\r\n" );
    aReport.Tail( " GetLastError() reports: " ).Tail( aReason.Length() );
    aReport.Tail( " -> " ).Tail( aReason.Text() ).Tail( "\r\n" );
    return FALSE;
}

} // namespace

DLL_EXPORT_MOD BOOL DLL_EXPORT AppendLastErrMsg( MString& paOut, DWORD dwLastErr, BOOL& pfMessageFound )
{
    const DWORD dwErrorCode = dwLastErr != 0 ? dwLastErr : GetLastError();
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT AppendLastErrMsg( MString& paOut, DWORD dwLastErr, BOOL& pfMessageFound )" );
    pfMessageFound = FALSE;
    return aReport.Guard(
        [&]() -> BOOL
        {
            const SystemText aSystemText( dwErrorCode );
            if ( aSystemText.IsFound() )
            {
                RWCString aAddition( "\r\n" );
                aAddition.append( aSystemText.Text(), aSystemText.Length() );
                paOut.RWCString::append( aAddition.data(), aAddition.length() );
                pfMessageFound = TRUE;
                return TRUE;
            }
            const SystemText aReason( GetLastError() );
            if ( !aReason.IsFound() )
                return TRUE;
            // Written twice; kept so.
            FailWithReason( aReport, aReason );
            aReport.ReportNow();
            return FailWithReason( aReport, aReason );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT ExpandLastError( MString& aOut, LPCTSTR szText, long lLastErr,
                                                BOOL& fMessageFound )
{
    const DWORD dwLastErr = lLastErr != 0 ? static_cast<DWORD>( lLastErr ) : GetLastError();
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT ExpandLastError( MString& aOut, LPCTSTR szText, long lLastErr, BOOL& fMessageFound )" );
    fMessageFound = FALSE;
    return aReport.Guard(
        [&]() -> BOOL
        {
            aOut.RWCString::assign( szText, szText != NULL ? std::strlen( szText ) : 0 );
            return AppendLastErrMsg( aOut, dwLastErr, fMessageFound );
        } );
}

BOOL TailLastErrMsg( CallReport& aReport, DWORD dwLastErr )
{
    MString aText;
    BOOL fMessageFound = FALSE;
    AppendLastErrMsg( aText, dwLastErr, fMessageFound );
    aReport.Tail( aText.data() );
    return FALSE;
}
