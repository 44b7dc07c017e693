#include "platform/registry/regtree.h"

#include "platform/registry/regname.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr size_t ARENA_BLOCK = 64 * 1024;

struct BootNumber
{
    BYTE aBytes[16];
};

BootNumber ReadBootNumber() noexcept
{
    BootNumber aNumber{};
    char aText[64] = {};
    const int nFile = open( "/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC );
    if ( nFile < 0 )
        return aNumber;
    const ssize_t nRead = read( nFile, aText, sizeof( aText ) - 1 );
    close( nFile );
    size_t nDigits = 0;
    for ( ssize_t i = 0; i < nRead && nDigits < 32; ++i )
    {
        static constexpr char DIGITS[] = "0123456789abcdef";
        const char* const pDigit = std::strchr( DIGITS, aText[i] );
        if ( pDigit == nullptr || *pDigit == '\0' )
            continue;
        BYTE& rByte = aNumber.aBytes[nDigits++ / 2];
        rByte = static_cast<BYTE>( rByte << 4 | ( pDigit - DIGITS ) );
    }
    return aNumber;
}

// Everything in the image has been checked before a tree is made of it.
RegKeyView ChildOf( const RegKeyView& aKey, size_t nIndex ) noexcept
{
    RegKeyView aChild;
    aKey.GetChild( nIndex, aChild );
    return aChild;
}

bool IsPassing( DWORD dwFlags ) noexcept
{
    return ( dwFlags & ( KEY_IS_VOLATILE | KEY_IS_LOADED ) ) != 0;
}
} // namespace

ULONGLONG GetRegTime() noexcept
{
    constexpr ULONGLONG SECONDS_FROM_1601_TO_1970 = 11644473600;
    timespec aNow;
    clock_gettime( CLOCK_REALTIME, &aNow );
    return ( static_cast<ULONGLONG>( aNow.tv_sec ) + SECONDS_FROM_1601_TO_1970 ) * 10000000 +
           static_cast<ULONGLONG>( aNow.tv_nsec ) / 100;
}

const BYTE ( &GetRegBoot() noexcept )[16]
{
    static const BootNumber aNumber = ReadBootNumber();
    return aNumber.aBytes;
}

// ---- memory ---------------------------------------------------------------------------------------------------------

BYTE* RegArena::Allocate( size_t nSize )
{
    nSize = AlignedInReg( nSize );
    if ( nSize > m_nFree )
    {
        const size_t nBlock = std::max( nSize, ARENA_BLOCK );
        m_aBlocks.push_back( std::make_unique<BYTE[]>( nBlock ) );
        if ( nBlock > ARENA_BLOCK )
            return m_aBlocks.back().get();
        m_pFree = m_aBlocks.back().get();
        m_nFree = nBlock;
    }
    BYTE* const pBytes = m_pFree;
    m_pFree += nSize;
    m_nFree -= nSize;
    return pBytes;
}

const BYTE* RegArena::KeepData( const BYTE* pData, size_t nSize )
{
    if ( nSize == 0 )
        return nullptr;
    BYTE* const pKept = Allocate( nSize );
    std::memcpy( pKept, pData, nSize );
    return pKept;
}

std::string_view RegArena::Keep( std::string_view aText )
{
    const BYTE* const pKept = KeepData( reinterpret_cast<const BYTE*>( aText.data() ), aText.size() );
    return { reinterpret_cast<const char*>( pKept ), aText.size() };
}

void RegSlots::Clear() noexcept
{
    m_aSlots.clear();
    m_nIndexed = 0;
}

void RegSlots::Add( DWORD dwHash, size_t nEntry ) noexcept
{
    if ( m_aSlots.empty() )
        return;
    const size_t nLast = m_aSlots.size() - 1;
    size_t nSlot = dwHash & nLast;
    while ( m_aSlots[nSlot] != 0 )
        nSlot = ( nSlot + 1 ) & nLast;
    m_aSlots[nSlot] = static_cast<RegSlot>( nEntry + 1 );
}

template <class Entry>
void RegSlots::Index( const std::vector<Entry>& aEntries )
{
    if ( CountRegSlots( aEntries.size() ) > m_aSlots.size() )
    {
        m_aSlots.assign( 2 * CountRegSlots( aEntries.size() ), 0 );
        m_nIndexed = 0;
    }
    for ( ; m_nIndexed < aEntries.size(); ++m_nIndexed )
        Add( aEntries[m_nIndexed].dwHash, m_nIndexed );
}

template <class Entry, class NameOf>
Entry* RegSlots::Find( std::vector<Entry>& rEntries, std::string_view aName, NameOf aNameOf )
{
    Index( rEntries );
    const DWORD dwHash = HashRegName( aName );
    const auto IsIt = [&]( const Entry& rEntry )
    { return rEntry.dwHash == dwHash && !rEntry.fDeleted && IsSameRegName( aNameOf( rEntry ), aName ); };
    if ( m_aSlots.empty() )
    {
        const auto pFound = std::find_if( rEntries.begin(), rEntries.end(), IsIt );
        return pFound != rEntries.end() ? &*pFound : nullptr;
    }
    const size_t nLast = m_aSlots.size() - 1;
    for ( size_t nSlot = dwHash & nLast; m_aSlots[nSlot] != 0; nSlot = ( nSlot + 1 ) & nLast )
    {
        if ( IsIt( rEntries[m_aSlots[nSlot] - 1] ) )
            return &rEntries[m_aSlots[nSlot] - 1];
    }
    return nullptr;
}

// ---- keys -----------------------------------------------------------------------------------------------------------

bool RegTreeKey::HasChildren() const noexcept
{
    return !std::all_of( aChildren.begin(), aChildren.end(),
                         []( const RegTreeChild& rChild ) { return rChild.fDeleted; } );
}

void RegTreeKey::Settle() noexcept
{
    const auto IsBefore = []( const RegTreeChild& rLeft, const RegTreeChild& rRight )
    { return IsRegNameBefore( rLeft.GetName(), rRight.GetName() ); };
    const auto pAdded = aChildren.begin() + static_cast<std::ptrdiff_t>( nSorted );
    std::sort( pAdded, aChildren.end(), IsBefore );
    std::inplace_merge( aChildren.begin(), pAdded, aChildren.end(), IsBefore );
    std::erase_if( aChildren, []( const RegTreeChild& rChild ) { return rChild.fDeleted; } );
    nSorted = aChildren.size();
    aChildSlots.Clear();
    std::erase_if( aValues, []( const RegTreeValue& rValue ) { return rValue.fDeleted; } );
    aValueSlots.Clear();
}

LONG RegTree::Load( const RegImage& rImage )
{
    if ( const LONG lError = rImage.CheckAll() )
        return lError;
    RegKeyView aRoot;
    if ( const LONG lError = rImage.GetRoot( aRoot ) )
        return lError;
    const RegImageHead& rHead = rImage.GetHead();
    m_ullSequence = rHead.ullSequence + 1;
    m_ullNextId = rHead.ullNextId;
    m_fPassingKeys = ( rHead.dwFlags & IMAGE_HAS_PASSING_KEYS ) != 0;
    TakeOut( m_aRoot, aRoot );
    if ( m_fPassingKeys && std::memcmp( rHead.aBoot, GetRegBoot(), sizeof( rHead.aBoot ) ) != 0 )
    {
        DropPassingKeys( m_aRoot );
        m_fPassingKeys = false;
    }
    return ERROR_SUCCESS;
}

void RegTree::TakeOut( RegTreeKey& rKey, const RegKeyView& aView )
{
    const RegKeyHead& rHead = aView.GetHead();
    rKey.aName = aView.GetName();
    rKey.aClassName = aView.GetClassName();
    rKey.aSecurity = aView.GetSecurity();
    rKey.ullId = rHead.ullId;
    rKey.ullLastWrite = rHead.ullLastWrite;
    std::copy( std::begin( rHead.aullChanged ), std::end( rHead.aullChanged ), rKey.aullChanged );
    std::copy( std::begin( rHead.aullChangedBelow ), std::end( rHead.aullChangedBelow ),
               rKey.aullChangedBelow );
    rKey.dwFlags = rHead.dwFlags;
    CopyValues( rKey, aView );
    rKey.aChildren.reserve( rHead.dwChildren + 1 );
    for ( size_t i = 0; i < rHead.dwChildren; ++i )
        rKey.aChildren.push_back(
            { ChildOf( aView, i ), nullptr, aView.GetChildEntries()[i].dwHash, false } );
    rKey.nSorted = rKey.aChildren.size();
}

void RegTree::CopyValues( RegTreeKey& rKey, const RegKeyView& aSource )
{
    const size_t nValues = aSource.GetHead().dwValues;
    rKey.aValues.reserve( nValues + 1 );
    for ( size_t i = 0; i < nValues; ++i )
    {
        const RegValueEntry& rEntry = aSource.GetValueEntries()[i];
        rKey.aValues.push_back( { aSource.GetValueName( i ), aSource.GetBytes() + rEntry.ullOffset,
                                  rEntry.dwSize, rEntry.dwType, rEntry.dwHash, false, true,
                                  rEntry.ullChecksum } );
    }
}

void RegTree::DropPassingKeys( RegTreeKey& rKey )
{
    for ( RegTreeChild& rChild : rKey.aChildren )
    {
        rChild.fDeleted = IsPassing( rChild.aView.GetHead().dwFlags );
        if ( !rChild.fDeleted )
            DropPassingKeys( TakeOutChild( rChild ) );
    }
}

RegTreeKey& RegTree::TakeOutChild( RegTreeChild& rChild )
{
    if ( rChild.pKey == nullptr )
    {
        auto pKey = std::make_unique<RegTreeKey>();
        TakeOut( *pKey, rChild.aView );
        rChild.pKey = std::move( pKey );
    }
    return *rChild.pKey;
}

RegTreeKey* RegTree::FindChild( RegTreeKey& rParent, std::string_view aName )
{
    RegTreeChild* const pChild = rParent.aChildSlots.Find(
        rParent.aChildren, aName, []( const RegTreeChild& rChild ) { return rChild.GetName(); } );
    return pChild != nullptr ? &TakeOutChild( *pChild ) : nullptr;
}

LONG RegTree::GoDown( RegTreePath& rPath, std::string_view aSubKey )
{
    std::string_view aName;
    while ( TakeRegName( aSubKey, aName ) )
    {
        RegTreeKey* const pKey = FindChild( *rPath.back(), aName );
        if ( pKey == nullptr )
            return ERROR_FILE_NOT_FOUND;
        rPath.push_back( pKey );
    }
    return ERROR_SUCCESS;
}

RegTreeKey& RegTree::AddChild( RegTreeKey& rParent, std::string_view aName, std::string_view aClassName,
                               DWORD dwFlags )
{
    auto pKey = std::make_unique<RegTreeKey>();
    pKey->aName = m_aArena.Keep( aName );
    pKey->aClassName = m_aArena.Keep( aClassName );
    pKey->ullLastWrite = GetRegTime();
    pKey->dwFlags = dwFlags;
    pKey->ullId = m_ullNextId;
    RegTreeKey& rKey = *pKey;
    rParent.aChildren.push_back( { {}, std::move( pKey ), HashRegName( aName ), false } );
    ++m_ullNextId;
    m_fPassingKeys = m_fPassingKeys || IsPassing( dwFlags );
    return rKey;
}

void RegTree::RemoveChild( RegTreeKey& rParent, const RegTreeKey& rChild )
{
    RegTreeChild* const pChild = rParent.aChildSlots.Find(
        rParent.aChildren, rChild.aName, []( const RegTreeChild& rOne ) { return rOne.GetName(); } );
    pChild->fDeleted = true;
}

// ---- values ---------------------------------------------------------------------------------------------------------

RegTreeValue* RegTree::FindValue( RegTreeKey& rKey, std::string_view aName )
{
    return rKey.aValueSlots.Find( rKey.aValues, aName,
                                  []( const RegTreeValue& rValue ) { return rValue.aName; } );
}

void RegTree::SetValue( RegTreeKey& rKey, std::string_view aName, DWORD dwType, const BYTE* pData,
                        DWORD dwSize )
{
    const BYTE* const pKept = m_aArena.KeepData( pData, dwSize );
    RegTreeValue* pValue = FindValue( rKey, aName );
    if ( pValue == nullptr )
    {
        rKey.aValues.push_back(
            { m_aArena.Keep( aName ), nullptr, 0, 0, HashRegName( aName ), false, false, 0 } );
        pValue = &rKey.aValues.back();
    }
    pValue->pData = pKept;
    pValue->dwSize = dwSize;
    pValue->dwType = dwType;
    pValue->fSummed = false;
}

// ---- whole keys -----------------------------------------------------------------------------------------------------

void RegTree::Clear( RegTreeKey& rKey ) noexcept
{
    rKey.aValues.clear();
    rKey.aValueSlots.Clear();
    rKey.aChildren.clear();
    rKey.aChildSlots.Clear();
    rKey.nSorted = 0;
}

void RegTree::Graft( RegTreeKey& rKey, const RegKeyView& aSource, DWORD dwFlags )
{
    rKey.aClassName = m_aArena.Keep( aSource.GetClassName() );
    rKey.aSecurity = m_aArena.Keep( aSource.GetSecurity() );
    rKey.ullLastWrite = aSource.GetHead().ullLastWrite;
    CopyValues( rKey, aSource );
    for ( RegTreeValue& rValue : rKey.aValues )
    {
        rValue.aName = m_aArena.Keep( rValue.aName );
        rValue.pData = m_aArena.KeepData( rValue.pData, rValue.dwSize );
    }
    for ( size_t i = 0; i < aSource.GetHead().dwChildren; ++i )
    {
        const RegKeyView aChild = ChildOf( aSource, i );
        Graft( AddChild( rKey, aChild.GetName(), aChild.GetClassName(), dwFlags ), aChild, dwFlags );
    }
}

void RegTree::NoteChange( const RegTreePath& aPath, DWORD dwKinds ) noexcept
{
    for ( size_t nKind = 0; nKind < CHANGE_KINDS; ++nKind )
    {
        if ( ( dwKinds >> nKind & 1 ) == 0 )
            continue;
        aPath.back()->aullChanged[nKind] = m_ullSequence;
        for ( RegTreeKey* const pKey : aPath )
            pKey->aullChangedBelow[nKind] = m_ullSequence;
    }
    if ( ( dwKinds & ( REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET ) ) != 0 )
        aPath.back()->ullLastWrite = GetRegTime();
}
