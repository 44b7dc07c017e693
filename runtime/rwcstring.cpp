#include "string/textsearch.h"

#include <bxtools/rwcstring.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace
{

// Blocks are measured with what stands in front of the characters and with the terminator.
constexpr size_t FIRST_BLOCK_SIZE = 128;
constexpr size_t MAX_LENGTH = PTRDIFF_MAX / 4;

} // namespace

RWBoundsErr::~RWBoundsErr() = default;

const char* RWBoundsErr::what() const noexcept
{
    return "RWCString: bounds error";
}

// Written out for callers of the Windows DLL, which take them by reference from there.
constexpr size_t RWCString::npos;
constexpr size_t RWCString::INSIDE_LENGTH;

RWCString::RWCString( char cSign, size_t ulCount ) : m_pText( m_aInside ), m_ulLength( ulCount )
{
    if ( ulCount > INSIDE_LENGTH && !TakeNewBlock( ulCount ) )
        ThrowNoMemory();
    std::memset( m_pText, cSign, ulCount );
    m_pText[ulCount] = 0;
}

void RWCString::setAt( size_t ulIndex, char cSign )
{
    if ( ulIndex >= m_ulLength )
        ThrowBounds( ulIndex );
    Detach();
    m_pText[ulIndex] = cSign;
}

void RWCString::assign( const char* pText, size_t ulLength )
{
    replace( 0, m_ulLength, pText, ulLength );
}

void RWCString::replace( size_t ulStart, size_t ulCount, const char* pText, size_t ulLength )
{
    ulStart = std::min( ulStart, m_ulLength );
    ulCount = std::min( ulCount, m_ulLength - ulStart );
    if ( ulCount == 0 && ulLength == 0 )
        return;
    const size_t ulKept = m_ulLength - ulCount;
    if ( !IsUnshared() || ( ulLength > ulCount && ulLength - ulCount > Room() ) )
        return ReplaceElsewhere( ulStart, ulCount, pText, ulLength );

    // What is moved must not be what is still to be copied.
    const bool fOwnText = ulLength != 0 && pText >= m_pText && pText <= m_pText + m_ulLength;
    if ( fOwnText && ulKept != ulStart )
        return ReplaceElsewhere( ulStart, ulCount, pText, ulLength );
    char* pPlace = m_pText + ulStart;
    if ( ulLength != ulCount )
        std::memmove( pPlace + ulLength, pPlace + ulCount, ulKept - ulStart );
    if ( ulLength != 0 )
        std::memmove( pPlace, pText, ulLength );
    m_ulLength = ulKept + ulLength;
    m_pText[m_ulLength] = 0;
}

// The same with a fresh place for the result, so that neither a sharer nor a source within this text is touched.
void RWCString::ReplaceElsewhere( size_t ulStart, size_t ulCount, const char* pText, size_t ulLength )
{
    const size_t ulKept = m_ulLength - ulCount;
    if ( ulLength > MAX_LENGTH - ulKept )
        ThrowNoMemory();
    const size_t ulNewLength = ulKept + ulLength;
    char aShort[INSIDE_LENGTH + 1];
    char* pNew = aShort;
    if ( ulNewLength > INSIDE_LENGTH )
        pNew = NewBlock( ulNewLength > m_ulLength && !IsInside() ? std::max( ulNewLength, 2 * m_ulLength )
                                                                 : ulNewLength );
    if ( pNew == NULL )
        ThrowNoMemory();
    std::memcpy( pNew, m_pText, ulStart );
    if ( ulLength != 0 )
        std::memcpy( pNew + ulStart, pText, ulLength );
    std::memcpy( pNew + ulStart + ulLength, m_pText + ulStart + ulCount, ulKept - ulStart );
    pNew[ulNewLength] = 0;

    Release();
    m_pText = pNew;
    m_ulLength = ulNewLength;
    if ( pNew == aShort )
    {
        std::memcpy( m_aInside, aShort, ulNewLength + 1 );
        m_pText = m_aInside;
    }
}

void RWCString::toUpper()
{
    Detach();
    for ( size_t i = 0; i < m_ulLength; ++i )
    {
        if ( m_pText[i] >= 'a' && m_pText[i] <= 'z' )
            m_pText[i] = static_cast<char>( m_pText[i] - ( 'a' - 'A' ) );
    }
}

size_t RWCString::findLast( char cSign ) const noexcept
{
    return std::string_view( m_pText, m_ulLength ).rfind( cSign );
}

size_t RWCString::find( const char* pText, size_t ulStart ) const noexcept
{
    // The C library's search is the fastest at hand, but ends at a zero, of which a text may hold several.
    for ( size_t ulPosition = ulStart; ulPosition <= m_ulLength; )
    {
        const char* pPiece = m_pText + ulPosition;
        if ( const char* pFound = std::strstr( pPiece, pText ); pFound != NULL )
            return static_cast<size_t>( pFound - m_pText );
        ulPosition += std::strlen( pPiece ) + 1;
    }
    return npos;
}

int RWCString::compareNoCase( const char* pText, size_t ulLength ) const noexcept
{
    return CompareWithoutCase( { m_pText, m_ulLength }, { pText, ulLength } );
}

// Makes a new block the place of the text. Result: false without memory.
bool RWCString::TakeNewBlock( size_t ulCapacity ) noexcept
{
    char* const pNew = NewBlock( ulCapacity );
    if ( pNew != NULL )
        m_pText = pNew;
    return pNew != NULL;
}

// Room for at least ulCapacity characters and the terminator. Result: the place of the first one; NULL without memory.
char* RWCString::NewBlock( size_t ulCapacity ) noexcept
{
    if ( ulCapacity > MAX_LENGTH )
        return NULL;
    const size_t ulSize = std::max( FIRST_BLOCK_SIZE, ( sizeof( Block ) + ulCapacity + 1 + 15 ) / 16 * 16 );
    void* const pMemory = ::operator new( ulSize, std::nothrow );
    if ( pMemory == NULL )
        return NULL;
    return reinterpret_cast<char*>( new ( pMemory ) Block{ 1, ulSize - sizeof( Block ) - 1 } + 1 );
}

void RWCString::ReleaseBlock( char* pText ) noexcept
{
    Block* pBlock = reinterpret_cast<Block*>( pText ) - 1;
    // An only owner has nobody to count against.
    if ( pBlock->m_ulOwners.load( std::memory_order_acquire ) == 1 ||
         pBlock->m_ulOwners.fetch_sub( 1, std::memory_order_acq_rel ) == 1 )
        ::operator delete( pBlock );
}

// Makes sure that a change of the characters is nobody else's.
void RWCString::Detach()
{
    if ( !IsUnshared() )
        ReplaceElsewhere( 0, 0, NULL, 0 );
}

void RWCString::ThrowNoMemory()
{
    throw std::bad_alloc();
}

void RWCString::ThrowBounds( size_t ulIndex ) const
{
    throw RWBoundsErr( ulIndex, m_ulLength );
}
