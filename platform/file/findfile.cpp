// Searches in a folder.
#include "platform/file/filecallscope.h"
#include "platform/file/filepath.h"
#include "platform/highdescriptor.h"
#include "platform/locked.h"
#include "platform/object/handletable.h"

#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <new>

namespace
{
// 100 nanoseconds from 1601 to 1970.
constexpr ULONGLONG FILETIME_OF_1970 = 116444736000000000ull;

FILETIME ToFileTime( LONGLONG llSeconds, ULONGLONG ullNanoseconds ) noexcept
{
    const ULONGLONG ullTime =
        FILETIME_OF_1970 + static_cast<ULONGLONG>( llSeconds ) * 10000000 + ullNanoseconds / 100;
    return { static_cast<DWORD>( ullTime ), static_cast<DWORD>( ullTime >> 32 ) };
}

FILETIME ToFileTime( const struct statx_timestamp& rTime ) noexcept
{
    return ToFileTime( rTime.tv_sec, rTime.tv_nsec );
}

DWORD AttributesOf( const struct statx& rStatus ) noexcept
{
    if ( S_ISDIR( rStatus.stx_mode ) )
        return FILE_ATTRIBUTE_DIRECTORY;
    const bool fReadOnly = ( rStatus.stx_mode & ( S_IWUSR | S_IWGRP | S_IWOTH ) ) == 0;
    return FILE_ATTRIBUTE_ARCHIVE | ( fReadOnly ? FILE_ATTRIBUTE_READONLY : 0u );
}

// A link that leads nowhere is found as what it is itself.
bool DescribeFile( int nFolder, const char* pName, WIN32_FIND_DATAA& rData ) noexcept
{
    constexpr unsigned WANTED = STATX_BASIC_STATS | STATX_BTIME;
    struct statx aStatus;
    if ( statx( nFolder, pName, 0, WANTED, &aStatus ) != 0 &&
         statx( nFolder, pName, AT_SYMLINK_NOFOLLOW, WANTED, &aStatus ) != 0 )
        return false;
    rData = {};
    rData.dwFileAttributes = AttributesOf( aStatus );
    rData.ftCreationTime =
        ToFileTime( ( aStatus.stx_mask & STATX_BTIME ) != 0 ? aStatus.stx_btime : aStatus.stx_mtime );
    rData.ftLastAccessTime = ToFileTime( aStatus.stx_atime );
    rData.ftLastWriteTime = ToFileTime( aStatus.stx_mtime );
    if ( S_ISREG( aStatus.stx_mode ) )
    {
        rData.nFileSizeHigh = static_cast<DWORD>( aStatus.stx_size >> 32 );
        rData.nFileSizeLow = static_cast<DWORD>( aStatus.stx_size );
    }
    strncpy( rData.cFileName, pName, sizeof( rData.cFileName ) - 1 );
    return true;
}

// One character of UTF-8, whole.
const char* NextCharacter( const char* pText ) noexcept
{
    constexpr unsigned char CONTINUATION_MASK = 0xC0;
    constexpr unsigned char CONTINUATION = 0x80;
    do
        ++pText;
    while ( ( static_cast<unsigned char>( *pText ) & CONTINUATION_MASK ) == CONTINUATION );
    return pText;
}

// Goes back to the last '*' only, so that no pattern takes longer than pattern times name.
bool Matches( const char* pPattern, const char* pName ) noexcept
{
    const char* pBehindStar = nullptr;
    const char* pRetry = nullptr;
    while ( *pName != '\0' )
    {
        if ( *pPattern == '*' )
        {
            pBehindStar = ++pPattern;
            pRetry = pName;
        }
        else if ( *pPattern == '?' )
        {
            ++pPattern;
            pName = NextCharacter( pName );
        }
        else if ( *pPattern == *pName )
        {
            ++pPattern;
            ++pName;
        }
        else if ( pBehindStar != nullptr )
        {
            pPattern = pBehindStar;
            pName = ++pRetry;
        }
        else
            return false;
    }
    return pPattern[strspn( pPattern, "*?" )] == '\0';
}

class FileSearch final : public KernelObject
{
public:
    explicit FileSearch( int nFolder ) noexcept : KernelObject( KIND_FILE_SEARCH ), m_nFolder( nFolder ) {}
    ~FileSearch() override { CloseDescriptor( m_nFolder ); }

    // The pattern must be no longer than a file's name.
    void SetPattern( const char* pPattern ) noexcept
    {
        strcpy( m_aPattern.data(), strcmp( pPattern, "*.*" ) == 0 ? "*" : pPattern );
        m_fWildcards = HasWildcards( pPattern );
    }
    // False with the last error; 18 when there are no more.
    bool FindNext( WIN32_FIND_DATAA& rData ) noexcept;

    // The child has a descriptor of its own, which the destructor closes.
    void AbandonInChild() noexcept override {}

private:
    enum class Stage
    {
        ExactName,
        ThisFolder,
        FolderAbove,
        Entries,
        Over
    };

    bool FindSpecial( WIN32_FIND_DATAA& rData ) noexcept;
    bool FindEntry( WIN32_FIND_DATAA& rData ) noexcept;
    const char* NextEntry() noexcept;

    CRITICAL_SECTION m_aLock{};
    int m_nFolder;
    Stage m_eStage = Stage::ExactName;
    bool m_fWildcards = false;
    bool m_fFoundExactName = false;
    long m_nBytes = 0;
    long m_nOffset = 0;
    std::array<char, NAME_MAX + 1> m_aPattern{};
    alignas( dirent64 ) std::array<char, 4096> m_aEntries;
};

bool FileSearch::FindNext( WIN32_FIND_DATAA& rData ) noexcept
{
    const LockedScope aLocked( m_aLock );
    while ( m_eStage < Stage::Entries )
    {
        if ( FindSpecial( rData ) )
            return true;
    }
    return m_eStage == Stage::Entries && FindEntry( rData ) ? true : FailWith( ERROR_NO_MORE_FILES );
}

// What comes before all others, one at a time.
bool FileSearch::FindSpecial( WIN32_FIND_DATAA& rData ) noexcept
{
    const Stage eStage = m_eStage;
    m_eStage = static_cast<Stage>( static_cast<int>( m_eStage ) + 1 );
    if ( eStage != Stage::ExactName )
    {
        const char* const pName = eStage == Stage::ThisFolder ? "." : "..";
        return Matches( m_aPattern.data(), pName ) && DescribeFile( m_nFolder, pName, rData );
    }
    if ( !m_fWildcards )
        m_eStage = Stage::Over;
    m_fFoundExactName = DescribeFile( m_nFolder, m_aPattern.data(), rData );
    return m_fFoundExactName;
}

// Files that vanish between their name and their description are skipped.
bool FileSearch::FindEntry( WIN32_FIND_DATAA& rData ) noexcept
{
    while ( const char* const pName = NextEntry() )
    {
        const bool fSpecial = strcmp( pName, "." ) == 0 || strcmp( pName, ".." ) == 0 ||
                              ( m_fFoundExactName && m_aPattern.data() == std::string_view( pName ) );
        if ( !fSpecial && Matches( m_aPattern.data(), pName ) && DescribeFile( m_nFolder, pName, rData ) )
            return true;
    }
    m_eStage = Stage::Over;
    return false;
}

const char* FileSearch::NextEntry() noexcept
{
    if ( m_nOffset == m_nBytes )
    {
        m_nOffset = 0;
        m_nBytes = std::max( syscall( SYS_getdents64, m_nFolder, m_aEntries.data(), m_aEntries.size() ), 0L );
        if ( m_nBytes == 0 )
            return nullptr;
    }
    const auto* const pEntry = reinterpret_cast<const dirent64*>( m_aEntries.data() + m_nOffset );
    m_nOffset += pEntry->d_reclen;
    return pEntry->d_name;
}

// A search in the folder of a pattern; null with the last error.
FileSearch* MakeSearch( const FilePath& rPattern ) noexcept
{
    const std::string_view aName = rPattern.LastPiece();
    FilePath aFolder( rPattern );
    aFolder.CutLastPiece();
    // To find one name the folder need not be readable.
    const int nAccess = HasWildcards( aName ) ? O_RDONLY : O_PATH;
    int nFolder = MoveDescriptorHigh( open( aFolder.Text(), nAccess | O_DIRECTORY | O_CLOEXEC ) );
    if ( nFolder < 0 )
    {
        SetLastError( errno == ENOENT ? DWORD{ ERROR_PATH_NOT_FOUND } : ErrnoToWin32( errno ) );
        return nullptr;
    }
    const bool fGood = !aName.empty() && aName.size() <= NAME_MAX;
    FileSearch* const pSearch = fGood ? new ( std::nothrow ) FileSearch( nFolder ) : nullptr;
    if ( pSearch != nullptr )
    {
        pSearch->SetPattern( aName.data() );
        return pSearch;
    }
    CloseDescriptor( nFolder );
    SetLastError( fGood           ? ERROR_NOT_ENOUGH_MEMORY
                  : aName.empty() ? ERROR_FILE_NOT_FOUND
                                  : ERROR_FILENAME_EXCED_RANGE );
    return nullptr;
}
} // namespace

HANDLE FindFirstFileA( LPCSTR pPattern, LPWIN32_FIND_DATAA pData )
{
    const FileCallScope aScope;
    FilePath aPattern;
    FileSearch* const pSearch = aPattern.Set( pPattern ) ? MakeSearch( aPattern ) : nullptr;
    if ( pSearch == nullptr )
        return INVALID_HANDLE_VALUE;
    if ( !pSearch->FindNext( *pData ) )
    {
        pSearch->Release();
        SetLastError( ERROR_FILE_NOT_FOUND );
        return INVALID_HANDLE_VALUE;
    }
    const HANDLE hSearch = MakeHandle( pSearch, 0 );
    return hSearch != nullptr ? hSearch : INVALID_HANDLE_VALUE;
}

BOOL FindNextFileA( HANDLE hFindFile, LPWIN32_FIND_DATAA pData )
{
    const FileCallScope aScope;
    const HandleUse aUse( hFindFile, KIND_FILE_SEARCH, 0 );
    return aUse.IsGood() && aUse.GetObject<FileSearch>()->FindNext( *pData );
}

BOOL FindClose( HANDLE hFindFile )
{
    const FileCallScope aScope;
    return CloseHandleOfKind( hFindFile, KIND_FILE_SEARCH );
}
