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

// ---- keys -----------------------------------------------------------------------------------------------------------

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
    rKey.dwLongestChild = rHead.dwLongestChild;
    rKey.dwLongestChildClass = rHead.dwLongestChildClass;
    CopyValues( rKey, aView );
    rKey.aChildren.reserve( rHead.dwChildren + 1 );
    for ( size_t i = 0; i < rHead.dwChildren; ++i )
        rKey.aChildren.push_back( { ChildOf( aView, i ), nullptr, aView.GetChildEntries()[i].dwHash } );
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
    const auto IsGone = []( const RegTreeChild& rChild )
    { return IsPassing( rChild.pKey != nullptr ? rChild.pKey->dwFlags : rChild.aView.GetHead().dwFlags ); };
    std::erase_if( rKey.aChildren, IsGone );
    for ( RegTreeChild& rChild : rKey.aChildren )
        DropPassingKeys( TakeOutChild( rChild ) );
    MeasureChildren( rKey );
}

size_t RegTree::PlaceOf( const RegTreeKey& rParent, std::string_view aName ) const noexcept
{
    const auto pPlace = std::lower_bound( rParent.aChildren.begin(), rParent.aChildren.end(), aName,
                                          []( const RegTreeChild& rChild, std::string_view aWanted )
                                          { return IsRegNameBefore( rChild.GetName(), aWanted ); } );
    return static_cast<size_t>( pPlace - rParent.aChildren.begin() );
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
    const size_t nPlace = PlaceOf( rParent, aName );
    if ( nPlace == rParent.aChildren.size() || !IsSameRegName( rParent.aChildren[nPlace].GetName(), aName ) )
        return nullptr;
    return &TakeOutChild( rParent.aChildren[nPlace] );
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
    const auto nPlace = static_cast<std::ptrdiff_t>( PlaceOf( rParent, aName ) );
    rParent.aChildren.insert( rParent.aChildren.begin() + nPlace,
                              RegTreeChild{ {}, std::move( pKey ), HashRegName( aName ) } );
    ++m_ullNextId;
    m_fPassingKeys = m_fPassingKeys || IsPassing( dwFlags );
    rParent.dwLongestChild = std::max( rParent.dwLongestChild, static_cast<DWORD>( aName.size() ) );
    rParent.dwLongestChildClass =
        std::max( rParent.dwLongestChildClass, static_cast<DWORD>( aClassName.size() ) );
    return rKey;
}

void RegTree::RemoveChild( RegTreeKey& rParent, const RegTreeKey& rChild )
{
    const bool fLongest = rChild.aName.size() == rParent.dwLongestChild ||
                          rChild.aClassName.size() == rParent.dwLongestChildClass;
    std::erase_if( rParent.aChildren,
                   [&]( const RegTreeChild& rOne ) { return rOne.pKey.get() == &rChild; } );
    if ( fLongest )
        MeasureChildren( rParent );
}

void RegTree::MeasureChildren( RegTreeKey& rKey )
{
    rKey.dwLongestChild = 0;
    rKey.dwLongestChildClass = 0;
    for ( const RegTreeChild& rChild : rKey.aChildren )
    {
        const size_t nClass =
            rChild.pKey != nullptr ? rChild.pKey->aClassName.size() : rChild.aView.GetHead().dwClassSize;
        rKey.dwLongestChild = std::max( rKey.dwLongestChild, static_cast<DWORD>( rChild.GetName().size() ) );
        rKey.dwLongestChildClass = std::max( rKey.dwLongestChildClass, static_cast<DWORD>( nClass ) );
    }
}

// ---- values ---------------------------------------------------------------------------------------------------------

// All values have their slot afterwards. Deleted ones keep theirs, so that a search goes on behind them.
void RegTree::Index( RegTreeKey& rKey )
{
    const size_t nValues = rKey.aValues.size();
    if ( CountRegSlots( nValues ) > rKey.aValueSlots.Get().size() )
    {
        rKey.aValueSlots.Fill( 2 * CountRegSlots( nValues ) );
        rKey.nIndexed = 0;
    }
    for ( ; rKey.nIndexed < nValues; ++rKey.nIndexed )
        rKey.aValueSlots.Add( rKey.aValues[rKey.nIndexed].dwHash, rKey.nIndexed );
}

RegTreeValue* RegTree::FindValue( RegTreeKey& rKey, std::string_view aName )
{
    Index( rKey );
    const DWORD dwHash = HashRegName( aName );
    const auto IsIt = [&]( const RegTreeValue& rValue )
    { return rValue.dwHash == dwHash && !rValue.fDeleted && IsSameRegName( rValue.aName, aName ); };
    const std::vector<RegSlot>& aSlots = rKey.aValueSlots.Get();
    if ( aSlots.empty() )
    {
        const auto pFound = std::find_if( rKey.aValues.begin(), rKey.aValues.end(), IsIt );
        return pFound != rKey.aValues.end() ? &*pFound : nullptr;
    }
    for ( size_t nSlot = dwHash & ( aSlots.size() - 1 ); aSlots[nSlot] != 0;
          nSlot = ( nSlot + 1 ) & ( aSlots.size() - 1 ) )
    {
        if ( IsIt( rKey.aValues[aSlots[nSlot] - 1] ) )
            return &rKey.aValues[aSlots[nSlot] - 1];
    }
    return nullptr;
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
    rKey.aValueSlots = {};
    rKey.nIndexed = 0;
    rKey.aChildren.clear();
    rKey.dwLongestChild = 0;
    rKey.dwLongestChildClass = 0;
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
        // Sorted as they should be, and each name once, whoever wrote the image.
        RegTreeKey* pChild = FindChild( rKey, aChild.GetName() );
        if ( pChild == nullptr )
            pChild = &AddChild( rKey, aChild.GetName(), aChild.GetClassName(), dwFlags );
        Clear( *pChild );
        Graft( *pChild, aChild, dwFlags );
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
