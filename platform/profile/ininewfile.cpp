#include "platform/profile/ininewfile.h"

#include "platform/profile/inipath.h"

#include <cerrno>
#include <cstdio>
#include <sys/xattr.h>
#include <vector>

namespace
{
constexpr char ACCESS_LIST[] = "system.posix_acl_access";

std::string ThroughProc( int nFile )
{
    return "/proc/self/fd/" + std::to_string( nFile );
}

// No access list is as good as none that the file system could have.
bool HasNoAccessList( int nErrno ) noexcept
{
    return nErrno == ENODATA || nErrno == EOPNOTSUPP;
}

int CopyAccessList( int nFrom, int nTo )
{
    const ssize_t nBytes = fgetxattr( nFrom, ACCESS_LIST, nullptr, 0 );
    if ( nBytes < 0 )
    {
        // The folder may have given the new file one.
        const bool fNone =
            HasNoAccessList( errno ) && ( fremovexattr( nTo, ACCESS_LIST ) == 0 || HasNoAccessList( errno ) );
        return fNone ? 0 : errno;
    }
    std::vector<char> aList( static_cast<size_t>( nBytes ) );
    const ssize_t nRead = fgetxattr( nFrom, ACCESS_LIST, aList.data(), aList.size() );
    if ( nRead < 0 )
        return errno;
    return fsetxattr( nTo, ACCESS_LIST, aList.data(), static_cast<size_t>( nRead ), 0 ) == 0 ? 0 : errno;
}
} // namespace

int WriteIniPieces( int nFile, off_t nAt, std::initializer_list<std::string_view> aPieces ) noexcept
{
    for ( std::string_view aPiece : aPieces )
    {
        while ( !aPiece.empty() )
        {
            const ssize_t nWritten = pwrite( nFile, aPiece.data(), aPiece.size(), nAt );
            if ( nWritten < 0 && errno != EINTR )
                return errno;
            const size_t nDone = nWritten > 0 ? static_cast<size_t>( nWritten ) : 0;
            aPiece.remove_prefix( nDone );
            nAt += static_cast<off_t>( nDone );
        }
    }
    return 0;
}

IniNewFile::IniNewFile( const std::string& strTarget ) : m_strTarget( strTarget ) {}

IniNewFile::~IniNewFile()
{
    if ( m_fNamed )
        unlink( m_strName.c_str() );
    CloseDescriptor( m_nFile );
}

int IniNewFile::Open( mode_t nMode )
{
    const size_t nName = m_strTarget.rfind( '/' ) + 1;
    const std::string strBegin = m_strTarget.substr( 0, nName ) + "." + m_strTarget.substr( nName );
    m_nFile = open( FolderOfIni( m_strTarget ).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, nMode );
    if ( m_nFile >= 0 && access( ThroughProc( m_nFile ).c_str(), F_OK ) == 0 )
    {
        // The same for all writers: it is there for a moment only, whole, and goes with the next change when its writer was
        // killed in that moment.
        m_strName = strBegin + ".new";
        return 0;
    }
    if ( m_nFile < 0 && errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL )
        return errno;
    CloseDescriptor( m_nFile );
    m_strName = strBegin + "." + std::to_string( gettid() );
    unlink( m_strName.c_str() );
    m_nFile = open( m_strName.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, nMode );
    m_fNamed = m_nFile >= 0;
    return m_fNamed ? 0 : errno;
}

int IniNewFile::TakeAccessFrom( int nFile, const struct stat& rStatus ) noexcept
{
    struct stat aOwn;
    if ( fstat( m_nFile, &aOwn ) != 0 )
        return errno;
    const bool fSame = aOwn.st_uid == rStatus.st_uid && aOwn.st_gid == rStatus.st_gid;
    if ( !fSame && fchown( m_nFile, rStatus.st_uid, rStatus.st_gid ) != 0 )
        return errno;
    const int nErrno = CopyAccessList( nFile, m_nFile );
    if ( nErrno != 0 )
        return nErrno;
    return fchmod( m_nFile, rStatus.st_mode & 07777 ) == 0 ? 0 : errno;
}

int IniNewFile::Write( std::initializer_list<std::string_view> aPieces ) noexcept
{
    const int nErrno = WriteIniPieces( m_nFile, 0, aPieces );
    if ( nErrno != 0 )
        return nErrno;
    return fdatasync( m_nFile ) == 0 ? 0 : errno;
}

int IniNewFile::Link( const std::string& strPath ) noexcept
{
    const std::string strSelf = m_fNamed ? m_strName : ThroughProc( m_nFile );
    return linkat( AT_FDCWD, strSelf.c_str(), AT_FDCWD, strPath.c_str(), AT_SYMLINK_FOLLOW ) == 0 ? 0 : errno;
}

int IniNewFile::Replace() noexcept
{
    if ( !m_fNamed )
    {
        int nErrno = Link( m_strName );
        if ( nErrno == EEXIST )
            nErrno = unlink( m_strName.c_str() ) == 0 ? Link( m_strName ) : errno;
        if ( nErrno != 0 )
            return nErrno;
        m_fNamed = true;
    }
    if ( rename( m_strName.c_str(), m_strTarget.c_str() ) != 0 )
        return errno;
    m_fNamed = false;
    return 0;
}

int IniNewFile::Appear() noexcept
{
    if ( !m_fNamed )
        return Link( m_strTarget );
    // Of two ways the one that the file system has.
    if ( renameat2( AT_FDCWD, m_strName.c_str(), AT_FDCWD, m_strTarget.c_str(), RENAME_NOREPLACE ) == 0 )
    {
        m_fNamed = false;
        return 0;
    }
    return errno == EINVAL || errno == ENOSYS ? Link( m_strTarget ) : errno;
}
