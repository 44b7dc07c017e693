#include "platform/registry/regimage.h"

#include "platform/registry/regname.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
// An image without anything but its root, whose number is always the first.
struct EmptyImage
{
    RegImageHead aHead;
    RegKeyHead aRoot;
};
constinit EmptyImage g_aEmpty{};

// Slots in which every search ends, and that lead to entries only.
bool AreSlotsGood( const RegSlot* pSlots, size_t nSlots, size_t nEntries ) noexcept
{
    if ( nSlots == 0 )
        return true;
    const size_t nUsed = static_cast<size_t>(
        std::count_if( pSlots, pSlots + nSlots, []( RegSlot uSlot ) { return uSlot != 0; } ) );
    return nUsed < nSlots && *std::max_element( pSlots, pSlots + nSlots ) <= nEntries;
}

// The sizes that the head names fit into the block. All of them are 32 bits, so the sum cannot run over.
bool IsBlockSizeGood( const RegKeyHead& rHead, ULONGLONG ullSize ) noexcept
{
    if ( rHead.dwBlockSize > ullSize || rHead.dwBlockSize % 8 != 0 ||
         rHead.dwBlockSize < sizeof( RegKeyHead ) )
        return false;
    if ( ( rHead.dwChildSlots != 0 && !std::has_single_bit( rHead.dwChildSlots ) ) ||
         ( rHead.dwValueSlots != 0 && !std::has_single_bit( rHead.dwValueSlots ) ) )
        return false;
    const ULONGLONG ullTables = sizeof( RegKeyHead ) +
                                sizeof( RegChildEntry ) * ULONGLONG{ rHead.dwChildren } +
                                sizeof( RegValueEntry ) * ULONGLONG{ rHead.dwValues } +
                                sizeof( RegSlot ) * ( ULONGLONG{ rHead.dwChildSlots } + rHead.dwValueSlots );
    return rHead.dwNameSize <= LONGEST_KEY_NAME &&
           ullTables + rHead.dwNameSize + rHead.dwClassSize + rHead.dwSecuritySize <= rHead.dwBlockSize;
}

// The data of the values lies behind the block without a gap. Result: where it ends, 0 when it does not fit.
ULONGLONG FindEndOfData( const RegKeyView& rKey, const char* pCharacters ) noexcept
{
    const RegKeyHead& rHead = rKey.GetHead();
    const ULONGLONG ullCharacters =
        rHead.dwBlockSize -
        static_cast<ULONGLONG>( reinterpret_cast<const BYTE*>( pCharacters ) - rKey.GetBytes() );
    ULONGLONG ullEnd = rHead.dwBlockSize;
    for ( size_t i = 0; i < rHead.dwValues; ++i )
    {
        const RegValueEntry& rEntry = rKey.GetValueEntries()[i];
        if ( rEntry.ullOffset != ullEnd || rEntry.dwNameSize > LONGEST_VALUE_NAME ||
             ULONGLONG{ rEntry.dwNameOffset } + rEntry.dwNameSize > ullCharacters )
            return 0;
        ullEnd += AlignedInReg( rEntry.dwSize );
        if ( ullEnd > rHead.ullSize )
            return 0;
    }
    return ullEnd;
}

// The subkeys lie behind it without a gap, up to the key's end.
bool AreChildrenGood( const RegKeyView& rKey, ULONGLONG ullEnd ) noexcept
{
    const RegKeyHead& rHead = rKey.GetHead();
    for ( size_t i = 0; i < rHead.dwChildren; ++i )
    {
        const RegChildEntry& rEntry = rKey.GetChildEntries()[i];
        if ( rEntry.ullOffset != ullEnd || rEntry.ullSize < sizeof( RegKeyHead ) || rEntry.ullSize % 8 != 0 ||
             rEntry.ullSize > rHead.ullSize - ullEnd )
            return false;
        ullEnd += rEntry.ullSize;
    }
    return ullEnd == rHead.ullSize;
}

// A subkey has a name that can be asked for, stands behind the one before, so that it is the only one of its name, and is
// found. The first name comes after the empty one.
bool IsChildFound( const RegKeyView& rKey, const RegKeyView& aChild, std::string_view aBefore ) noexcept
{
    const std::string_view aName = aChild.GetName();
    RegKeyView aFound;
    return IsRegNameBefore( aBefore, aName ) &&
           aName.find_first_of( std::string_view( "\\\0", 2 ) ) == std::string_view::npos &&
           rKey.FindChild( aName, aFound ) == ERROR_SUCCESS && aFound.GetBytes() == aChild.GetBytes();
}
} // namespace

RegImage::RegImage( const BYTE* pBytes, ULONGLONG ullSize, bool fMapped ) noexcept
    : m_pBytes( pBytes ),
      m_ullSize( ullSize ),
      m_fMapped( fMapped )
{
}

RegImage::~RegImage()
{
    if ( m_fMapped )
        munmap( const_cast<BYTE*>( m_pBytes ), m_ullSize );
    else
        delete[] m_pBytes;
}

void RegImage::Release() noexcept
{
    if ( m_lReferences.fetch_sub( 1, std::memory_order_acq_rel ) == 1 )
        delete this;
}

LONG RegImage::OpenOrRelease( RegImage*& rpImage ) noexcept
{
    const LONG lError = rpImage->Open();
    if ( lError != ERROR_SUCCESS )
    {
        rpImage->Release();
        rpImage = nullptr;
    }
    return lError;
}

LONG RegImage::Map( int nFile, ULONGLONG ullSize, RegImage*& rpImage ) noexcept
{
    rpImage = nullptr;
    if ( ullSize < sizeof( RegImageHead ) + sizeof( RegKeyHead ) )
        return ERROR_REGISTRY_CORRUPT;
    void* const pBytes = mmap( nullptr, ullSize, PROT_READ, MAP_SHARED, nFile, 0 );
    if ( pBytes == MAP_FAILED )
        return ERROR_NOT_ENOUGH_MEMORY;
    rpImage = new ( std::nothrow ) RegImage( static_cast<const BYTE*>( pBytes ), ullSize, true );
    if ( rpImage != nullptr )
        return OpenOrRelease( rpImage );
    munmap( pBytes, ullSize );
    return ERROR_NOT_ENOUGH_MEMORY;
}

LONG RegImage::Read( int nFile, ULONGLONG ullSize, RegImage*& rpImage ) noexcept
{
    rpImage = nullptr;
    std::unique_ptr<BYTE[]> pBytes( new ( std::nothrow ) BYTE[ullSize] );
    if ( pBytes == nullptr )
        return ERROR_NOT_ENOUGH_MEMORY;
    ULONGLONG ullDone = 0;
    while ( ullDone < ullSize )
    {
        const ssize_t nRead =
            pread( nFile, pBytes.get() + ullDone, ullSize - ullDone, static_cast<off_t>( ullDone ) );
        if ( nRead < 0 && errno == EINTR )
            continue;
        if ( nRead <= 0 )
            return ERROR_REGISTRY_IO_FAILED;
        ullDone += static_cast<ULONGLONG>( nRead );
    }
    return Adopt( std::move( pBytes ), ullSize, rpImage );
}

LONG RegImage::FromFile( int nFile, const struct stat& rStatus, RegImage*& rpImage ) noexcept
{
    const ULONGLONG ullSize = static_cast<ULONGLONG>( rStatus.st_size );
    const bool fOwn = ( rStatus.st_uid == geteuid() || rStatus.st_uid == 0 ) &&
                      ( rStatus.st_mode & ( S_IWGRP | S_IWOTH ) ) == 0;
    return fOwn ? Map( nFile, ullSize, rpImage ) : Read( nFile, ullSize, rpImage );
}

LONG RegImage::Adopt( std::unique_ptr<BYTE[]> pBytes, ULONGLONG ullSize, RegImage*& rpImage ) noexcept
{
    rpImage = nullptr;
    if ( pBytes == nullptr )
        return ERROR_NOT_ENOUGH_MEMORY;
    if ( ullSize < sizeof( RegImageHead ) + sizeof( RegKeyHead ) )
        return ERROR_REGISTRY_CORRUPT;
    rpImage = new ( std::nothrow ) RegImage( pBytes.get(), ullSize, false );
    if ( rpImage == nullptr )
        return ERROR_NOT_ENOUGH_MEMORY;
    pBytes.release();
    return OpenOrRelease( rpImage );
}

RegImage* RegImage::Empty() noexcept
{
    // Never destroyed, since its first reference is never given back.
    alignas( RegImage ) static constinit BYTE aStorage[sizeof( RegImage )]{};
    static RegImage* const pImage = []
    {
        g_aEmpty.aHead.ullFileSize = sizeof( g_aEmpty );
        g_aEmpty.aHead.ullNextId = FIRST_FREE_REG_ID;
        g_aEmpty.aRoot.ullSize = g_aEmpty.aRoot.dwBlockSize = sizeof( RegKeyHead );
        g_aEmpty.aRoot.ullId = 1;
        RegImage* const pEmpty = new ( aStorage )
            RegImage( reinterpret_cast<const BYTE*>( &g_aEmpty ), sizeof( g_aEmpty ), false );
        pEmpty->MarkAllGood();
        return pEmpty;
    }();
    pImage->AddReference();
    return pImage;
}

LONG RegImage::Open() noexcept
{
    const RegImageHead& rHead = GetHead();
    constexpr size_t SUMMED_FROM = offsetof( RegImageHead, ullFileSize );
    if ( std::memcmp( rHead.aMark, REG_IMAGE_MARK, sizeof( REG_IMAGE_MARK ) ) != 0 ||
         rHead.dwVersion != REG_IMAGE_VERSION || rHead.ullFileSize != m_ullSize ||
         rHead.ullNextId < FIRST_FREE_REG_ID || rHead.ullNextId >= LAST_REG_NUMBER ||
         rHead.ullSequence >= LAST_REG_NUMBER ||
         rHead.ullChecksum != ChecksumOfReg( m_pBytes + SUMMED_FROM, sizeof( RegImageHead ) - SUMMED_FROM ) )
        return ERROR_REGISTRY_CORRUPT;
    m_pGood.reset( new ( std::nothrow ) std::atomic<BYTE>[m_ullSize / GOOD_BYTE + 1] {} );
    if ( m_pGood == nullptr )
        return ERROR_NOT_ENOUGH_MEMORY;
    RegKeyView aRoot;
    return GetRoot( aRoot );
}

LONG RegImage::GetRoot( RegKeyView& rRoot ) const noexcept
{
    return ViewKey( m_pBytes + sizeof( RegImageHead ), m_ullSize - sizeof( RegImageHead ), rRoot );
}

LONG RegImage::ViewKey( const BYTE* pKey, ULONGLONG ullSize, RegKeyView& rKey ) const noexcept
{
    const RegKeyHead* const pHead = reinterpret_cast<const RegKeyHead*>( pKey );
    if ( pHead->ullSize != ullSize )
        return ERROR_REGISTRY_CORRUPT;
    if ( !IsKnownGood( pKey ) )
    {
        if ( const LONG lError = CheckKey( pKey, ullSize ) )
            return lError;
        RememberGood( pKey );
    }
    rKey.m_pImage = this;
    rKey.m_pHead = pHead;
    return ERROR_SUCCESS;
}

LONG RegImage::CheckKey( const BYTE* pKey, ULONGLONG ullSize ) const noexcept
{
    const RegKeyHead& rHead = *reinterpret_cast<const RegKeyHead*>( pKey );
    constexpr size_t SUMMED_FROM = offsetof( RegKeyHead, ullSize );
    if ( !IsBlockSizeGood( rHead, ullSize ) ||
         rHead.ullChecksum != ChecksumOfReg( pKey + SUMMED_FROM, rHead.dwBlockSize - SUMMED_FROM ) )
        return ERROR_REGISTRY_CORRUPT;
    RegKeyView aKey;
    aKey.m_pImage = this;
    aKey.m_pHead = &rHead;
    const ULONGLONG ullEnd = FindEndOfData( aKey, aKey.GetCharacters() );
    const bool fGood =
        ullEnd != 0 && AreChildrenGood( aKey, ullEnd ) &&
        AreSlotsGood( aKey.GetChildSlots(), rHead.dwChildSlots, rHead.dwChildren ) &&
        AreSlotsGood( aKey.GetChildSlots() + rHead.dwChildSlots, rHead.dwValueSlots, rHead.dwValues );
    return fGood ? ERROR_SUCCESS : ERROR_REGISTRY_CORRUPT;
}

bool RegImage::CheckData( const BYTE* pData, const RegValueEntry& rEntry ) const noexcept
{
    if ( ChecksumOfReg( pData, rEntry.dwSize ) != rEntry.ullChecksum )
        return false;
    RememberGood( pData );
    return true;
}

// What is listed is found by its name.
LONG RegImage::CheckValue( const RegKeyView& rKey, size_t nIndex ) const noexcept
{
    const std::string_view aName = rKey.GetValueName( nIndex );
    RegValueView aFound{};
    const LONG lError = rKey.FindValue( aName, aFound );
    const bool fGood = lError == ERROR_SUCCESS && aFound.pEntry == rKey.GetValueEntries() + nIndex &&
                       aName.find( '\0' ) == std::string_view::npos;
    return fGood ? ERROR_SUCCESS : ERROR_REGISTRY_CORRUPT;
}

LONG RegImage::CheckTree( const RegKeyView& rKey, size_t nDepth ) const noexcept
{
    if ( nDepth > DEEPEST_KEY )
        return ERROR_REGISTRY_CORRUPT;
    LONG lError = ERROR_SUCCESS;
    for ( size_t i = 0; i < rKey.GetHead().dwValues && lError == ERROR_SUCCESS; ++i )
        lError = CheckValue( rKey, i );
    std::string_view aBefore;
    RegKeyView aChild;
    for ( size_t i = 0; i < rKey.GetHead().dwChildren && lError == ERROR_SUCCESS; ++i )
    {
        lError = rKey.GetChild( i, aChild );
        if ( lError != ERROR_SUCCESS )
            break;
        lError =
            IsChildFound( rKey, aChild, aBefore ) ? CheckTree( aChild, nDepth + 1 ) : ERROR_REGISTRY_CORRUPT;
        aBefore = aChild.GetName();
    }
    return lError;
}

LONG RegImage::CheckAll() const noexcept
{
    if ( m_fAllGood.load( std::memory_order_relaxed ) )
        return ERROR_SUCCESS;
    RegKeyView aRoot;
    LONG lError = GetRoot( aRoot );
    if ( lError == ERROR_SUCCESS )
        lError = CheckTree( aRoot, 0 );
    if ( lError == ERROR_SUCCESS )
        MarkAllGood();
    return lError;
}

void RegImage::MarkAllGood() const noexcept
{
    m_fAllGood.store( true, std::memory_order_relaxed );
}

void RegImage::RememberGood( const BYTE* pPlace ) const noexcept
{
    const size_t nPlace = static_cast<size_t>( pPlace - m_pBytes );
    m_pGood[nPlace / GOOD_BYTE].fetch_or( static_cast<BYTE>( 1u << ( nPlace / GOOD_STEP % 8 ) ),
                                          std::memory_order_relaxed );
}
