#include "core/callreport.h"

#include <bxtools/bytearray.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

struct ByteArrayShare
{
    std::atomic<ULONG> ulOwners = 1;
};

namespace
{

// nFirst + nSecond, or a size that is refused when that is no int.
int Sum( int nFirst, int nSecond )
{
    int nSum = 0;
    return __builtin_add_overflow( nFirst, nSecond, &nSum ) ? -1 : nSum;
}

// The size that a full buffer grows to.
int GrownSize( int nSize, int nMaxSize, int nGrowBy, int nNewSize )
{
    const int nStep = nGrowBy != 0 ? nGrowBy : std::clamp( nSize / 8, 4, 1024 );
    const long long llGrown = static_cast<long long>( nMaxSize ) + nStep;
    return static_cast<int>(
        std::clamp( llGrown, static_cast<long long>( nNewSize ), static_cast<long long>( INT_MAX ) ) );
}

} // namespace

MByteArray::MByteArray( const MByteArray& aByteArray )
{
    CallReport aReport( "From MByteArray::MByteArray( const MByteArray& aByteArray )" );
    if ( aByteArray.m_pShare == NULL && aByteArray.m_pData != NULL )
    {
        aByteArray.m_pShare = new ( std::nothrow ) ByteArrayShare;
        if ( aByteArray.m_pShare == NULL )
        {
            aReport.Fail( " Error: m_pShare = new ByteArrayShare() failed" );
            return;
        }
    }
    m_pShare = aByteArray.m_pShare;
    if ( m_pShare != NULL )
        ++m_pShare->ulOwners;
    m_pData = aByteArray.m_pData;
    m_nSize = aByteArray.m_nSize;
    m_nMaxSize = aByteArray.m_nMaxSize;
    m_nGrowBy = aByteArray.m_nGrowBy;
}

MByteArray& MByteArray::operator=( const MByteArray& aByteArray )
{
    if ( this == &aByteArray )
        return *this;
    // Its buffer is held before our own is let go, which may be the same.
    MByteArray aHeld( aByteArray );
    Swap( aHeld );
    return *this;
}

void MByteArray::Swap( MByteArray& rOther )
{
    std::swap( m_pData, rOther.m_pData );
    std::swap( m_nSize, rOther.m_nSize );
    std::swap( m_nMaxSize, rOther.m_nMaxSize );
    std::swap( m_nGrowBy, rOther.m_nGrowBy );
    std::swap( m_pShare, rOther.m_pShare );
}

MByteArray::~MByteArray()
{
    Release();
}

// Gives the buffer up; the last array that holds it frees it.
void MByteArray::Release()
{
    if ( m_pShare == NULL || --m_pShare->ulOwners == 0 )
    {
        delete m_pShare;
        delete[] m_pData;
    }
    m_pShare = NULL;
    m_pData = NULL;
    m_nSize = 0;
    m_nMaxSize = 0;
}

// Takes the bytes to a buffer of the array's own, of which those beyond the size are 0.
BOOL MByteArray::Reallocate( int nNewMaxSize )
{
    BYTE* pNewData = new ( std::nothrow ) BYTE[static_cast<size_t>( nNewMaxSize )];
    if ( pNewData == NULL )
        return FALSE;
    const int nSize = m_nSize;
    if ( nSize != 0 )
        std::memcpy( pNewData, m_pData, static_cast<size_t>( nSize ) );
    std::memset( pNewData + nSize, 0, static_cast<size_t>( nNewMaxSize - nSize ) );
    Release();
    m_pData = pNewData;
    m_nSize = nSize;
    m_nMaxSize = nNewMaxSize;
    return TRUE;
}

void MByteArray::SetSize( int nNewSize, int nGrowBy )
{
    CallReport aReport( "From void MByteArray::SetSize( int nNewSize, int nGrowBy )" );
    if ( nNewSize < 0 )
        return;
    if ( nGrowBy != -1 )
        m_nGrowBy = nGrowBy;
    if ( nNewSize == 0 )
    {
        Release();
        return;
    }
    if ( nNewSize > m_nMaxSize )
    {
        const int nNewMaxSize =
            m_pData == NULL ? nNewSize : GrownSize( m_nSize, m_nMaxSize, m_nGrowBy, nNewSize );
        if ( !Reallocate( nNewMaxSize ) )
        {
            aReport.Fail( " Error: pNewData = new BYTE[nNewMaxSize] failed" );
            return;
        }
    }
    else if ( nNewSize > m_nSize )
        std::memset( m_pData + m_nSize, 0, static_cast<size_t>( nNewSize - m_nSize ) );
    m_nSize = nNewSize;
}

void MByteArray::FreeExtra()
{
    CallReport aReport( "From void MByteArray::FreeExtra()" );
    if ( m_nSize == m_nMaxSize )
        return;
    if ( m_nSize == 0 )
        Release();
    else if ( !Reallocate( m_nSize ) )
        aReport.Fail( " Error: pNewData = new BYTE[m_nSize] failed" );
}

void MByteArray::SetAtGrow( int nIndex, BYTE bElement )
{
    if ( nIndex < 0 )
        return;
    if ( nIndex >= m_nSize )
        SetSize( Sum( nIndex, 1 ), -1 );
    if ( nIndex < m_nSize )
        m_pData[nIndex] = bElement;
}

int MByteArray::Add( BYTE bElement )
{
    const int nIndex = m_nSize;
    SetAtGrow( nIndex, bElement );
    return nIndex < m_nSize ? nIndex : -1;
}

int MByteArray::Append( const MByteArray& src )
{
    const int nOldSize = m_nSize;
    if ( this != &src && m_pData != NULL && m_pData == src.m_pData )
    {
        // Growing within the common buffer would write over its bytes.
        MByteArray aBytes;
        aBytes.Copy( src );
        if ( aBytes.m_nSize == src.m_nSize )
            Append( aBytes );
        return nOldSize;
    }
    const int nCount = src.m_nSize;
    const int nNewSize = Sum( nOldSize, nCount );
    SetSize( nNewSize, -1 );
    if ( nCount != 0 && m_nSize == nNewSize )
        std::memmove( m_pData + nOldSize, src.m_pData, static_cast<size_t>( nCount ) );
    return nOldSize;
}

void MByteArray::Copy( const MByteArray& src )
{
    if ( this == &src )
        return;
    if ( m_pData != NULL && m_pData == src.m_pData )
    {
        MByteArray aOwn;
        aOwn.m_nGrowBy = m_nGrowBy;
        aOwn.Copy( src );
        if ( aOwn.m_nSize == src.m_nSize )
            Swap( aOwn );
        return;
    }
    SetSize( src.m_nSize, -1 );
    if ( m_nSize != 0 && m_nSize == src.m_nSize )
        std::memcpy( m_pData, src.m_pData, static_cast<size_t>( m_nSize ) );
}

void MByteArray::InsertAt( int nIndex, BYTE bElement, int nCount )
{
    if ( nIndex < 0 || nCount <= 0 )
        return;
    const int nOldSize = m_nSize;
    const int nNewSize = Sum( std::max( nIndex, nOldSize ), nCount );
    SetSize( nNewSize, -1 );
    if ( m_nSize != nNewSize )
        return;
    if ( nIndex < nOldSize )
        std::memmove( m_pData + nIndex + nCount, m_pData + nIndex, static_cast<size_t>( nOldSize - nIndex ) );
    std::memset( m_pData + nIndex, bElement, static_cast<size_t>( nCount ) );
}

void MByteArray::InsertAt( int nStartIndex, const MByteArray* pNewArray )
{
    if ( nStartIndex < 0 || pNewArray == NULL || pNewArray->m_nSize == 0 )
        return;
    // The bytes may lie in our own buffer, which is about to change.
    MByteArray aBytes;
    aBytes.Copy( *pNewArray );
    const int nCount = aBytes.m_nSize;
    const int nOldSize = m_nSize;
    if ( nCount == 0 )
        return;
    InsertAt( nStartIndex, aBytes.m_pData[0], nCount );
    if ( m_nSize != nOldSize )
        std::memcpy( m_pData + nStartIndex, aBytes.m_pData, static_cast<size_t>( nCount ) );
}

void MByteArray::RemoveAt( int nIndex, int nCount )
{
    if ( nIndex < 0 || nCount <= 0 || nIndex > m_nSize - nCount )
        return;
    const int nTail = m_nSize - nIndex - nCount;
    std::memmove( m_pData + nIndex, m_pData + nIndex + nCount, static_cast<size_t>( nTail ) );
    m_nSize -= nCount;
}
