#include "platform/profile/inisave.h"

#include "platform/errno_to_win32.h"
#include "platform/file/fileobject.h"
#include "platform/file/filepath.h"
#include "platform/forkhandlers.h"
#include "platform/locked.h"
#include "platform/profile/inicache.h"
#include "platform/profile/ininewfile.h"
#include "platform/profile/inipath.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <climits>

namespace
{
// Another writer was faster: begin anew.
constexpr DWORD AGAIN = 0xFFFFFFFF;

// The files that this process has open for a change; the lock holds for the list.
class IniLockedFile;
constinit CRITICAL_SECTION g_aLock{};
constinit IniLockedFile* g_pFirst = nullptr;

// A file that is locked for a change.
class IniLockedFile
{
public:
    IniLockedFile() noexcept = default;
    ~IniLockedFile() { Close(); }
    IniLockedFile( const IniLockedFile& ) = delete;
    IniLockedFile& operator=( const IniLockedFile& ) = delete;

    // 0 or an errno.
    int Open( const std::string& strPath ) noexcept;
    // Waits for other writers. 0 or an errno.
    int Lock() noexcept;
    int Get() const noexcept { return m_nFile; }

    // The forking thread holds the list's lock.
    static void CloseAllInChild() noexcept;

private:
    // One byte beyond all data and all other locks of this layer.
    static int SetLock( int nFile, int nCommand, short nType ) noexcept
    {
        struct flock aLock = {};
        aLock.l_type = nType;
        aLock.l_whence = SEEK_SET;
        aLock.l_start = 0x7FFFFFFFFFFFFFF0;
        aLock.l_len = 1;
        return fcntl( nFile, nCommand, &aLock ) == 0 ? 0 : errno;
    }
    void Close() noexcept;

    const StopGate m_aGate;
    int m_nFile = NO_DESCRIPTOR;
    IniLockedFile* m_pNext = nullptr;
};

int IniLockedFile::Open( const std::string& strPath ) noexcept
{
    InstallForkHandlers();
    const LockedScope aHeld( g_aLock );
    m_nFile = open( strPath.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW );
    if ( m_nFile < 0 )
        return errno;
    m_pNext = g_pFirst;
    g_pFirst = this;
    return 0;
}

int IniLockedFile::Lock() noexcept
{
    int nErrno;
    do
        nErrno = SetLock( m_nFile, F_OFD_SETLKW, F_WRLCK );
    while ( nErrno == EINTR );
    return nErrno;
}

// Unlocked by its own call: a program that was started before it could be closed may have a copy of the descriptor.
void IniLockedFile::Close() noexcept
{
    if ( m_nFile < 0 )
        return;
    SetLock( m_nFile, F_OFD_SETLK, F_UNLCK );
    const LockedScope aHeld( g_aLock );
    IniLockedFile** ppFile = &g_pFirst;
    while ( *ppFile != this )
        ppFile = &( *ppFile )->m_pNext;
    *ppFile = m_pNext;
    CloseDescriptor( m_nFile );
}

void IniLockedFile::CloseAllInChild() noexcept
{
    for ( IniLockedFile* pFile = g_pFirst; pFile != nullptr; pFile = pFile->m_pNext )
        CloseDescriptor( pFile->m_nFile );
    g_pFirst = nullptr;
}

// The path that a chain of links ends in. 0 or an errno.
int FollowLinks( std::string& rstrPath )
{
    constexpr int MOST_LINKS = 40;
    char szLink[PATH_MAX];
    for ( int nLink = 0; nLink < MOST_LINKS; ++nLink )
    {
        const ssize_t nLength = readlink( rstrPath.c_str(), szLink, sizeof( szLink ) );
        if ( nLength < 0 )
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        const std::string_view aLink( szLink, static_cast<size_t>( nLength ) );
        rstrPath = aLink.starts_with( '/' ) ? std::string( aLink )
                                            : FolderOfIni( rstrPath ) + "/" + std::string( aLink );
    }
    return ELOOP;
}

DWORD MakeFile( const std::string& strPath, const IniChange& rChange )
{
    const IniEdit aEdit = EditIni( {}, rChange );
    if ( aEdit.IsNothing() )
        return MissingIniError( strPath ) == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : ERROR_PATH_NOT_FOUND;
    constexpr mode_t LESS_THE_MASK = 0666;
    IniNewFile aNew( strPath );
    int nErrno = aNew.Open( LESS_THE_MASK );
    if ( nErrno == 0 )
        nErrno = aNew.Write( { aEdit.strInserted } );
    if ( nErrno == 0 )
        nErrno = aNew.Appear();
    if ( nErrno == EEXIST )
        return AGAIN;
    return nErrno == ENOENT ? ERROR_PATH_NOT_FOUND : ErrnoToWin32( nErrno );
}

// The parts of a new text.
struct NewText
{
    std::string_view aBefore;
    std::string_view aInserted;
    std::string_view aBehind;
};

DWORD WriteInPlace( const std::string& strPath, int nFile, std::string_view aOld, const NewText& rNew )
{
    OutputDebugStringA(
        ( strPath + ": changed in place, since its folder takes no new file in its place\r\n" ).c_str() );
    const off_t nAt = static_cast<off_t>( rNew.aBefore.size() );
    const off_t nOldSize = static_cast<off_t>( aOld.size() );
    const off_t nNewSize = nAt + static_cast<off_t>( rNew.aInserted.size() + rNew.aBehind.size() );
    int nErrno = 0;
    // Room first, so that a full disk shows before anything is overwritten; not all file systems can.
    if ( nNewSize > nOldSize && fallocate( nFile, FALLOC_FL_KEEP_SIZE, nOldSize, nNewSize - nOldSize ) != 0 &&
         errno != EOPNOTSUPP )
        nErrno = errno;
    if ( nErrno == 0 )
        nErrno = WriteIniPieces( nFile, nAt, { rNew.aInserted, rNew.aBehind } );
    if ( nErrno == 0 && ( ftruncate( nFile, nNewSize ) != 0 || fdatasync( nFile ) != 0 ) )
        nErrno = errno;
    if ( nErrno == 0 )
        return ERROR_SUCCESS;
    // The old bytes have room still.
    if ( WriteIniPieces( nFile, nAt, { aOld.substr( rNew.aBefore.size() ) } ) != 0 ||
         ftruncate( nFile, nOldSize ) != 0 )
        OutputDebugStringA( ( strPath + ": could not be brought back to what it was\r\n" ).c_str() );
    return ErrnoToWin32( nErrno );
}

// Whether the reason is the folder, or what is not the caller's to give, or a name too long for a longer one beside it: then
// the file itself may still be written.
bool IsRefusal( int nErrno ) noexcept
{
    return nErrno == EACCES || nErrno == EPERM || nErrno == EROFS || nErrno == EINVAL || nErrno == EBUSY ||
           nErrno == ENAMETOOLONG;
}

// Writes a file that is to take the place of an open one. 0 or an errno.
int Prepare( IniNewFile& rNew, int nFile, const struct stat& rStatus, const NewText& rText )
{
    int nErrno = rNew.Open( S_IRUSR | S_IWUSR );
    if ( nErrno == 0 )
        nErrno = rNew.TakeAccessFrom( nFile, rStatus );
    return nErrno == 0 ? rNew.Write( { rText.aBefore, rText.aInserted, rText.aBehind } ) : nErrno;
}

// Calls aChange where the file still is what was read, and no handle to it writes or forbids that others do: what went
// through a handle to a file that is replaced would be lost.
template <class Change>
DWORD ChangeUnlessOpen( const std::string& strPath, const IniText& rOld, Change aChange )
{
    FilePath aPath;
    if ( !aPath.Set( strPath.c_str() ) )
        return ERROR_FILENAME_EXCED_RANGE;
    const ForkHeldOff aForkHeldOff;
    ShareDescriptor aShare;
    if ( !aShare.Open( aPath, true ) )
        return errno == ENOENT ? AGAIN : ErrnoToWin32( errno );
    const ShareGate aGate( aShare );
    if ( aGate.GetError() != ERROR_SUCCESS )
        return aGate.GetError();
    if ( !rOld.IsStillIn( aShare.Get() ) )
        return AGAIN;
    const DWORD dwError = aShare.Claim( CLAIM_WRITES | CLAIM_DENIES_WRITES,
                                        CLAIM_WRITES | CLAIM_DENIES_READS | CLAIM_DENIES_WRITES );
    return dwError == ERROR_SUCCESS ? aChange() : dwError;
}

DWORD WriteText( const std::string& strPath, int nFile, const struct stat& rStatus, const IniText& rOld,
                 const IniEdit& rEdit )
{
    const std::string_view aOld = rOld.Text();
    const NewText aText = { aOld.substr( 0, rEdit.nAt ), rEdit.strInserted,
                            aOld.substr( rEdit.nAt + rEdit.nRemoved ) };
    IniNewFile aNew( strPath );
    int nErrno = Prepare( aNew, nFile, rStatus, aText );
    const auto Change = [&]() -> DWORD
    {
        if ( nErrno == 0 )
            nErrno = aNew.Replace();
        if ( nErrno == 0 )
            return ERROR_SUCCESS;
        // Somebody took away the new file, or the name that it was to have for a moment.
        if ( nErrno == ENOENT || nErrno == EEXIST )
            return AGAIN;
        return IsRefusal( nErrno ) ? WriteInPlace( strPath, nFile, aOld, aText ) : ErrnoToWin32( nErrno );
    };
    return ChangeUnlessOpen( strPath, rOld, Change );
}

DWORD TryToSave( const char* pPath, const IniChange& rChange )
{
    std::string strPath( pPath );
    int nErrno = FollowLinks( strPath );
    // Looked at before it is opened, which may already do something to a device.
    struct stat aNamed;
    if ( nErrno == 0 && lstat( strPath.c_str(), &aNamed ) == 0 && !S_ISREG( aNamed.st_mode ) )
        return ERROR_ACCESS_DENIED;
    IniLockedFile aFile;
    if ( nErrno == 0 )
        nErrno = aFile.Open( strPath );
    if ( nErrno == ENOENT )
        return MakeFile( strPath, rChange );
    struct stat aStatus;
    if ( nErrno == 0 && fstat( aFile.Get(), &aStatus ) != 0 )
        nErrno = errno;
    if ( nErrno != 0 )
        return ErrnoToWin32( nErrno );
    constexpr mode_t ANY_WRITES = S_IWUSR | S_IWGRP | S_IWOTH;
    if ( !S_ISREG( aStatus.st_mode ) || ( aStatus.st_mode & ANY_WRITES ) == 0 )
        return ERROR_ACCESS_DENIED;
    nErrno = aFile.Lock();
    if ( nErrno != 0 )
        return ErrnoToWin32( nErrno );
    if ( lstat( strPath.c_str(), &aNamed ) != 0 || aNamed.st_ino != aStatus.st_ino ||
         aNamed.st_dev != aStatus.st_dev )
        return AGAIN;
    std::shared_ptr<IniText> pOld;
    const DWORD dwError = IniText::Read( aFile.Get(), pOld );
    if ( dwError != ERROR_SUCCESS )
        return dwError;
    const IniEdit aEdit = EditIni( pOld->Text(), rChange );
    return aEdit.IsNothing() ? ERROR_SUCCESS : WriteText( strPath, aFile.Get(), aNamed, *pOld, aEdit );
}
} // namespace

DWORD SaveIni( const char* pPath, const IniChange& rChange )
{
    // Each further attempt means that another writer has got on with its own.
    constexpr int MOST_ATTEMPTS = 10000;
    DWORD dwResult = AGAIN;
    for ( int nAttempt = 0; dwResult == AGAIN && nAttempt < MOST_ATTEMPTS; ++nAttempt )
        dwResult = TryToSave( pPath, rChange );
    DropIniText( pPath );
    return dwResult != AGAIN ? dwResult : ERROR_SHARING_VIOLATION;
}

void LockIniSaves()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockIniSaves()
{
    LeaveCriticalSection( &g_aLock );
}

void ResetIniSavesInChild()
{
    IniLockedFile::CloseAllInChild();
    UnlockIniSaves();
}
