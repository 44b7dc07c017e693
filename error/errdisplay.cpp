// Showing errors: the display library, loaded when it is first needed.
#include "core/callreport.h"
#include "error/errserver.h"
#include "error/syserrtext.h"

#include <bxtools/platform.h>

BOOL ERRServer::DisplayError( HWND hWndParent, BOOL fModeless )
{
    CallReport aReport( *this, "From BOOL ERRServer::DisplayError( HWND hWndParent, BOOL fModeless )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            MString aStream;
            if ( !AllErrors2Stream( aStream ) )
                return aReport.Fail( " Error: !AllErrors2Stream( aStream )" );
            if ( !CheckErrDisplayFunc() )
                return aReport.Fail( " Error: !CheckErrDisplayFunc()" );
            if ( !( *m_pErrDisplayFunc )( hWndParent, fModeless, aStream ) )
                return aReport.Fail(
                    " Error: !(*m_pErrDisplayFunc)( (HWND)hWndParent, (BOOL)fModeless, (LPCTSTR)aStream )" );
            return TRUE;
        } );
}

BOOL ERRServer::CheckErrDisplayFunc()
{
    CallReport aReport( *this, "From BOOL ERRServer::CheckErrDisplayFunc()" );
    if ( m_pErrDisplayFunc != NULL )
        return TRUE;
    return aReport.Guard(
        [&]() -> BOOL
        {
            ReleaseDisplayLibrary();
            m_hHMODULE = LoadLibraryA( DISP_ERR_LIB );
            if ( m_hHMODULE == NULL )
            {
                const DWORD dwLastErr = GetLastError();
                aReport.Fail( " Error: ( hTempModule = LoadLibrary( DISP_ERR_LIB ) ) == NULL" );
                aReport.Tail( ", DISP_ERR_LIB = " ).Tail( DISP_ERR_LIB );
                return TailLastErrMsg( aReport, dwLastErr );
            }
            m_pErrDisplayFunc = reinterpret_cast<ERRDISPFUNC>(
                reinterpret_cast<LPVOID>( GetProcAddress( m_hHMODULE, ERRDISPFUNCNAME ) ) );
            if ( m_pErrDisplayFunc == NULL )
            {
                const DWORD dwLastErr = GetLastError();
                aReport.Fail(
                    " Error: m_pErrDisplayFunc == NULL, GetProcAddress( m_hHMODULE, ERRDISPFUNCNAME ) failed." );
                aReport.Tail( ", ERRDISPFUNCNAME = " ).Tail( ERRDISPFUNCNAME );
                ReleaseDisplayLibrary();
                return TailLastErrMsg( aReport, dwLastErr );
            }
            return TRUE;
        } );
}

void ERRServer::ReleaseDisplayLibrary()
{
    if ( m_hHMODULE != NULL )
        FreeLibrary( m_hHMODULE );
    m_hHMODULE = NULL;
    m_pErrDisplayFunc = NULL;
}
