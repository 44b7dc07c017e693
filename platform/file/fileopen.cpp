// Opening and making files.
#include "platform/file/fileattempt.h"
#include "platform/file/filecallscope.h"
#include "platform/file/fileobject.h"
#include "platform/file/filepath.h"
#include "platform/forkhandlers.h"
#include "platform/object/handletable.h"

#include <new>

namespace
{
constexpr mode_t NEW_FILE_MODE = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

// What the caller wants, checked.
struct OpenWish
{
    FilePath aPath;
    bool fRead;
    bool fWrite;
    DWORD dwShare;
    DWORD dwDisposition;
    bool fInherit;
    bool fReadOnly; // a new file's attribute

    bool MakesFiles() const noexcept
    {
        return dwDisposition != OPEN_EXISTING && dwDisposition != TRUNCATE_EXISTING;
    }
    bool EmptiesFiles() const noexcept
    {
        return dwDisposition == CREATE_ALWAYS || dwDisposition == TRUNCATE_EXISTING;
    }
};

bool ReadFlags( DWORD dwFlags, OpenWish& rWish ) noexcept
{
    constexpr DWORD OFFERED = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                              FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_TEMPORARY |
                              FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_RANDOM_ACCESS;
    rWish.fReadOnly = ( dwFlags & FILE_ATTRIBUTE_READONLY ) != 0;
    return ( dwFlags & ~OFFERED ) == 0;
}

bool ReadWish( LPCSTR pFileName, DWORD dwAccess, DWORD dwShare, const SECURITY_ATTRIBUTES* pSecurity,
               DWORD dwDisposition, DWORD dwFlags, OpenWish& rWish ) noexcept
{
    if ( !rWish.aPath.Set( pFileName ) )
        return false;
    rWish.fRead = ( dwAccess & GENERIC_READ ) != 0;
    rWish.fWrite = ( dwAccess & GENERIC_WRITE ) != 0;
    rWish.dwShare = dwShare;
    rWish.dwDisposition = dwDisposition;
    rWish.fInherit = pSecurity != nullptr && pSecurity->bInheritHandle != FALSE;
    const bool fGood = ( dwAccess & ~( GENERIC_READ | GENERIC_WRITE ) ) == 0 &&
                       ( dwShare & ~( FILE_SHARE_READ | FILE_SHARE_WRITE ) ) == 0 &&
                       dwDisposition >= CREATE_NEW && dwDisposition <= TRUNCATE_EXISTING &&
                       ( dwDisposition != TRUNCATE_EXISTING || rWish.fWrite ) && ReadFlags( dwFlags, rWish );
    return fGood || FailWith( ERROR_INVALID_PARAMETER );
}

// The attempts to open one file, until one is done or fails.
class Opener
{
public:
    explicit Opener( const OpenWish& rWish ) noexcept : m_rWish( rWish ) {}
    ~Opener()
    {
        if ( m_pOpening != nullptr )
            m_pOpening->Release();
    }
    Opener( const Opener& ) = delete;
    Opener& operator=( const Opener& ) = delete;

    Attempt Try() noexcept;
    HANDLE GetHandle() const noexcept { return m_hFile; }
    bool FoundFile() const noexcept { return !m_fMade; }

private:
    Attempt LookAtPath() noexcept;
    Attempt OpenData() noexcept;
    Attempt ReactToFailedMaking() noexcept;
    Attempt Share() noexcept;
    Attempt TakeShares() noexcept;
    Attempt Finish() noexcept;
    Attempt ChangeFile( int nData ) noexcept;
    bool IsPathStillOurs() const noexcept;
    bool NeedsShare() const noexcept { return m_rWish.fRead || m_rWish.fWrite || Empties(); }
    bool Empties() const noexcept { return !m_fMade && m_rWish.EmptiesFiles(); }

    const OpenWish& m_rWish;
    bool m_fMade = false;
    bool m_fThroughLink = false; // the file to make is one that a symbolic link leads to
    DescriptorGuard m_aData;
    struct stat m_aStatus
    {
    };
    FileOpening* m_pOpening = nullptr;
    HANDLE m_hFile = INVALID_HANDLE_VALUE;
};

Attempt Opener::Try() noexcept
{
    if ( m_pOpening != nullptr )
        m_pOpening->Release();
    m_pOpening = new ( std::nothrow ) FileOpening;
    if ( m_pOpening == nullptr )
        return FailAttempt( ERROR_NOT_ENOUGH_MEMORY );
    Attempt eAttempt = LookAtPath();
    if ( eAttempt == Attempt::Done )
        eAttempt = OpenData();
    if ( eAttempt == Attempt::Done )
        eAttempt = NeedsShare() ? Share() : Finish();
    return eAttempt;
}

// Before anything is opened: opening a pipe or a device can have effects.
Attempt Opener::LookAtPath() noexcept
{
    struct stat aStatus;
    m_fMade = false;
    if ( stat( m_rWish.aPath.Text(), &aStatus ) != 0 )
    {
        m_fMade = errno == ENOENT && m_rWish.MakesFiles();
        if ( !m_fMade )
            return FailAttempt( ErrorOfPath( m_rWish.aPath, errno ) );
        const bool fBadName = m_rWish.aPath.EndsInSeparator() || HasWildcards( m_rWish.aPath.LastPiece() );
        return fBadName ? FailAttempt( ERROR_INVALID_NAME ) : Attempt::Done;
    }
    if ( m_rWish.dwDisposition == CREATE_NEW )
        return FailAttempt( ERROR_FILE_EXISTS );
    const bool fAllowed = S_ISREG( aStatus.st_mode ) && ( !m_rWish.fRead || ModeAllowsReading( aStatus ) ) &&
                          ( !( m_rWish.fWrite || Empties() ) || ModeAllowsWriting( aStatus ) );
    return fAllowed ? Attempt::Done : FailAttempt( ERROR_ACCESS_DENIED );
}

Attempt Opener::OpenData() noexcept
{
    int nFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    if ( m_rWish.fWrite )
        nFlags |= m_rWish.fRead ? O_RDWR : O_WRONLY;
    else if ( !m_rWish.fRead && !m_fMade )
        nFlags |= O_PATH;
    if ( m_fMade )
        nFlags |= m_fThroughLink ? O_CREAT : O_CREAT | O_EXCL;
    m_aData.Set( Uninterrupted( [&] { return open( m_rWish.aPath.Text(), nFlags, NEW_FILE_MODE ); } ) );
    if ( m_aData.Get() < 0 )
        return m_fMade && errno == EEXIST ? ReactToFailedMaking()
               : !m_fMade && errno == ENOENT
                   ? Attempt::Again
                   : FailAttempt( errno == EAGAIN ? DWORD{ ERROR_SHARING_VIOLATION }
                                                  : ErrorOfPath( m_rWish.aPath, errno ) );
    if ( fstat( m_aData.Get(), &m_aStatus ) != 0 )
        return FailAttempt( ErrnoToWin32( errno ) );
    return S_ISREG( m_aStatus.st_mode ) ? Attempt::Done : Attempt::Again;
}

// There is something that was not there: a file by now, or all the time a link that leads nowhere yet.
Attempt Opener::ReactToFailedMaking() noexcept
{
    struct stat aStatus;
    m_fThroughLink = lstat( m_rWish.aPath.Text(), &aStatus ) == 0 && S_ISLNK( aStatus.st_mode );
    return m_rWish.dwDisposition == CREATE_NEW ? FailAttempt( ERROR_FILE_EXISTS ) : Attempt::Again;
}

Attempt Opener::Share() noexcept
{
    ShareDescriptor& rShare = m_pOpening->GetShare();
    if ( !rShare.Open( m_rWish.aPath, m_rWish.fWrite || Empties() ) )
        return errno == ENOENT ? Attempt::Again : FailAttempt( ErrorOfPath( m_rWish.aPath, errno ) );
    const ShareGate aGate( rShare );
    if ( aGate.GetError() != ERROR_SUCCESS )
        return FailAttempt( aGate.GetError() );
    if ( !IsPathStillOurs() )
        return Attempt::Again;
    const Attempt eAttempt = TakeShares();
    return eAttempt == Attempt::Done ? Finish() : eAttempt;
}

// Who renames or deletes the file does so inside its gate.
bool Opener::IsPathStillOurs() const noexcept
{
    struct stat aOfPath;
    struct stat aOfShare;
    return stat( m_rWish.aPath.Text(), &aOfPath ) == 0 && IsSameFile( aOfPath, m_aStatus ) &&
           fstat( m_pOpening->GetShare().Get(), &aOfShare ) == 0 && IsSameFile( aOfShare, m_aStatus );
}

Attempt Opener::TakeShares() noexcept
{
    const bool fTakesPart = m_rWish.fRead || m_rWish.fWrite;
    const bool fDenyReads = fTakesPart && ( m_rWish.dwShare & FILE_SHARE_READ ) == 0;
    const bool fDenyWrites = fTakesPart && ( m_rWish.dwShare & FILE_SHARE_WRITE ) == 0;
    const unsigned uClaims =
        ( m_rWish.fRead ? CLAIM_READS : CLAIM_NONE ) | ( m_rWish.fWrite ? CLAIM_WRITES : CLAIM_NONE ) |
        ( fDenyReads ? CLAIM_DENIES_READS : CLAIM_NONE ) | ( fDenyWrites ? CLAIM_DENIES_WRITES : CLAIM_NONE );
    const unsigned uNotToMeet = ( m_rWish.fRead ? CLAIM_DENIES_READS : CLAIM_NONE ) |
                                ( m_rWish.fWrite || Empties() ? CLAIM_DENIES_WRITES : CLAIM_NONE ) |
                                ( fDenyReads ? CLAIM_READS : CLAIM_NONE ) |
                                ( fDenyWrites ? CLAIM_WRITES : CLAIM_NONE );
    m_pOpening->SetAlone( fDenyReads && fDenyWrites );
    const DWORD dwError = m_pOpening->GetShare().Claim( uClaims, uNotToMeet );
    return dwError == ERROR_SUCCESS ? Attempt::Done : FailAttempt( dwError );
}

// The file is changed last, when nothing else can fail any more.
Attempt Opener::Finish() noexcept
{
    FileObject* const pFile = new ( std::nothrow ) FileObject( m_aData.Get(), *m_pOpening );
    if ( pFile == nullptr )
        return FailAttempt( ERROR_NOT_ENOUGH_MEMORY );
    m_aData.Detach();
    m_pOpening->AddReference();
    if ( m_rWish.fInherit )
        pFile->SetInherited( true );
    const HANDLE hFile = MakeHandle( pFile, ( m_rWish.fRead ? FILE_READ_DATA : 0u ) |
                                                ( m_rWish.fWrite ? FILE_WRITE_DATA : 0u ) );
    if ( hFile == nullptr )
        return Attempt::Failed;
    const Attempt eAttempt = ChangeFile( pFile->GetData() );
    if ( eAttempt == Attempt::Done )
        m_hFile = hFile;
    else
        CloseHandle( hFile );
    return eAttempt;
}

Attempt Opener::ChangeFile( int nData ) noexcept
{
    const int nShare = m_pOpening->GetShare().Get();
    if ( Empties() && Uninterrupted( [&] { return ftruncate( nShare, 0 ); } ) != 0 )
        return FailAttempt( ErrnoToWin32( errno ) );
    if ( m_fMade && m_rWish.fReadOnly )
        fchmod( nData, m_aStatus.st_mode & ( S_IRUSR | S_IRGRP | S_IROTH ) );
    return Attempt::Done;
}
} // namespace

HANDLE CreateFileA( LPCSTR pFileName, DWORD dwAccess, DWORD dwShare, LPSECURITY_ATTRIBUTES pSecurity,
                    DWORD dwDisposition, DWORD dwFlags, HANDLE )
{
    const FileCallScope aScope;
    OpenWish aWish;
    if ( !ReadWish( pFileName, dwAccess, dwShare, pSecurity, dwDisposition, dwFlags, aWish ) )
        return INVALID_HANDLE_VALUE;
    InstallForkHandlers();
    const ForkHeldOff aForkHeldOff;
    Opener aOpener( aWish );
    if ( TryUntilSettled( [&] { return aOpener.Try(); } ) )
        SetLastError( aOpener.FoundFile() && aWish.MakesFiles() ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS );
    return aOpener.GetHandle();
}
