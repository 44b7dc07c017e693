// The file object that throws.
#include "core/guards.h"
#include "file/volume.h"

#include <bxtools/file.h>
#include <bxtools/platform.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

namespace
{

constexpr UINT ACCESS_BITS = 0x3;
constexpr UINT SHARE_BITS = 0x70;
constexpr UINT SHARE_SHIFT = 4;
constexpr UINT KNOWN_BITS = ACCESS_BITS | SHARE_BITS | MFileWrapper::modeNoInherit |
                            MFileWrapper::modeCreate | MFileWrapper::modeNoTruncate;
constexpr size_t FULL_PATH_BUFFER = 260;

constexpr DWORD ACCESS_OF_BITS[] = { GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE };
constexpr DWORD SHARE_OF_BITS[] = { 0, 0, FILE_SHARE_READ, FILE_SHARE_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE };

constexpr LONG CAUSE_DISK_FULL = 13;
constexpr LONG NO_OS_ERROR = -1;

[[noreturn]] void ThrowLastError( LPCTSTR pFileName = NULL )
{
    const LONG lOsError = static_cast<LONG>( GetLastError() );
    throw new CFileException( CFileException::CauseOf( lOsError ), lOsError, pFileName );
}

void ThrowUnless( BOOL fDone )
{
    if ( !fDone )
        ThrowLastError();
}

// A name that has no full path, or too long a one, stands for itself.
MString FullPathOf( LPCTSTR pFileName )
{
    TCHAR szFullPath[FULL_PATH_BUFFER];
    const DWORD dwLength = GetFullPathNameA( pFileName, FULL_PATH_BUFFER, szFullPath, NULL );
    const bool fWhole = dwLength != 0 && dwLength < FULL_PATH_BUFFER;
    MString aPath = fWhole ? MString( szFullPath )
                           : MString( pFileName, static_cast<int>( strnlen( pFileName, FULL_PATH_BUFFER ) ) );
    AdaptToVolume( aPath );
    return aPath;
}

DWORD DispositionOf( UINT uOpenFlags )
{
    if ( ( uOpenFlags & MFileWrapper::modeCreate ) == 0 )
        return OPEN_EXISTING;
    return ( uOpenFlags & MFileWrapper::modeNoTruncate ) != 0 ? OPEN_ALWAYS : CREATE_ALWAYS;
}

HANDLE OpenHandle( LPCTSTR pFileName, UINT uOpenFlags )
{
    const UINT uAccess = uOpenFlags & ACCESS_BITS;
    const UINT uShare = ( uOpenFlags & SHARE_BITS ) >> SHARE_SHIFT;
    if ( ( uOpenFlags & ~KNOWN_BITS ) != 0 || uAccess >= std::size( ACCESS_OF_BITS ) ||
         uShare >= std::size( SHARE_OF_BITS ) )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return INVALID_HANDLE_VALUE;
    }
    SECURITY_ATTRIBUTES aSecurity = {};
    aSecurity.nLength = sizeof( aSecurity );
    aSecurity.bInheritHandle = ( uOpenFlags & MFileWrapper::modeNoInherit ) == 0;
    return CreateFileA( pFileName, ACCESS_OF_BITS[uAccess], SHARE_OF_BITS[uShare], &aSecurity,
                        DispositionOf( uOpenFlags ), FILE_ATTRIBUTE_NORMAL, NULL );
}

} // namespace

BaseFile::BaseFile() : m_hFile( INVALID_HANDLE_VALUE ) {}

BaseFile::BaseFile( int hFile ) : m_hFile( reinterpret_cast<HANDLE>( static_cast<LONG_PTR>( hFile ) ) ) {}

BaseFile::BaseFile( LPCTSTR pFileName, UINT uOpenFlags ) : m_hFile( INVALID_HANDLE_VALUE )
{
    auto pException = std::make_unique<CFileException>();
    if ( !BaseFile::Open( pFileName, uOpenFlags, pException.get() ) )
        throw pException.release();
}

BaseFile::~BaseFile()
{
    CloseOwned();
}

BaseFile& BaseFile::operator=( const BaseFile& aOther )
{
    if ( this == &aOther )
        return *this;
    CloseOwned();
    m_hFile = aOther.m_hFile;
    m_fCloseOnDelete = FALSE;
    m_aFilePath = aOther.m_aFilePath;
    return *this;
}

void BaseFile::CloseOwned() noexcept
{
    const LastErrorGuard aLastError;
    if ( m_hFile != INVALID_HANDLE_VALUE && m_fCloseOnDelete )
        CloseHandle( m_hFile );
}

DWORD BaseFile::GetPosition() const
{
    const DWORD dwPosition = SetFilePointer( m_hFile, 0, NULL, FILE_CURRENT );
    ThrowUnless( dwPosition != INVALID_SET_FILE_POINTER || GetLastError() == ERROR_SUCCESS );
    return dwPosition;
}

void BaseFile::SetFilePath( LPCTSTR pNewName )
{
    m_aFilePath = pNewName;
}

int BaseFile::Open( LPCTSTR pFileName, UINT uOpenFlags, CFileException* pException )
{
    const LPCTSTR pGivenName = pFileName != NULL ? pFileName : "";
    CloseOwned();
    m_fCloseOnDelete = FALSE;
    m_hFile = INVALID_HANDLE_VALUE;
    m_aFilePath = FullPathOf( pGivenName );
    m_hFile = OpenHandle( pGivenName, uOpenFlags );
    m_fCloseOnDelete = m_hFile != INVALID_HANDLE_VALUE;
    if ( m_fCloseOnDelete )
        return 1;
    if ( pException != NULL )
    {
        pException->m_lOsError = static_cast<LONG>( GetLastError() );
        pException->m_lCause = CFileException::CauseOf( pException->m_lOsError );
        pException->m_aFileName = pGivenName;
    }
    return 0;
}

BaseFile* BaseFile::Duplicate() const
{
    auto pDuplicate = std::make_unique<BaseFile>();
    // The value of no file means this process where a handle is duplicated.
    if ( m_hFile == INVALID_HANDLE_VALUE )
        SetLastError( ERROR_INVALID_HANDLE );
    ThrowUnless( m_hFile != INVALID_HANDLE_VALUE &&
                 DuplicateHandle( GetCurrentProcess(), m_hFile, GetCurrentProcess(), &pDuplicate->m_hFile, 0,
                                  FALSE, DUPLICATE_SAME_ACCESS ) );
    pDuplicate->m_fCloseOnDelete = m_fCloseOnDelete;
    return pDuplicate.release();
}

LONG BaseFile::Seek( LONG lOffset, UINT uOrigin )
{
    const DWORD dwPosition = SetFilePointer( m_hFile, lOffset, NULL, uOrigin );
    ThrowUnless( dwPosition != INVALID_SET_FILE_POINTER || GetLastError() == ERROR_SUCCESS );
    return static_cast<LONG>( dwPosition );
}

// Seek from the beginning, for positions beyond 2 GB as well.
void BaseFile::MoveTo( DWORD dwPosition )
{
    LONG lHigh = 0;
    ThrowUnless( SetFilePointer( m_hFile, static_cast<LONG>( dwPosition ), &lHigh, FILE_BEGIN ) !=
                     INVALID_SET_FILE_POINTER ||
                 GetLastError() == ERROR_SUCCESS );
}

void BaseFile::SetLength( DWORD dwLength )
{
    MoveTo( dwLength );
    ThrowUnless( SetEndOfFile( m_hFile ) );
}

DWORD BaseFile::GetLength()
{
    const DWORD dwPosition = GetPosition();
    const DWORD dwLength = SeekToEnd();
    MoveTo( dwPosition );
    return dwLength;
}

UINT BaseFile::Read( void* pBuffer, UINT uCount )
{
    DWORD dwRead = 0;
    ThrowUnless( uCount == 0 || ReadFile( m_hFile, pBuffer, uCount, &dwRead, NULL ) );
    return dwRead;
}

void BaseFile::Write( const void* pBuffer, UINT uCount )
{
    if ( uCount == 0 )
        return;
    DWORD dwWritten = 0;
    if ( !WriteFile( m_hFile, pBuffer, uCount, &dwWritten, NULL ) )
        ThrowLastError( m_aFilePath );
    if ( dwWritten != uCount )
        throw new CFileException( CAUSE_DISK_FULL, NO_OS_ERROR, m_aFilePath );
}

void BaseFile::LockRange( DWORD dwPosition, DWORD dwCount )
{
    ThrowUnless( LockFile( m_hFile, dwPosition, 0, dwCount, 0 ) );
}

void BaseFile::UnlockRange( DWORD dwPosition, DWORD dwCount )
{
    ThrowUnless( UnlockFile( m_hFile, dwPosition, 0, dwCount, 0 ) );
}

void BaseFile::Abort()
{
    const LastErrorGuard aLastError;
    if ( m_hFile != INVALID_HANDLE_VALUE )
        CloseHandle( m_hFile );
    m_hFile = INVALID_HANDLE_VALUE;
    m_aFilePath.Empty();
}

void BaseFile::Flush()
{
    ThrowUnless( m_hFile == INVALID_HANDLE_VALUE || FlushFileBuffers( m_hFile ) );
}

void BaseFile::Close()
{
    const BOOL fClosed = m_hFile == INVALID_HANDLE_VALUE || CloseHandle( m_hFile );
    m_hFile = INVALID_HANDLE_VALUE;
    m_fCloseOnDelete = FALSE;
    m_aFilePath.Empty();
    ThrowUnless( fClosed );
}

UINT BaseFile::GetBufferPtr( ... )
{
    return 0;
}

DWORD BaseFile::SeekToEnd()
{
    return static_cast<DWORD>( Seek( 0, MFileWrapper::end ) );
}

void BaseFile::SeekToBegin()
{
    Seek( 0, MFileWrapper::begin );
}

UINT BaseFile::ReadHuge( void* pBuffer, DWORD dwCount )
{
    return Read( pBuffer, dwCount );
}

void BaseFile::WriteHuge( const void* pBuffer, DWORD dwCount )
{
    Write( pBuffer, dwCount );
}

void BaseFile::Rename( LPCTSTR pOldName, LPCTSTR pNewName )
{
    ThrowUnless( MoveFileA( pOldName, pNewName ) );
}

void BaseFile::Remove( LPCTSTR pFileName )
{
    ThrowUnless( DeleteFileA( pFileName ) );
}

BaseFile::operator int() const
{
    return static_cast<int>( reinterpret_cast<LONG_PTR>( m_hFile ) );
}
