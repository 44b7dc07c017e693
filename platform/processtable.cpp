#include "platform/processtable.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"

#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <linux/magic.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace
{
// As the kernel writes an entry of a folder; a name that ends in zero follows.
struct FolderEntry
{
    uint64_t ullNode;
    int64_t llOffset;
    uint16_t usLength;
    uint8_t ucType;
};
constexpr size_t NAME_OFFSET = offsetof( FolderEntry, ucType ) + 1;

constexpr char PROGRAM_LINK[] = "/exe";
constexpr size_t LONGEST_NUMBER = 10; // digits of a DWORD
constexpr std::string_view DELETED_MARK = " (deleted)";

// 0: no process's.
DWORD NumberOf( std::string_view aName ) noexcept
{
    DWORD dwNumber = 0;
    const auto aRead = std::from_chars( aName.data(), aName.data() + aName.size(), dwNumber );
    return aRead.ptr == aName.data() + aName.size() ? dwNumber : 0;
}

// Whether a path is that of the file that the process runs, and not of one that was deleted since. One that ends in the mark
// may be either.
bool IsRunFrom( int nFolder, const char* pLink, const char* pPath ) noexcept
{
    struct stat aRun;
    struct stat aThere;
    return fstatat( nFolder, pLink, &aRun, 0 ) == 0 && stat( pPath, &aThere ) == 0 &&
           aRun.st_dev == aThere.st_dev && aRun.st_ino == aThere.st_ino;
}
} // namespace

ProcessTable::ProcessTable() noexcept
{
    const int nErrno = errno;
    m_nFolder = MoveDescriptorHigh(
        static_cast<int>( syscall( SYS_openat, AT_FDCWD, "/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC ) ) );
    struct statfs aSystem;
    if ( m_nFolder < 0 || fstatfs( m_nFolder, &aSystem ) != 0 )
        Fail( errno );
    else if ( aSystem.f_type != PROC_SUPER_MAGIC )
        Fail( ENODEV ); // an empty folder would read as if nothing ran
    errno = nErrno;
}

ProcessTable::~ProcessTable()
{
    CloseDescriptor( m_nFolder );
}

bool ProcessTable::Fail( int nErrno ) noexcept
{
    errno = nErrno;
    SetLastErrorFromErrno();
    m_fFailed = true;
    return false;
}

bool ProcessTable::FillEntries() noexcept
{
    const int nErrno = errno;
    m_nNext = 0;
    m_nFilled = syscall( SYS_getdents64, m_nFolder, m_aEntries, sizeof( m_aEntries ) );
    if ( m_nFilled < 0 )
        Fail( errno );
    errno = nErrno;
    return m_nFilled > 0;
}

bool ProcessTable::GoOn() noexcept
{
    m_dwProcessId = 0;
    while ( m_dwProcessId == 0 )
    {
        if ( m_fFailed || ( m_nNext >= m_nFilled && !FillEntries() ) )
            return false;
        const char* const pEntry = m_aEntries + m_nNext;
        FolderEntry aEntry;
        std::memcpy( &aEntry, pEntry, NAME_OFFSET );
        m_nNext += aEntry.usLength;
        m_dwProcessId = NumberOf( pEntry + NAME_OFFSET );
    }
    return true;
}

const char* ProcessTable::GetPath() noexcept
{
    return GetPathOf( m_dwProcessId );
}

const char* ProcessTable::GetPathOf( DWORD dwProcessId ) noexcept
{
    const int nErrno = errno;
    char szLink[LONGEST_NUMBER + sizeof( PROGRAM_LINK )];
    char* const pNumberEnd = std::to_chars( szLink, szLink + LONGEST_NUMBER, dwProcessId ).ptr;
    std::memcpy( pNumberEnd, PROGRAM_LINK, sizeof( PROGRAM_LINK ) );
    const long nRead = syscall( SYS_readlinkat, m_nFolder, szLink, m_szPath, sizeof( m_szPath ) - 1 );
    const std::string_view aPath( m_szPath, nRead > 0 ? static_cast<size_t>( nRead ) : 0 );
    m_szPath[aPath.size()] = '\0';
    if ( aPath.ends_with( DELETED_MARK ) && !IsRunFrom( m_nFolder, szLink, m_szPath ) )
        m_szPath[aPath.size() - DELETED_MARK.size()] = '\0';
    errno = nErrno;
    return m_szPath;
}
