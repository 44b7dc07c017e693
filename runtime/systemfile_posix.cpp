#include "runtime/rwfile.h"
#include "runtime/systemfile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{
[[noreturn]] void Throw( const char* pWhat )
{
    throw RWFileErr( std::string( pWhat ) + ": " + std::generic_category().message( errno ) );
}

int Descriptor( intptr_t nHandle ) noexcept
{
    return static_cast<int>( nHandle );
}

// A new file with the rights of the one whose place it takes. A link stays: what it names is replaced.
int OpenAnew( const char* pFileName, int nFlags )
{
    char szPath[PATH_MAX];
    const char* const pPath = realpath( pFileName, szPath ) != nullptr ? szPath : pFileName;
    struct stat aOld;
    const bool fOld = stat( pPath, &aOld ) == 0;
    if ( fOld && unlink( pPath ) != 0 )
        Throw( "RWFile: the file cannot be replaced" );
    const int nFile = open( pPath, nFlags | O_CREAT | O_EXCL, 0666 );
    if ( nFile >= 0 && fOld && fchown( nFile, aOld.st_uid, aOld.st_gid ) == 0 )
        fchmod( nFile, aOld.st_mode & 0777 );
    return nFile;
}
} // namespace

SystemFile::SystemFile( const char* pFileName, Opening eOpening )
{
    // What is no file must not keep us waiting.
    int nFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | ( eOpening == Opening::READ ? O_RDONLY : O_RDWR );
    if ( eOpening == Opening::UPDATE_OR_CREATE )
        nFlags |= O_CREAT;
    m_nHandle = eOpening == Opening::ANEW ? OpenAnew( pFileName, nFlags ) : open( pFileName, nFlags, 0666 );
    if ( m_nHandle < 0 )
        Throw( "RWFile: the file cannot be opened" );
}

SystemFile::~SystemFile()
{
    close( Descriptor( m_nHandle ) );
}

bool SystemFile::LockForWriting() noexcept
{
    return flock( Descriptor( m_nHandle ), LOCK_EX | LOCK_NB ) == 0;
}

uint64_t SystemFile::GetSize() const
{
    struct stat aStatus;
    if ( fstat( Descriptor( m_nHandle ), &aStatus ) != 0 )
        Throw( "RWFile: the size cannot be told" );
    if ( !S_ISREG( aStatus.st_mode ) )
        throw RWFileErr( "RWFile: this is no file" );
    return static_cast<uint64_t>( aStatus.st_size );
}

size_t SystemFile::ReadAt( void* pBytes, size_t nSize, uint64_t ullPlace ) const
{
    size_t nRead = 0;
    while ( nRead < nSize )
    {
        const ssize_t nNow = pread( Descriptor( m_nHandle ), static_cast<char*>( pBytes ) + nRead,
                                    nSize - nRead, static_cast<off_t>( ullPlace + nRead ) );
        if ( nNow < 0 && errno != EINTR )
            Throw( "RWFile: reading failed" );
        if ( nNow == 0 )
            break;
        nRead += static_cast<size_t>( std::max<ssize_t>( nNow, 0 ) );
    }
    return nRead;
}

void SystemFile::WriteAt( const void* pBytes, size_t nSize, uint64_t ullPlace )
{
    for ( size_t nWritten = 0; nWritten < nSize; )
    {
        const ssize_t nNow = pwrite( Descriptor( m_nHandle ), static_cast<const char*>( pBytes ) + nWritten,
                                     nSize - nWritten, static_cast<off_t>( ullPlace + nWritten ) );
        if ( nNow < 0 && errno != EINTR )
            Throw( "RWFile: writing failed" );
        nWritten += static_cast<size_t>( std::max<ssize_t>( nNow, 0 ) );
    }
}

void SystemFile::FlushToDisk()
{
    // EINVAL: nothing that a disk stands behind.
    if ( fdatasync( Descriptor( m_nHandle ) ) != 0 && errno != EINVAL )
        Throw( "RWFile: flushing failed" );
}

bool SystemFile::MayBeCutByOthers() const noexcept
{
    struct stat aStatus;
    if ( fstat( Descriptor( m_nHandle ), &aStatus ) != 0 || !S_ISREG( aStatus.st_mode ) )
        return true;
    return ( aStatus.st_uid != geteuid() && aStatus.st_uid != 0 ) ||
           ( aStatus.st_mode & ( S_IWGRP | S_IWOTH ) ) != 0;
}

const char* SystemFile::Map( size_t nSize ) const noexcept
{
    void* const pBytes = mmap( nullptr, nSize, PROT_READ, MAP_SHARED, Descriptor( m_nHandle ), 0 );
    if ( pBytes == MAP_FAILED )
        return nullptr;
    // Otherwise the first text of a file that is not in memory brings all of it there.
    madvise( pBytes, nSize, MADV_RANDOM );
    return static_cast<const char*>( pBytes );
}

void SystemFile::Unmap( const char* pBytes, size_t nSize ) noexcept
{
    munmap( const_cast<char*>( pBytes ), nSize );
}
