// A key that is put together for a lookup, on the stack unless it is long.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

class KeyText
{
public:
    // Pieces of this many characters altogether, at most.
    explicit KeyText( size_t ulRoom ) noexcept
    {
        if ( ulRoom + SLACK > sizeof( m_szInside ) )
        {
            m_pOutside.reset( new ( std::nothrow ) char[ulRoom + SLACK] );
            m_pBegin = m_pEnd = m_pOutside.get();
        }
        if ( m_pEnd != NULL )
            *m_pEnd = '\0';
    }
    // As a zero-terminated text; NULL without memory.
    const char* Text() const noexcept { return m_pBegin; }
    // Where the next piece will begin; NULL likewise.
    const char* End() const noexcept { return m_pEnd; }

    void Append( std::string_view aPiece ) noexcept
    {
        if ( m_pEnd == NULL )
            return;
        m_pEnd += aPiece.copy( m_pEnd, aPiece.size() );
        *m_pEnd = '\0';
    }
    // In upper case, which concerns the ASCII letters.
    void AppendUpper( std::string_view aPiece ) noexcept
    {
        if ( m_pEnd == NULL )
            return;
        // All that fits into a word at once; what lies behind the piece is overwritten afterwards.
        std::memset( m_pEnd + aPiece.copy( m_pEnd, aPiece.size() ), 0, SLACK );
        for ( size_t ulDone = 0; ulDone < aPiece.size(); ulDone += sizeof( uint64_t ) )
        {
            uint64_t ullWord;
            std::memcpy( &ullWord, m_pEnd + ulDone, sizeof( ullWord ) );
            ullWord -= LowerLetters( ullWord ) >> 2;
            std::memcpy( m_pEnd + ulDone, &ullWord, sizeof( ullWord ) );
        }
        m_pEnd += aPiece.size();
    }

private:
    // For the zero, and for the rest of a word.
    static constexpr size_t SLACK = sizeof( uint64_t );

    // The top bit of each byte that is a lower-case letter.
    static constexpr uint64_t LowerLetters( uint64_t ullWord ) noexcept
    {
        constexpr uint64_t EACH = 0x0101010101010101;
        const uint64_t ullLow = ullWord & 0x7F * EACH;
        const uint64_t ullFromA = ullLow + ( 0x80 - 'a' ) * EACH;
        const uint64_t ullBeyondZ = ullLow + ( 0x80 - 'z' - 1 ) * EACH;
        return ullFromA & ~ullBeyondZ & ~ullWord & 0x80 * EACH;
    }

    char m_szInside[256];
    std::unique_ptr<char[]> m_pOutside;
    char* m_pBegin = m_szInside;
    char* m_pEnd = m_szInside;
};

// A name in upper case.
class UpperText : public KeyText
{
public:
    explicit UpperText( std::string_view aName ) noexcept : KeyText( aName.size() ) { AppendUpper( aName ); }
};
