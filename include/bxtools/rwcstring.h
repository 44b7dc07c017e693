// The text storage beneath the library's strings: a sequence of characters, zero-terminated, of any length and with
// any content, zeros included.
//
// A text of up to 47 characters lies in the object itself. A longer one lies in a block on the heap which copies
// share: a copy costs one count, and whoever changes a shared text takes its own block first. No member gives out a
// pointer or reference through which the text could be changed behind that.
//
// Positions count characters from 0. Those past the end are brought back to the end, counts to what is there; only
// at() and setAt() treat a wrong position as an error and throw RWBoundsErr. Whatever makes a text longer throws
// std::bad_alloc when there is no memory; the text is then as it was before.
// Threads: an object belongs to one thread at a time; copies that share a block may be in different threads.
#pragma once

#include <bxtools/export.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <exception>
#include <new>

class RWFile;

// A position outside a text.
class RW_EXPORT RWBoundsErr : public std::exception
{
public:
    RWBoundsErr( size_t ulIndex, size_t ulLength ) noexcept : m_ulIndex( ulIndex ), m_ulLength( ulLength ) {}
    ~RWBoundsErr() override;

    // A constant text that names the error.
    const char* what() const noexcept override;
    // The position asked for, and the length of the text it was asked of.
    size_t index() const noexcept { return m_ulIndex; }
    size_t length() const noexcept { return m_ulLength; }

private:
    size_t m_ulIndex;
    size_t m_ulLength;
};

class RW_EXPORT RWCString
{
public:
    // What the searches give for "absent".
    static constexpr size_t npos = static_cast<size_t>( -1 );
    // The longest text that needs no heap.
    static constexpr size_t INSIDE_LENGTH = 47;

    // The empty text.
    RWCString() noexcept : m_pText( m_aInside ), m_ulLength( 0 ) { m_aInside[0] = 0; }
    // A copy of a text up to its zero; NULL gives the empty text.
    RWCString( const char* pText )
        : RWCString( pText != NULL ? pText : "", pText != NULL ? std::strlen( pText ) : 0 )
    {
    }
    // A copy of ulLength characters, whatever they are. NULL is allowed with length 0 only.
    RWCString( const char* pText, size_t ulLength ) : RWCString( pText, ulLength, std::nothrow )
    {
        if ( m_ulLength != ulLength )
            ThrowNoMemory();
    }
    // The same without an exception: short of memory, the text is empty.
    RWCString( const char* pText, size_t ulLength, const std::nothrow_t& ) noexcept
        : m_pText( m_aInside ),
          m_ulLength( ulLength )
    {
        if ( ulLength > INSIDE_LENGTH && !TakeNewBlock( ulLength ) )
            m_ulLength = 0;
        if ( m_ulLength != 0 )
            std::memcpy( m_pText, pText, m_ulLength );
        m_pText[m_ulLength] = 0;
    }
    // ulCount times the same character.
    RWCString( char cSign, size_t ulCount );

    RWCString( const RWCString& aOther ) noexcept : m_ulLength( aOther.m_ulLength ) { ShareOrCopy( aOther ); }
    // Takes the text over; the source is empty afterwards.
    RWCString( RWCString&& aOther ) noexcept : m_ulLength( aOther.m_ulLength ) { TakeOver( aOther ); }
    RWCString& operator=( const RWCString& aOther ) noexcept
    {
        if ( this != &aOther )
        {
            Release();
            m_ulLength = aOther.m_ulLength;
            ShareOrCopy( aOther );
        }
        return *this;
    }
    RWCString& operator=( RWCString&& aOther ) noexcept
    {
        if ( this != &aOther )
        {
            Release();
            m_ulLength = aOther.m_ulLength;
            TakeOver( aOther );
        }
        return *this;
    }
    ~RWCString() { Release(); }

    // The text, zero-terminated; valid until the object is changed or ends.
    const char* data() const noexcept { return m_pText; }
    size_t length() const noexcept { return m_ulLength; }

    // The character at a position. Throws RWBoundsErr unless ulIndex < length().
    char at( size_t ulIndex ) const
    {
        if ( ulIndex >= m_ulLength )
            ThrowBounds( ulIndex );
        return m_pText[ulIndex];
    }
    // Changes the character at a position. Throws RWBoundsErr unless ulIndex < length().
    void setAt( size_t ulIndex, char cSign );

    // The text becomes a copy of ulLength characters, which may be part of this very text.
    void assign( const char* pText, size_t ulLength );
    // Adds ulLength characters, which may be part of this very text.
    void append( const char* pText, size_t ulLength )
    {
        if ( ulLength == 0 )
            return;
        if ( ulLength > Room() )
            return replace( m_ulLength, 0, pText, ulLength );
        std::memcpy( m_pText + m_ulLength, pText, ulLength );
        m_ulLength += ulLength;
        m_pText[m_ulLength] = 0;
    }
    // Puts ulLength characters, which may be part of this very text, in the place of the ulCount characters from
    // ulStart on; either number may be 0.
    void replace( size_t ulStart, size_t ulCount, const char* pText, size_t ulLength );
    // A text that aWrite writes in its place: called with room for ulRoom characters, it returns the end of what it has
    // written there.
    template <class Writer>
    static RWCString written( size_t ulRoom, Writer aWrite )
    {
        RWCString aText;
        if ( ulRoom > INSIDE_LENGTH && !aText.TakeNewBlock( ulRoom ) )
            ThrowNoMemory();
        aText.m_ulLength = static_cast<size_t>( aWrite( aText.m_pText ) - aText.m_pText );
        aText.m_pText[aText.m_ulLength] = 0;
        return aText;
    }
    // Makes the ASCII letters upper case; all other characters stay.
    void toUpper();

    // The position of a character's first occurrence at or after ulStart, or of its last occurrence; npos when absent.
    size_t find( char cSign, size_t ulStart = 0 ) const noexcept
    {
        if ( ulStart >= m_ulLength )
            return npos;
        const void* const pFound = std::memchr( m_pText + ulStart, cSign, m_ulLength - ulStart );
        return pFound == NULL ? npos : static_cast<size_t>( static_cast<const char*>( pFound ) - m_pText );
    }
    size_t findLast( char cSign ) const noexcept;
    // The position of a text's first occurrence at or after ulStart; npos when absent. The empty text occurs at every
    // position up to the end.
    size_t find( const char* pText, size_t ulStart = 0 ) const noexcept;

    // Negative, 0 or positive as this text is before, equal to or after the other one, by the values of the
    // characters, 0 to 255; NoCase takes ASCII letters as lower case.
    int compare( const char* pText, size_t ulLength ) const noexcept
    {
        const size_t ulCommon = m_ulLength < ulLength ? m_ulLength : ulLength;
        const int nOrder = ulCommon == 0 ? 0 : std::memcmp( m_pText, pText, ulCommon );
        return nOrder != 0 ? nOrder : ( m_ulLength > ulLength ) - ( m_ulLength < ulLength );
    }
    int compareNoCase( const char* pText, size_t ulLength ) const noexcept;
    bool equals( const char* pText, size_t ulLength ) const noexcept
    {
        return m_ulLength == ulLength && ( ulLength == 0 || std::memcmp( m_pText, pText, ulLength ) == 0 );
    }

    // Writes the text at the position of a file, its length in four bytes before it, and makes the text what stands so at the
    // position, which in both cases moves behind it. What fails throws RWFileErr; the text is then as it was before.
    void saveOn( RWFile& rFile ) const;
    void restoreFrom( RWFile& rFile );

private:
    // Stands in front of the characters of a text on the heap.
    struct Block
    {
        std::atomic<size_t> m_ulOwners;
        size_t m_ulCapacity;
    };

    Block* GetBlock() const noexcept { return reinterpret_cast<Block*>( m_pText ) - 1; }
    bool IsInside() const noexcept { return m_pText == m_aInside; }
    // Nobody else reads the characters, so they may change where they are.
    bool IsUnshared() const noexcept
    {
        return IsInside() || GetBlock()->m_ulOwners.load( std::memory_order_acquire ) == 1;
    }
    // How many characters can be added where the text is.
    size_t Room() const noexcept
    {
        if ( IsInside() )
            return INSIDE_LENGTH - m_ulLength;
        return IsUnshared() ? GetBlock()->m_ulCapacity - m_ulLength : 0;
    }
    void ShareOrCopy( const RWCString& aOther ) noexcept
    {
        if ( aOther.IsInside() )
        {
            m_pText = m_aInside;
            std::memcpy( m_aInside, aOther.m_aInside, sizeof( m_aInside ) );
            return;
        }
        m_pText = aOther.m_pText;
        GetBlock()->m_ulOwners.fetch_add( 1, std::memory_order_relaxed );
    }
    void TakeOver( RWCString& aOther ) noexcept
    {
        if ( aOther.IsInside() )
        {
            m_pText = m_aInside;
            std::memcpy( m_aInside, aOther.m_aInside, sizeof( m_aInside ) );
        }
        else
            m_pText = aOther.m_pText;
        aOther.m_pText = aOther.m_aInside;
        aOther.m_ulLength = 0;
        aOther.m_aInside[0] = 0;
    }
    void Release() noexcept
    {
        if ( !IsInside() )
            ReleaseBlock( m_pText );
    }
    bool TakeNewBlock( size_t ulCapacity ) noexcept;
    static char* NewBlock( size_t ulCapacity ) noexcept;
    static void ReleaseBlock( char* pText ) noexcept;
    void Detach();
    void ReplaceElsewhere( size_t ulStart, size_t ulCount, const char* pText, size_t ulLength );
    [[noreturn]] static void ThrowNoMemory();
    [[noreturn]] void ThrowBounds( size_t ulIndex ) const;

    char* m_pText; // m_aInside, or the characters behind a Block
    size_t m_ulLength;
    char m_aInside[INSIDE_LENGTH + 1];
};
