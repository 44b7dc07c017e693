#include "platform/object/mapping.h"

#include "platform/errno_to_win32.h"
#include "platform/highdescriptor.h"
#include "platform/nocancellation.h"
#include "platform/object/handletable.h"
#include "platform/object/viewtable.h"

#include <bxtools/platform.h>

#include <cerrno>
#include <new>
#include <sys/mman.h>

namespace
{
constexpr ULONGLONG MOST_BYTES = ULONGLONG{ 1 } << 62;
constexpr ULONGLONG VIEW_ALIGNMENT = 65536;

ULONGLONG Join( DWORD dwHigh, DWORD dwLow ) noexcept
{
    return static_cast<ULONGLONG>( dwHigh ) << 32 | dwLow;
}

ULONGLONG RoundedUpToPages( ULONGLONG ullBytes ) noexcept
{
    const auto ullPage = static_cast<ULONGLONG>( sysconf( _SC_PAGESIZE ) );
    return ( ullBytes + ullPage - 1 ) / ullPage * ullPage;
}

// What handles made with a protection may do.
DWORD AccessFor( bool fReadOnly ) noexcept
{
    return STANDARD_RIGHTS_REQUIRED | SECTION_QUERY | SECTION_MAP_READ |
           ( fReadOnly ? 0u : SECTION_MAP_WRITE );
}

class MappingMaker final : public ObjectMaker
{
public:
    MappingMaker( ULONGLONG ullBytes, bool fReadOnly, bool fReserve = false ) noexcept
        : m_ullBytes( ullBytes ),
          m_fReadOnly( fReadOnly ),
          m_fReserve( fReserve )
    {
    }

    ObjectKind GetKind() const noexcept override { return KIND_MAPPING; }
    ULONGLONG GetDataBytes() const noexcept override { return m_ullBytes; }
    ULONGLONG GetAllocatedBytes() const noexcept override { return m_fReserve ? 0 : m_ullBytes; }
    KernelObject* MakeObject( std::unique_ptr<NamedObject> pNamed ) noexcept override
    {
        return new ( std::nothrow ) FileMapping( std::move( pNamed ) );
    }
    bool Initialise( KernelObject& rObject ) noexcept override
    {
        static_cast<FileMapping&>( rObject ).Initialise( m_fReadOnly );
        return true;
    }

private:
    const ULONGLONG m_ullBytes;
    const bool m_fReadOnly;
    const bool m_fReserve;
};

HANDLE MakeUnnamedMapping( ULONGLONG ullBytes, bool fReadOnly ) noexcept
{
    const NoCancellation aNoCancellation;
    const int nSavedErrno = errno;
    int nDescriptor = MoveDescriptorHigh( memfd_create( "bxtools", MFD_CLOEXEC ) );
    const bool fSized = nDescriptor >= 0 && ftruncate( nDescriptor, static_cast<off_t>( ullBytes ) ) == 0;
    const DWORD dwError = fSized ? ERROR_SUCCESS : ErrnoToWin32( errno );
    KernelObject* const pMapping =
        fSized ? new ( std::nothrow ) FileMapping( nDescriptor, ullBytes, fReadOnly ) : nullptr;
    if ( pMapping == nullptr )
        CloseDescriptor( nDescriptor );
    errno = nSavedErrno;
    if ( fSized )
        return MakeUnnamedHandle( pMapping, AccessFor( fReadOnly ) );
    SetLastError( dwError );
    return nullptr;
}

// What a view is made with, checked.
struct ViewWish
{
    int nDescriptor;
    int nProtection;
    ULONGLONG ullOffset;
    ULONGLONG ullBytes;
};

bool Refuse( DWORD dwError ) noexcept
{
    SetLastError( dwError );
    return false;
}

bool CheckRights( const HandleUse& rUse, DWORD dwAccess, ViewWish& rWish ) noexcept
{
    const bool fWrite = ( dwAccess & FILE_MAP_WRITE ) != 0;
    if ( ( dwAccess & ( FILE_MAP_READ | FILE_MAP_WRITE ) ) == 0 )
        return Refuse( ERROR_INVALID_PARAMETER );
    const DWORD dwNeeded = fWrite ? SECTION_MAP_WRITE : SECTION_MAP_READ;
    if ( ( rUse.GetAccess() & dwNeeded ) == 0 || ( fWrite && rUse.GetObject<FileMapping>()->IsReadOnly() ) )
        return Refuse( ERROR_ACCESS_DENIED );
    rWish.nProtection = fWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    return true;
}

bool CheckRange( const FileMapping& rMapping, ULONGLONG ullOffset, ULONGLONG ullBytes,
                 ViewWish& rWish ) noexcept
{
    const ULONGLONG ullAll = rMapping.GetBytes();
    if ( ullOffset % VIEW_ALIGNMENT != 0 )
        return Refuse( ERROR_MAPPED_ALIGNMENT );
    if ( ullOffset >= ullAll )
        return Refuse( ERROR_INVALID_PARAMETER );
    if ( ullBytes > RoundedUpToPages( ullAll ) - ullOffset )
        return Refuse( ERROR_ACCESS_DENIED );
    ULONGLONG ullMemory = 0;
    if ( !rMapping.GetMemory( rWish.nDescriptor, ullMemory ) )
        return Refuse( ERROR_INVALID_HANDLE );
    rWish.ullOffset = ullMemory + ullOffset;
    rWish.ullBytes = RoundedUpToPages( ullBytes != 0 ? ullBytes : ullAll - ullOffset );
    return true;
}

LPVOID MakeView( const ViewWish& rWish ) noexcept
{
    const int nSavedErrno = errno;
    void* pView = mmap( nullptr, rWish.ullBytes, rWish.nProtection, MAP_SHARED, rWish.nDescriptor,
                        static_cast<off_t>( rWish.ullOffset ) );
    if ( pView == MAP_FAILED )
    {
        SetLastErrorFromErrno();
        pView = nullptr;
    }
    else if ( !AddView( pView, rWish.ullBytes ) )
    {
        munmap( pView, rWish.ullBytes );
        pView = nullptr;
    }
    errno = nSavedErrno;
    return pView;
}
} // namespace

FileMapping::FileMapping( int nDescriptor, ULONGLONG ullBytes, bool fReadOnly ) noexcept
    : KernelObject( KIND_MAPPING ),
      m_nDescriptor( nDescriptor ),
      m_ullBytes( ullBytes ),
      m_fReadOnly( fReadOnly )
{
}

FileMapping::FileMapping( std::unique_ptr<NamedObject> pNamed ) noexcept
    : KernelObject( KIND_MAPPING ),
      m_pNamed( std::move( pNamed ) ),
      m_nDescriptor( NO_DESCRIPTOR ),
      m_ullBytes( m_pNamed->GetHeader().ullDataBytes ),
      m_fReadOnly( false )
{
}

FileMapping::~FileMapping()
{
    CloseDescriptor( m_nDescriptor );
}

void FileMapping::Initialise( bool fReadOnly ) noexcept
{
    m_pNamed->GetHeader().uReadOnly = fReadOnly ? 1 : 0;
}

bool FileMapping::IsReadOnly() const noexcept
{
    return m_pNamed != nullptr ? m_pNamed->GetHeader().uReadOnly != 0 : m_fReadOnly;
}

bool FileMapping::GetMemory( int& rnDescriptor, ULONGLONG& rullOffset ) const noexcept
{
    rullOffset = m_pNamed != nullptr ? OBJECT_DATA_OFFSET : 0;
    rnDescriptor = m_nDescriptor;
    return m_pNamed == nullptr || m_pNamed->GetFile().GetDescriptor( rnDescriptor );
}

void FileMapping::HandleClosed() noexcept
{
    if ( m_pNamed != nullptr )
        m_pNamed->HandleClosed();
}

HANDLE CreateFileMappingA( HANDLE hFile, LPSECURITY_ATTRIBUTES, DWORD dwProtect, DWORD dwSizeHigh,
                           DWORD dwSizeLow, LPCSTR pName )
{
    const ULONGLONG ullBytes = Join( dwSizeHigh, dwSizeLow );
    const bool fReserve = ( dwProtect & SEC_RESERVE ) != 0;
    dwProtect &= ~SEC_RESERVE;
    const bool fReadOnly = dwProtect == PAGE_READONLY;
    if ( hFile != INVALID_HANDLE_VALUE || ullBytes == 0 || ullBytes > MOST_BYTES ||
         ( !fReadOnly && dwProtect != PAGE_READWRITE ) )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return nullptr;
    }
    const ObjectName aName( pName );
    if ( !aName.IsGood() )
        return nullptr;
    if ( aName.IsEmpty() )
        return MakeUnnamedMapping( ullBytes, fReadOnly );
    MappingMaker aMaker( ullBytes, fReadOnly, fReserve );
    return MakeNamedHandle( aName, aMaker, true, AccessFor( fReadOnly ) );
}

HANDLE OpenFileMappingA( DWORD dwAccess, BOOL, LPCSTR pName )
{
    MappingMaker aMaker( 0, false );
    return OpenNamedHandle( pName, aMaker, dwAccess );
}

LPVOID MapViewOfFile( HANDLE hMapping, DWORD dwAccess, DWORD dwOffsetHigh, DWORD dwOffsetLow, SIZE_T nBytes )
{
    const HandleUse aUse( hMapping, KIND_MAPPING, 0 );
    ViewWish aWish{};
    const bool fGood =
        aUse.IsGood() && CheckRights( aUse, dwAccess, aWish ) &&
        CheckRange( *aUse.GetObject<FileMapping>(), Join( dwOffsetHigh, dwOffsetLow ), nBytes, aWish );
    return fGood ? MakeView( aWish ) : nullptr;
}

BOOL UnmapViewOfFile( LPCVOID pView )
{
    size_t nBytes = 0;
    if ( !RemoveView( pView, nBytes ) )
    {
        SetLastError( ERROR_INVALID_ADDRESS );
        return FALSE;
    }
    munmap( const_cast<void*>( pView ), nBytes );
    return TRUE;
}

LPVOID VirtualAlloc( LPVOID pView, SIZE_T nBytes, DWORD dwType, DWORD dwProtect )
{
    size_t nViewBytes = 0;
    if ( dwType != MEM_COMMIT || ( dwProtect != PAGE_READONLY && dwProtect != PAGE_READWRITE ) ||
         nBytes == 0 )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return nullptr;
    }
    if ( !FindView( pView, nViewBytes ) || nBytes > nViewBytes )
    {
        SetLastError( ERROR_INVALID_ADDRESS );
        return nullptr;
    }
    // A touch of memory that a full file system does not have ends the process; this call says so instead.
    const int nSavedErrno = errno;
    const int nAdvice = dwProtect == PAGE_READWRITE ? MADV_POPULATE_WRITE : MADV_POPULATE_READ;
    int nOutcome = -1;
    do
        nOutcome = madvise( pView, nBytes, nAdvice );
    while ( nOutcome != 0 && ( errno == EINTR || errno == EAGAIN ) );
    if ( nOutcome != 0 )
        SetLastError( errno == EFAULT ? ERROR_DISK_FULL : ErrnoToWin32( errno ) );
    errno = nSavedErrno;
    return nOutcome == 0 ? pView : nullptr;
}
