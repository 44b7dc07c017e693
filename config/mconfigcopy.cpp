// The file as a whole.
#include "core/callreport.h"
#include "core/guards.h"

#include <bxtools/config.h>

namespace
{

constexpr DWORD ATTRIBUTES = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN;
constexpr DWORD FILE_POINTER_ERR = INVALID_SET_FILE_POINTER;
constexpr char DESTINATION_NOT_OPEN[] =
    " Error: ( hFileDest = CreateFile( aFullPath, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, NULL ) ) == INVALID_HANDLE_VALUE";
constexpr char THIS_NOT_OPEN[] =
    " Error: ( hFileThis = CreateFile( m_aFName, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, NULL ) ) == INVALID_HANDLE_VALUE";

// Null where it cannot be opened.
HANDLE OpenForReading( LPCTSTR pPath, DWORD dwDisposition )
{
    const HANDLE hFile = CreateFileA( pPath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL,
                                      dwDisposition, ATTRIBUTES, NULL );
    return hFile != INVALID_HANDLE_VALUE ? hFile : NULL;
}

HANDLE OpenForWriting( LPCTSTR pPath )
{
    TCHAR szFullPath[MAX_PATH] = {};
    const DWORD dwLength = GetFullPathNameA( pPath, MAX_PATH, szFullPath, NULL );
    if ( dwLength == 0 || dwLength >= MAX_PATH )
        return NULL;
    const HANDLE hFile = CreateFileA( szFullPath, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, ATTRIBUTES, NULL );
    return hFile != INVALID_HANDLE_VALUE ? hFile : NULL;
}

BOOL CopyAll( HANDLE hFileThis, HANDLE hFileDest, CallReport& rReport )
{
    const DWORD dwSize = SetFilePointer( hFileThis, 0, NULL, FILE_END );
    if ( dwSize == FILE_POINTER_ERR )
        return rReport.Fail(
            " Error: ( lSize = ::SetFilePointer( hFileThis, 0L, NULL, FILE_END ) ) == FILE_POINTER_ERR" );
    if ( SetFilePointer( hFileThis, 0, NULL, FILE_BEGIN ) == FILE_POINTER_ERR )
        return rReport.Fail(
            " Error: ::SetFilePointer( hFileThis, 0L, NULL, FILE_BEGIN ) == FILE_POINTER_ERR" );
    const TCHARBuffer pBuf( MyTCHARFactory( dwSize ) );
    if ( pBuf == NULL )
        return rReport.Fail( " Error: ( pBuf = MyTCHARFactory( lSize ) ) == NULL" );
    DWORD dwRead = 0;
    if ( !ReadFile( hFileThis, pBuf.get(), dwSize, &dwRead, NULL ) )
        return rReport.Fail( " Error: !::ReadFile( hFileThis, pBuf, (DWORD)lSize, &dwRead, NULL )" );
    DWORD dwWritten = 0;
    // Less than the size was read of a file that has just become shorter.
    if ( !WriteFile( hFileDest, pBuf.get(), dwRead, &dwWritten, NULL ) || dwWritten != dwRead )
        return rReport.Fail( " Error: !::WriteFile( hFileDest, pBuf, (DWORD)lSize, &dwRead, NULL )" );
    return TRUE;
}

} // namespace

BOOL MConfig::CopyTo( const MString& rDestFile )
{
    CallReport aReport( *this, "From BOOL MConfig::CopyTo( const MString& rDestFile )" );
    // While this is open nobody can empty the file, under whatever name: not as the destination either.
    KernelHandle hHeld( OpenForReading( m_aFName, OPEN_EXISTING ) );
    if ( !hHeld && GetLastError() != ERROR_FILE_NOT_FOUND )
        return aReport.Fail( THIS_NOT_OPEN );
    const KernelHandle hFileDest( OpenForWriting( rDestFile ) );
    if ( !hFileDest )
        return aReport.Fail( DESTINATION_NOT_OPEN );
    hHeld.Reset();
    Flush();
    const KernelHandle hFileThis( OpenForReading( m_aFName, OPEN_ALWAYS ) );
    if ( !hFileThis )
        return aReport.Fail( THIS_NOT_OPEN );
    return CopyAll( hFileThis.Get(), hFileDest.Get(), aReport );
}
