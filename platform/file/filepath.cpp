#include "platform/file/filepath.h"

#include "platform/file/filecallscope.h"

#include <cstring>
#include <unistd.h>

namespace
{
constexpr mode_t ANY_READ = S_IRUSR | S_IRGRP | S_IROTH;
constexpr mode_t ANY_WRITE = S_IWUSR | S_IWGRP | S_IWOTH;

// What has a separator behind it is meant to be a folder.
bool IsFileWithSeparator( FilePath aPath ) noexcept
{
    struct stat aStatus;
    return aPath.EndsInSeparator() && ( aPath.CutSeparators(), stat( aPath.Text(), &aStatus ) == 0 );
}

bool IsFolderThere( const FilePath& rPath ) noexcept
{
    FilePath aFolder( rPath );
    aFolder.CutSeparators();
    aFolder.CutLastPiece();
    struct stat aStatus;
    return stat( aFolder.Text(), &aStatus ) == 0 && S_ISDIR( aStatus.st_mode );
}
} // namespace

bool FilePath::Set( LPCSTR pPath ) noexcept
{
    m_nLength = pPath != nullptr ? strnlen( pPath, m_aText.size() ) : 0;
    if ( m_nLength == 0 || m_nLength == m_aText.size() )
        return FailWith( m_nLength == 0 ? ERROR_PATH_NOT_FOUND : ERROR_FILENAME_EXCED_RANGE );
    // Few paths hold any, and looking takes a fraction of the time that copying byte by byte does.
    std::memcpy( m_aText.data(), pPath, m_nLength );
    m_aText[m_nLength] = '\0';
    for ( char* p = m_aText.data(); ( p = std::strchr( p, '\\' ) ) != nullptr; )
        *p = '/';
    return true;
}

void FilePath::CutSeparators() noexcept
{
    while ( m_nLength > 1 && EndsInSeparator() )
        m_aText[--m_nLength] = '\0';
}

void FilePath::CutLastPiece() noexcept
{
    m_nLength -= LastPiece().size();
    if ( m_nLength == 0 )
        m_aText[m_nLength++] = '.';
    m_aText[m_nLength] = '\0';
    CutSeparators();
}

bool HasWildcards( std::string_view aText ) noexcept
{
    return aText.find_first_of( "*?" ) != std::string_view::npos;
}

DWORD ErrorOfPath( const FilePath& rPath, int nErrno ) noexcept
{
    // Some file systems have characters that no name may hold.
    if ( nErrno == EINVAL || ( nErrno == ENOTDIR && IsFileWithSeparator( rPath ) ) )
        return ERROR_INVALID_NAME;
    if ( nErrno != ENOENT )
        return ErrnoToWin32( nErrno );
    if ( HasWildcards( rPath.View() ) )
        return ERROR_INVALID_NAME;
    return IsFolderThere( rPath ) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

bool FailForPath( const FilePath& rPath ) noexcept
{
    return FailWith( ErrorOfPath( rPath, errno ) );
}

bool ModeAllowsReading( const struct stat& rStatus ) noexcept
{
    return geteuid() != 0 || ( rStatus.st_mode & ANY_READ ) != 0;
}

bool ModeAllowsWriting( const struct stat& rStatus ) noexcept
{
    return geteuid() != 0 || !IsReadOnly( rStatus );
}

bool IsReadOnly( const struct stat& rStatus ) noexcept
{
    return ( rStatus.st_mode & ANY_WRITE ) == 0;
}
