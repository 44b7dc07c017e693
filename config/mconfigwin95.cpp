// Reads on the Windows 95 family, which keeps profiles in a cache that other programs' changes do not reach: they go to a
// copy of the file under a name that no other program reads.
#include "core/callreport.h"
#include "core/guards.h"

#include <bxtools/config.h>
#include <bxtools/path.h>

namespace
{

// When the file was modified, in steps of 100 ns. Result: FALSE when its status cannot be had.
BOOL GetModificationTime( LPCTSTR pPath, ULONGLONG& rullTime )
{
    WIN32_FIND_DATAA aStatus = {};
    const HANDLE hFind = FindFirstFileA( pPath, &aStatus );
    if ( hFind == INVALID_HANDLE_VALUE )
        return FALSE;
    FindClose( hFind );
    rullTime =
        ULONGLONG( aStatus.ftLastWriteTime.dwHighDateTime ) << 32 | aStatus.ftLastWriteTime.dwLowDateTime;
    return TRUE;
}

// Whether the copy was made so soon after the file's last change that the next one may get the same time.
BOOL IsCopiedTooSoon( LPCTSTR pFileName, LPCTSTR pCopy )
{
    constexpr LONGLONG CLOCK_STEP = 200000;
    ULONGLONG ullFile = 0;
    ULONGLONG ullCopy = 0;
    return !GetModificationTime( pFileName, ullFile ) || !GetModificationTime( pCopy, ullCopy ) ||
           static_cast<LONGLONG>( ullCopy - ullFile ) < CLOCK_STEP;
}

} // namespace

BOOL MConfig::IsDifferentFile( LPCTSTR pPath )
{
    ULONGLONG ullTime = 0;
    if ( !GetModificationTime( pPath, ullTime ) )
        return TRUE;
    // The low half, which tells times apart that share a second.
    const ULONG ulTime = static_cast<ULONG>( ullTime );
    if ( m_ulFileStamp != 0 && ulTime == m_ulFileStamp )
        return FALSE;
    m_ulFileStamp = ulTime;
    return TRUE;
}

DWORD MConfig::InternalGetPrivateProfileString( LPCTSTR pGroup, LPCTSTR pKey, LPCTSTR pDefault,
                                                LPTSTR pBuffer, DWORD dwSize, LPCTSTR pFileName )
{
    if ( !m_fWin95 || !FileExists( pFileName, FILE_ACCESS_READ, NULL, 0 ) )
        return GetPrivateProfileStringA( pGroup, pKey, pDefault, pBuffer, dwSize, pFileName );
    CallReport aReport( *this, "From DWORD MConfig::InternalGetPrivateProfileString(...)" );
    const LPCTSTR pRead = RefreshTemporaryCopy( pFileName, aReport ) ? m_aWin95FName.data() : pFileName;
    return GetPrivateProfileStringA( pGroup, pKey, pDefault, pBuffer, dwSize, pRead );
}

// Makes the temporary copy where it is missing, and what it holds what the file holds.
BOOL MConfig::RefreshTemporaryCopy( LPCTSTR pFileName, CallReport& rReport )
{
    if ( !FileExists( m_aWin95FName, FILE_ACCESS_READWRITE, NULL, 0 ) && !MakeTemporaryFile( rReport ) )
        return FALSE;
    if ( !IsDifferentFile( pFileName ) )
        return TRUE;
    const BOOL fCopied = CopyTo( m_aWin95FName );
    if ( !fCopied || IsCopiedTooSoon( pFileName, m_aWin95FName ) )
        m_ulFileStamp = 0;
    return fCopied ? TRUE : rReport.Fail( " Error: !CopyTo( m_aWin95FName )" );
}

BOOL MConfig::MakeTemporaryFile( CallReport& rReport )
{
    TCHAR szFullTempPath[MAX_PATH] = {};
    const DWORD dwLength = GetTempPathA( MAX_PATH, szFullTempPath );
    if ( dwLength == 0 || dwLength >= MAX_PATH )
        return rReport.Fail( " Error: GetTempPath( BUF_SIZE( szFullTempPath ), szFullTempPath ) == 0" );
    const LPTSTR pName = m_aWin95FName.GetBuffer( MAX_PATH );
    if ( pName == NULL || !CreateTempFile( szFullTempPath, "CFG", NULL, pName, MAX_PATH ) )
        return rReport.Fail(
            " Error: !CreateTempFile( szFullTempPath, _T('CFG'), NULL, m_aWin95FName.GetBuffer( MAX_PATH ), MAX_PATH )" );
    m_aWin95FName.ReleaseBuffer();
    // Nothing was copied to this one yet.
    m_ulFileStamp = 0;
    return TRUE;
}
