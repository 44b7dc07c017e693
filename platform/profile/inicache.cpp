#include "platform/profile/inicache.h"

#include "platform/errno_to_win32.h"
#include "platform/file/fileobject.h"
#include "platform/forkhandlers.h"
#include "platform/locked.h"
#include "platform/profile/inipath.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <new>

namespace
{
// More than the language files of a product, of which a lookup may ask every one.
constexpr size_t MOST_KEPT = 64;
constexpr size_t MOST_KEPT_BYTES = 8u << 20; // of one text
// Longer than any system's clock stands still for time stamps.
constexpr int64_t YOUNG_NANOSECONDS = 20'000'000;

struct KeptText
{
    std::string strPath;
    std::shared_ptr<IniText> pText;
    uint64_t ullUsed = 0;
};

struct IniCache
{
    KeptText aTexts[MOST_KEPT];
    uint64_t ullUses = 0;
};

constinit CRITICAL_SECTION g_aLock{};
constinit IniCache* g_pCache = nullptr; // made with the first text

int64_t Nanoseconds( const timespec& rTime ) noexcept
{
    return rTime.tv_sec * int64_t{ 1'000'000'000 } + rTime.tv_nsec;
}

IniStamp StampOf( const struct stat& rStatus ) noexcept
{
    return { rStatus.st_dev, rStatus.st_ino, rStatus.st_size, Nanoseconds( rStatus.st_mtim ),
             Nanoseconds( rStatus.st_ctim ) };
}

DWORD CheckKind( const struct stat& rStatus ) noexcept
{
    if ( !S_ISREG( rStatus.st_mode ) )
        return ERROR_ACCESS_DENIED;
    return rStatus.st_size > MOST_INI_BYTES ? ERROR_FILE_TOO_LARGE : ERROR_SUCCESS;
}

KeptText* FindKept( std::string_view aPath ) noexcept
{
    if ( g_pCache == nullptr )
        return nullptr;
    KeptText* const pEnd = std::end( g_pCache->aTexts );
    KeptText* const pFound = std::find_if( std::begin( g_pCache->aTexts ), pEnd,
                                           [&]( const KeptText& rKept )
                                           { return rKept.pText != nullptr && rKept.strPath == aPath; } );
    return pFound != pEnd ? pFound : nullptr;
}

void Forget( KeptText& rKept ) noexcept
{
    rKept.pText.reset();
    rKept.ullUsed = 0;
}

KeptText& LeastUsed() noexcept
{
    return *std::min_element( std::begin( g_pCache->aTexts ), std::end( g_pCache->aTexts ),
                              []( const KeptText& rLeft, const KeptText& rRight )
                              { return rLeft.ullUsed < rRight.ullUsed; } );
}

// A text that is kept, and the file has not changed since; else null.
std::shared_ptr<IniText> KeptFor( std::string_view aPath, const IniStamp& rStamp ) noexcept
{
    const LockedScope aHeld( g_aLock );
    KeptText* const pKept = FindKept( aPath );
    if ( pKept == nullptr || !( pKept->pText->Stamp() == rStamp ) )
        return nullptr;
    pKept->ullUsed = ++g_pCache->ullUses;
    return pKept->pText;
}

// In the place of an older text of that path, or of the one that was not used for the longest time.
void Keep( const char* pPath, const std::shared_ptr<IniText>& pText )
{
    if ( pText->IsYoung() || pText->Text().size() > MOST_KEPT_BYTES )
        return;
    InstallForkHandlers();
    std::string strPath( pPath );
    const LockedScope aHeld( g_aLock );
    if ( g_pCache == nullptr )
        g_pCache = new IniCache;
    KeptText* const pOlder = FindKept( strPath );
    KeptText& rPlace = pOlder != nullptr ? *pOlder : LeastUsed();
    rPlace.strPath.swap( strPath );
    rPlace.pText = pText;
    rPlace.ullUsed = ++g_pCache->ullUses;
}

// Fills the buffer from the start of the file. Result: bytes read, less at the file's end; -1 with errno.
ssize_t ReadAll( int nFile, char* pBytes, size_t nBytes ) noexcept
{
    size_t nRead = 0;
    while ( nRead < nBytes )
    {
        const ssize_t nPiece = pread( nFile, pBytes + nRead, nBytes - nRead, static_cast<off_t>( nRead ) );
        if ( nPiece < 0 && errno != EINTR )
            return -1;
        if ( nPiece == 0 )
            break;
        nRead += nPiece > 0 ? static_cast<size_t>( nPiece ) : 0;
    }
    return static_cast<ssize_t>( nRead );
}
} // namespace

DWORD IniText::ReadOnce( int nFile, const struct stat& rStatus )
{
    const size_t nSize = static_cast<size_t>( rStatus.st_size );
    timespec aNow;
    clock_gettime( CLOCK_REALTIME, &aNow );
    m_aStamp = StampOf( rStatus );
    m_fYoung = Nanoseconds( aNow ) - m_aStamp.llChanged < YOUNG_NANOSECONDS;
    m_pBytes.reset( new char[nSize + 1] );
    const ssize_t nRead = ReadAll( nFile, m_pBytes.get(), nSize );
    m_nBytes = nRead > 0 ? static_cast<size_t>( nRead ) : 0;
    return nRead >= 0 ? ERROR_SUCCESS : ErrnoToWin32( errno );
}

DWORD IniText::Read( int nFile, std::shared_ptr<IniText>& rText )
{
    // Somebody may be writing in place; a file that never rests is taken as it is in the end.
    constexpr int MOST_ATTEMPTS = 8;
    rText = std::make_shared<IniText>();
    struct stat aStatus;
    DWORD dwError = fstat( nFile, &aStatus ) == 0 ? CheckKind( aStatus ) : ErrnoToWin32( errno );
    for ( int nAttempt = 0; dwError == ERROR_SUCCESS && nAttempt < MOST_ATTEMPTS; ++nAttempt )
    {
        dwError = rText->ReadOnce( nFile, aStatus );
        if ( dwError == ERROR_SUCCESS && fstat( nFile, &aStatus ) == 0 &&
             StampOf( aStatus ) == rText->m_aStamp )
            return ERROR_SUCCESS;
        rText->m_fYoung = true;
        if ( dwError == ERROR_SUCCESS )
            dwError = CheckKind( aStatus );
    }
    return dwError;
}

bool IniText::IsStillIn( int nFile ) const noexcept
{
    struct stat aStatus;
    return fstat( nFile, &aStatus ) == 0 && StampOf( aStatus ) == m_aStamp;
}

const IniIndex* IniText::Index() noexcept
{
    const IniIndex* pIndex = m_pIndex.load( std::memory_order_acquire );
    if ( pIndex != nullptr || !m_fSearched.exchange( true, std::memory_order_relaxed ) )
        return pIndex;
    try
    {
        const IniIndex* const pNew = new IniIndex( Text() );
        if ( m_pIndex.compare_exchange_strong( pIndex, pNew, std::memory_order_acq_rel ) )
            return pNew;
        delete pNew;
        return pIndex;
    }
    catch ( const std::bad_alloc& )
    {
        return nullptr; // the text can be searched without one
    }
}

bool IniText::FindSection( std::string_view aSection, size_t& rnBody ) noexcept
{
    if ( const IniIndex* const pIndex = Index() )
        return pIndex->FindSection( aSection, rnBody );
    IniScanner aScanner( Text() );
    IniSection aFound;
    const bool fFound = aScanner.FindSection( aSection, aFound );
    rnBody = aFound.nBody;
    return fFound;
}

bool IniText::FindValue( std::string_view aSection, std::string_view aKey, std::string_view& rValue ) noexcept
{
    if ( const IniIndex* const pIndex = Index() )
        return pIndex->FindValue( aSection, aKey, rValue );
    IniScanner aScanner( Text() );
    IniSection aFound;
    IniKey aFoundKey;
    if ( !aScanner.FindSection( aSection, aFound ) || !aScanner.FindKey( aFound, aKey, aFoundKey ) )
        return false;
    rValue = aFoundKey.aValue;
    return true;
}

DWORD GetIniText( const char* pPath, std::shared_ptr<IniText>& rText )
{
    // Looked at before it is opened, which may already do something to a device.
    struct stat aStatus;
    if ( stat( pPath, &aStatus ) != 0 )
        return errno == ENOENT ? MissingIniError( pPath ) : ErrnoToWin32( errno );
    const DWORD dwKind = CheckKind( aStatus );
    if ( dwKind != ERROR_SUCCESS )
        return dwKind;
    rText = KeptFor( pPath, StampOf( aStatus ) );
    if ( rText != nullptr )
        return ERROR_SUCCESS;
    const int nFile = open( pPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY );
    if ( nFile < 0 )
        return errno == ENOENT ? MissingIniError( pPath ) : ErrnoToWin32( errno );
    const DescriptorGuard aOpen( nFile );
    // What is kept needs no such look: nobody has changed it since.
    if ( ShareDescriptor::IsReadingDenied( nFile ) )
        return ERROR_SHARING_VIOLATION;
    const DWORD dwError = IniText::Read( nFile, rText );
    if ( dwError == ERROR_SUCCESS )
        Keep( pPath, rText );
    return dwError;
}

void DropIniText( const char* pPath ) noexcept
{
    const LockedScope aHeld( g_aLock );
    if ( KeptText* const pKept = FindKept( pPath ) )
        Forget( *pKept );
}

void CloseIniCache() noexcept
{
    const LockedScope aHeld( g_aLock );
    delete g_pCache;
    g_pCache = nullptr;
}

void LockIniCache()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockIniCache()
{
    LeaveCriticalSection( &g_aLock );
}
