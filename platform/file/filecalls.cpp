// What is done with an open file.
#include "platform/file/filecallscope.h"
#include "platform/file/fileobject.h"
#include "platform/object/handletable.h"

#include <algorithm>
#include <new>
#include <sys/stat.h>

namespace
{
// What one call of the system takes.
constexpr size_t MOST_BYTES_AT_ONCE = 0x7FFFF000;

ULONGLONG Join( DWORD dwHigh, DWORD dwLow ) noexcept
{
    return static_cast<ULONGLONG>( dwHigh ) << 32 | dwLow;
}

// Bytes moved by a call that takes a part at a time; the error that ended it, 0 when everything was moved, the end was
// reached, or less was moved than could be: the next call says why then.
template <class Move>
DWORD MoveBytes( DWORD dwBytes, DWORD& rdwMoved, Move aMove ) noexcept
{
    rdwMoved = 0;
    while ( rdwMoved < dwBytes )
    {
        const size_t nPart = std::min<size_t>( dwBytes - rdwMoved, MOST_BYTES_AT_ONCE );
        const ssize_t nMoved = Uninterrupted( [&] { return aMove( rdwMoved, nPart ); } );
        if ( nMoved < 0 )
            return rdwMoved > 0 ? DWORD{ ERROR_SUCCESS } : ErrnoToWin32( errno );
        rdwMoved += static_cast<DWORD>( nMoved );
        if ( static_cast<size_t>( nMoved ) < nPart )
            break;
    }
    return ERROR_SUCCESS;
}

// Common to reading and writing. aMove is given descriptor, offset in the buffer and number of bytes.
template <class Move>
BOOL Transfer( HANDLE hFile, DWORD dwAccess, DWORD dwBytes, LPDWORD pTransferred, LPOVERLAPPED pOverlapped,
               Move aMove ) noexcept
{
    const FileCallScope aScope;
    DWORD dwIgnored = 0;
    DWORD& rdwTransferred = pTransferred != nullptr ? *pTransferred : dwIgnored;
    rdwTransferred = 0;
    const HandleUse aUse( hFile, KIND_FILE, dwAccess );
    if ( !aUse.IsGood() )
        return FALSE;
    const FileObject& rFile = *aUse.GetObject<FileObject>();
    if ( pOverlapped != nullptr )
        return FailWith( ERROR_INVALID_PARAMETER );
    if ( rFile.GetOpening().IsRangeBarred( rFile.GetData(), dwBytes ) )
        return FailWith( ERROR_LOCK_VIOLATION );
    const DWORD dwError = MoveBytes( dwBytes, rdwTransferred,
                                     [&]( DWORD dwOffset, size_t nBytes )
                                     { return aMove( rFile.GetData(), dwOffset, nBytes ); } );
    return dwError == ERROR_SUCCESS || FailWith( dwError );
}

// The position that a distance leads to; -1 with the last error.
LONGLONG FindTarget( int nData, LONGLONG llDistance, DWORD dwMethod ) noexcept
{
    LONGLONG llFrom = 0;
    struct stat aStatus;
    if ( dwMethod == FILE_CURRENT )
        llFrom = lseek( nData, 0, SEEK_CUR );
    else if ( dwMethod == FILE_END )
        llFrom = fstat( nData, &aStatus ) == 0 ? aStatus.st_size : -1;
    LONGLONG llTarget = 0;
    if ( llFrom < 0 )
        SetLastErrorFromErrno();
    else if ( __builtin_add_overflow( llFrom, llDistance, &llTarget ) )
        SetLastError( ERROR_INVALID_PARAMETER );
    else if ( llTarget < 0 )
        SetLastError( ERROR_NEGATIVE_SEEK );
    else
        return llTarget;
    return -1;
}

// The low half of a number, where all ones are no failure.
DWORD LowHalf( ULONGLONG ullNumber ) noexcept
{
    const auto dwLow = static_cast<DWORD>( ullNumber );
    if ( dwLow == INVALID_SET_FILE_POINTER )
        SetLastError( ERROR_SUCCESS );
    return dwLow;
}

// Calls that need the right to write and fail like a system call.
template <class Call>
BOOL ChangeFile( HANDLE hFile, Call aCall ) noexcept
{
    const FileCallScope aScope;
    const HandleUse aUse( hFile, KIND_FILE, FILE_WRITE_DATA );
    if ( !aUse.IsGood() )
        return FALSE;
    const int nData = aUse.GetObject<FileObject>()->GetData();
    return Uninterrupted( [&] { return aCall( nData ); } ) == 0 || FailWith( ErrnoToWin32( errno ) );
}

// Calls on a range of a file that was opened for anything at all. aCall is given the opening, start and length, and
// returns an error.
template <class Call>
BOOL OnRange( HANDLE hFile, ULONGLONG ullStart, ULONGLONG ullBytes, Call aCall ) noexcept
{
    const FileCallScope aScope;
    const HandleUse aUse( hFile, KIND_FILE, 0 );
    if ( !aUse.IsGood() )
        return FALSE;
    if ( aUse.GetAccess() == 0 )
        return FailWith( ERROR_ACCESS_DENIED );
    const DWORD dwError = aCall( aUse.GetObject<FileObject>()->GetOpening(), ullStart, ullBytes );
    return dwError == ERROR_SUCCESS || FailWith( dwError );
}

// Null with the last error.
HANDLE MakeDuplicate( const FileObject& rFile, DWORD dwAccess, bool fInherit ) noexcept
{
    DescriptorGuard aData( fcntl( rFile.GetData(), F_DUPFD_CLOEXEC, 0 ) );
    if ( aData.Get() < 0 )
    {
        SetLastErrorFromErrno();
        return nullptr;
    }
    FileObject* const pNew = new ( std::nothrow ) FileObject( aData.Get(), rFile.GetOpening() );
    if ( pNew == nullptr )
    {
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
        return nullptr;
    }
    aData.Detach();
    rFile.GetOpening().AddReference();
    if ( fInherit )
        pNew->SetInherited( true );
    return MakeHandle( pNew, dwAccess );
}
} // namespace

BOOL ReadFile( HANDLE hFile, LPVOID pBuffer, DWORD dwBytes, LPDWORD pRead, LPOVERLAPPED pOverlapped )
{
    return Transfer( hFile, FILE_READ_DATA, dwBytes, pRead, pOverlapped,
                     [pBuffer]( int nData, DWORD dwOffset, size_t nBytes )
                     { return read( nData, static_cast<char*>( pBuffer ) + dwOffset, nBytes ); } );
}

BOOL WriteFile( HANDLE hFile, LPCVOID pBuffer, DWORD dwBytes, LPDWORD pWritten, LPOVERLAPPED pOverlapped )
{
    return Transfer( hFile, FILE_WRITE_DATA, dwBytes, pWritten, pOverlapped,
                     [pBuffer]( int nData, DWORD dwOffset, size_t nBytes )
                     { return write( nData, static_cast<const char*>( pBuffer ) + dwOffset, nBytes ); } );
}

DWORD SetFilePointer( HANDLE hFile, LONG lDistance, PLONG pDistanceHigh, DWORD dwMethod )
{
    const FileCallScope aScope;
    const HandleUse aUse( hFile, KIND_FILE, 0 );
    if ( !aUse.IsGood() )
        return INVALID_SET_FILE_POINTER;
    if ( dwMethod > FILE_END )
        return FailWith( ERROR_INVALID_PARAMETER ), INVALID_SET_FILE_POINTER;
    const int nData = aUse.GetObject<FileObject>()->GetData();
    const LONGLONG llDistance = pDistanceHigh == nullptr
                                    ? lDistance
                                    : static_cast<LONGLONG>( Join( static_cast<DWORD>( *pDistanceHigh ),
                                                                   static_cast<DWORD>( lDistance ) ) );
    const LONGLONG llTarget = FindTarget( nData, llDistance, dwMethod );
    if ( llTarget < 0 )
        return INVALID_SET_FILE_POINTER;
    if ( pDistanceHigh == nullptr && llTarget > 0xFFFFFFFFll )
        return FailWith( ERROR_INVALID_PARAMETER ), INVALID_SET_FILE_POINTER;
    const bool fMoves = dwMethod != FILE_CURRENT || llDistance != 0;
    if ( fMoves && lseek( nData, llTarget, SEEK_SET ) < 0 )
        return FailWith( ErrnoToWin32( errno ) ), INVALID_SET_FILE_POINTER;
    if ( pDistanceHigh != nullptr )
        *pDistanceHigh = static_cast<LONG>( llTarget >> 32 );
    return LowHalf( static_cast<ULONGLONG>( llTarget ) );
}

DWORD GetFileSize( HANDLE hFile, LPDWORD pSizeHigh )
{
    const FileCallScope aScope;
    const HandleUse aUse( hFile, KIND_FILE, 0 );
    if ( !aUse.IsGood() )
        return INVALID_FILE_SIZE;
    struct stat aStatus;
    if ( fstat( aUse.GetObject<FileObject>()->GetData(), &aStatus ) != 0 )
        return FailWith( ErrnoToWin32( errno ) ), INVALID_FILE_SIZE;
    if ( pSizeHigh != nullptr )
        *pSizeHigh = static_cast<DWORD>( aStatus.st_size >> 32 );
    return LowHalf( static_cast<ULONGLONG>( aStatus.st_size ) );
}

BOOL SetEndOfFile( HANDLE hFile )
{
    return ChangeFile( hFile,
                       []( int nData )
                       {
                           const off_t nEnd = lseek( nData, 0, SEEK_CUR );
                           return nEnd >= 0 ? ftruncate( nData, nEnd ) : -1;
                       } );
}

BOOL FlushFileBuffers( HANDLE hFile )
{
    return ChangeFile( hFile, []( int nData ) { return fsync( nData ); } );
}

BOOL LockFile( HANDLE hFile, DWORD dwOffsetLow, DWORD dwOffsetHigh, DWORD dwBytesLow, DWORD dwBytesHigh )
{
    return OnRange( hFile, Join( dwOffsetHigh, dwOffsetLow ), Join( dwBytesHigh, dwBytesLow ),
                    []( FileOpening& rOpening, ULONGLONG ullStart, ULONGLONG ullBytes )
                    { return rOpening.LockRange( ullStart, ullBytes ); } );
}

BOOL UnlockFile( HANDLE hFile, DWORD dwOffsetLow, DWORD dwOffsetHigh, DWORD dwBytesLow, DWORD dwBytesHigh )
{
    return OnRange( hFile, Join( dwOffsetHigh, dwOffsetLow ), Join( dwBytesHigh, dwBytesLow ),
                    []( FileOpening& rOpening, ULONGLONG ullStart, ULONGLONG ullBytes )
                    { return rOpening.UnlockRange( ullStart, ullBytes ); } );
}

HANDLE GetCurrentProcess()
{
    return INVALID_HANDLE_VALUE;
}

BOOL DuplicateHandle( HANDLE hSourceProcess, HANDLE hSource, HANDLE hTargetProcess, LPHANDLE pTarget, DWORD,
                      BOOL fInherit, DWORD dwOptions )
{
    const FileCallScope aScope;
    if ( hSourceProcess != GetCurrentProcess() || hTargetProcess != GetCurrentProcess() )
        return FailWith( ERROR_INVALID_HANDLE );
    const HandleUse aUse( hSource, KINDS_OF_CLOSE_HANDLE, 0 );
    if ( !aUse.IsGood() )
        return FALSE;
    if ( aUse.GetObject()->GetKind() != KIND_FILE )
        return FailWith( ERROR_NOT_SUPPORTED );
    if ( pTarget == nullptr || dwOptions != DUPLICATE_SAME_ACCESS )
        return FailWith( ERROR_INVALID_PARAMETER );
    *pTarget = MakeDuplicate( *aUse.GetObject<FileObject>(), aUse.GetAccess(), fInherit != FALSE );
    return *pTarget != nullptr;
}
