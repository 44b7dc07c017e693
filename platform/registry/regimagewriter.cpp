#include "platform/registry/regimagewriter.h"

#include "platform/errno_to_win32.h"
#include "platform/registry/regname.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <limits>

namespace
{
// Fills a key's block from front to back.
class BlockFiller
{
public:
    explicit BlockFiller( BYTE* pPlace ) noexcept : m_pPlace( pPlace ) {}

    template <class Item>
    Item* Take( size_t nItems ) noexcept
    {
        Item* const pItems = reinterpret_cast<Item*>( m_pPlace );
        m_pPlace += nItems * sizeof( Item );
        return pItems;
    }
    void Put( std::string_view aText ) noexcept
    {
        std::copy( aText.begin(), aText.end(), m_pPlace );
        m_pPlace += aText.size();
    }

private:
    BYTE* m_pPlace;
};

ULONGLONG SizeOf( const RegTreeChild& rChild ) noexcept
{
    return rChild.pKey != nullptr ? rChild.pKey->ullSize : rChild.aView.GetHead().ullSize;
}

void FillHead( RegKeyHead& rHead, const RegTreeKey& rKey ) noexcept
{
    rHead.ullSize = rKey.ullSize;
    rHead.ullId = rKey.ullId;
    rHead.ullLastWrite = rKey.ullLastWrite;
    std::copy( std::begin( rKey.aullChanged ), std::end( rKey.aullChanged ), rHead.aullChanged );
    std::copy( std::begin( rKey.aullChangedBelow ), std::end( rKey.aullChangedBelow ),
               rHead.aullChangedBelow );
    rHead.dwBlockSize = rKey.dwBlockSize;
    rHead.dwFlags = rKey.dwFlags;
    rHead.dwNameSize = static_cast<DWORD>( rKey.aName.size() );
    rHead.dwClassSize = static_cast<DWORD>( rKey.aClassName.size() );
    rHead.dwSecuritySize = static_cast<DWORD>( rKey.aSecurity.size() );
    rHead.dwChildren = static_cast<DWORD>( rKey.aChildren.size() );
    rHead.dwChildSlots = static_cast<DWORD>( CountRegSlots( rKey.aChildren.size() ) );
    rHead.dwValues = static_cast<DWORD>( rKey.aValues.size() );
    rHead.dwValueSlots = static_cast<DWORD>( CountRegSlots( rKey.aValues.size() ) );
}

void PutInSlot( RegSlot* pSlots, size_t nSlots, DWORD dwHash, size_t nEntry ) noexcept
{
    if ( nSlots == 0 )
        return;
    size_t nSlot = dwHash & ( nSlots - 1 );
    while ( pSlots[nSlot] != 0 )
        nSlot = ( nSlot + 1 ) & ( nSlots - 1 );
    pSlots[nSlot] = static_cast<RegSlot>( nEntry + 1 );
}

// Result: where the data of the values ends.
ULONGLONG FillValues( RegKeyHead& rHead, RegValueEntry* pEntries, RegSlot* pSlots,
                      const RegTreeKey& rKey ) noexcept
{
    ULONGLONG ullOffset = rKey.dwBlockSize;
    size_t nNameOffset = rKey.aName.size() + rKey.aClassName.size() + rKey.aSecurity.size();
    for ( size_t i = 0; i < rKey.aValues.size(); ++i )
    {
        const RegTreeValue& rValue = rKey.aValues[i];
        const DWORD dwName = static_cast<DWORD>( rValue.aName.size() );
        pEntries[i] = {
            ullOffset,     rValue.fSummed ? rValue.ullChecksum : ChecksumOfReg( rValue.pData, rValue.dwSize ),
            rValue.dwSize, rValue.dwType,
            rValue.dwHash, static_cast<DWORD>( nNameOffset ),
            dwName,        0
        };
        PutInSlot( pSlots, rHead.dwValueSlots, rValue.dwHash, i );
        rHead.dwLongestValueName = std::max( rHead.dwLongestValueName, dwName );
        rHead.dwLongestValue = std::max( rHead.dwLongestValue, rValue.dwSize );
        ullOffset += AlignedInReg( rValue.dwSize );
        nNameOffset += dwName;
    }
    return ullOffset;
}

void FillChildren( RegKeyHead& rHead, RegChildEntry* pEntries, RegSlot* pSlots, const RegTreeKey& rKey,
                   ULONGLONG ullOffset ) noexcept
{
    for ( size_t i = 0; i < rKey.aChildren.size(); ++i )
    {
        const RegTreeChild& rChild = rKey.aChildren[i];
        const ULONGLONG ullSize = SizeOf( rChild );
        pEntries[i] = { ullOffset, ullSize, rChild.dwHash, 0 };
        PutInSlot( pSlots, rHead.dwChildSlots, rChild.dwHash, i );
        rHead.dwLongestChild =
            std::max( rHead.dwLongestChild, static_cast<DWORD>( rChild.GetName().size() ) );
        rHead.dwLongestChildClass =
            std::max( rHead.dwLongestChildClass, static_cast<DWORD>( rChild.GetClassName().size() ) );
        ullOffset += ullSize;
    }
}

} // namespace

LONG RegImageWriter::Plan( RegTree& rTree )
{
    return PlanKey( rTree, rTree.GetRoot() );
}

LONG RegImageWriter::PlanKey( RegTree& rTree, RegTreeKey& rKey )
{
    if ( !Measure( rKey ) )
        return ERROR_FILE_TOO_LARGE;
    m_aPieces.clear();
    m_ullSize = sizeof( RegImageHead ) + rKey.ullSize;
    AppendHead( rTree );
    AppendKey( rKey );
    return ERROR_SUCCESS;
}

bool RegImageWriter::Measure( RegTreeKey& rKey )
{
    rKey.Settle();
    const size_t nChildren = rKey.aChildren.size();
    const size_t nValues = rKey.aValues.size();
    ULONGLONG ullBlock = sizeof( RegKeyHead ) + sizeof( RegChildEntry ) * nChildren +
                         sizeof( RegValueEntry ) * nValues +
                         sizeof( RegSlot ) * ( CountRegSlots( nChildren ) + CountRegSlots( nValues ) ) +
                         rKey.aName.size() + rKey.aClassName.size() + rKey.aSecurity.size();
    ULONGLONG ullBelow = 0;
    for ( const RegTreeValue& rValue : rKey.aValues )
    {
        ullBlock += rValue.aName.size();
        ullBelow += AlignedInReg( rValue.dwSize );
    }
    for ( RegTreeChild& rChild : rKey.aChildren )
    {
        if ( rChild.pKey != nullptr && !Measure( *rChild.pKey ) )
            return false;
        ullBelow += SizeOf( rChild );
    }
    ullBlock = AlignedInReg( ullBlock );
    rKey.dwBlockSize = static_cast<DWORD>( ullBlock );
    rKey.ullSize = ullBlock + ullBelow;
    return ullBlock <= std::numeric_limits<DWORD>::max();
}

// What follows in memory, too, becomes one piece.
void RegImageWriter::Append( const void* pBytes, size_t nSize )
{
    if ( nSize == 0 )
        return;
    if ( !m_aPieces.empty() )
    {
        iovec& rLast = m_aPieces.back();
        if ( static_cast<const BYTE*>( rLast.iov_base ) + rLast.iov_len == pBytes )
        {
            rLast.iov_len += nSize;
            return;
        }
    }
    m_aPieces.push_back( { const_cast<void*>( pBytes ), nSize } );
}

void RegImageWriter::AppendHead( const RegTree& rTree )
{
    BYTE* const pBytes = m_aArena.Allocate( sizeof( RegImageHead ) );
    RegImageHead& rHead = *reinterpret_cast<RegImageHead*>( pBytes );
    std::copy( std::begin( REG_IMAGE_MARK ), std::end( REG_IMAGE_MARK ), rHead.aMark );
    rHead.ullFileSize = m_ullSize;
    rHead.ullSequence = rTree.GetSequence();
    rHead.ullNextId = rTree.GetNextId();
    std::copy( std::begin( GetRegBoot() ), std::end( GetRegBoot() ), rHead.aBoot );
    rHead.dwVersion = REG_IMAGE_VERSION;
    rHead.dwFlags = rTree.HasPassingKeys() ? DWORD{ IMAGE_HAS_PASSING_KEYS } : 0;
    constexpr size_t SUMMED_FROM = offsetof( RegImageHead, ullFileSize );
    rHead.ullChecksum = ChecksumOfReg( pBytes + SUMMED_FROM, sizeof( RegImageHead ) - SUMMED_FROM );
    Append( pBytes, sizeof( RegImageHead ) );
}

void RegImageWriter::AppendBlock( RegTreeKey& rKey )
{
    BYTE* const pBlock = m_aArena.Allocate( rKey.dwBlockSize );
    BlockFiller aFiller( pBlock );
    RegKeyHead& rHead = *aFiller.Take<RegKeyHead>( 1 );
    FillHead( rHead, rKey );
    RegChildEntry* const pChildren = aFiller.Take<RegChildEntry>( rHead.dwChildren );
    RegValueEntry* const pValues = aFiller.Take<RegValueEntry>( rHead.dwValues );
    RegSlot* const pChildSlots = aFiller.Take<RegSlot>( rHead.dwChildSlots );
    RegSlot* const pValueSlots = aFiller.Take<RegSlot>( rHead.dwValueSlots );
    const ULONGLONG ullEnd = FillValues( rHead, pValues, pValueSlots, rKey );
    FillChildren( rHead, pChildren, pChildSlots, rKey, ullEnd );
    aFiller.Put( rKey.aName );
    aFiller.Put( rKey.aClassName );
    aFiller.Put( rKey.aSecurity );
    for ( const RegTreeValue& rValue : rKey.aValues )
        aFiller.Put( rValue.aName );
    constexpr size_t SUMMED_FROM = offsetof( RegKeyHead, ullSize );
    rHead.ullChecksum = ChecksumOfReg( pBlock + SUMMED_FROM, rKey.dwBlockSize - SUMMED_FROM );
    Append( pBlock, rKey.dwBlockSize );
}

void RegImageWriter::AppendKey( RegTreeKey& rKey )
{
    AppendBlock( rKey );
    for ( const RegTreeValue& rValue : rKey.aValues )
        Append( rValue.pData, AlignedInReg( rValue.dwSize ) );
    for ( RegTreeChild& rChild : rKey.aChildren )
    {
        if ( rChild.pKey != nullptr )
            AppendKey( *rChild.pKey );
        else
            Append( rChild.aView.GetBytes(), rChild.aView.GetHead().ullSize );
    }
}

LONG RegImageWriter::WriteTo( int nFile )
{
    iovec* pPiece = m_aPieces.data();
    size_t nLeft = m_aPieces.size();
    while ( nLeft > 0 )
    {
        const ssize_t nWritten =
            writev( nFile, pPiece, static_cast<int>( std::min<size_t>( nLeft, IOV_MAX ) ) );
        if ( nWritten < 0 && errno == EINTR )
            continue;
        if ( nWritten < 0 )
            return static_cast<LONG>( ErrnoToWin32( errno ) );
        size_t nDone = static_cast<size_t>( nWritten );
        for ( ; nLeft > 0 && nDone >= pPiece->iov_len; ++pPiece, --nLeft )
            nDone -= pPiece->iov_len;
        if ( nDone > 0 )
        {
            pPiece->iov_base = static_cast<BYTE*>( pPiece->iov_base ) + nDone;
            pPiece->iov_len -= nDone;
        }
    }
    return ERROR_SUCCESS;
}

void RegImageWriter::CopyTo( BYTE* pBytes ) const noexcept
{
    for ( const iovec& rPiece : m_aPieces )
    {
        std::memcpy( pBytes, rPiece.iov_base, rPiece.iov_len );
        pBytes += rPiece.iov_len;
    }
}
