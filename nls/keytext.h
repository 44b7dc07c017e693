// A key that is put together for a lookup, on the stack unless it is long.
#pragma once

#include <algorithm>
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
        if ( ulRoom >= sizeof( m_szInside ) )
        {
            m_pOutside.reset( new ( std::nothrow ) char[ulRoom + 1] );
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
        const size_t ulLength = aPiece.size();
        if ( ulLength < WORD )
            std::transform( aPiece.begin(), aPiece.end(), m_pEnd, &UpperCharacter );
        else
        {
            for ( size_t ulDone = 0; ulDone + WORD < ulLength; ulDone += WORD )
                CopyUpperWord( m_pEnd + ulDone, aPiece.data() + ulDone );
            // The last word may take part of the one before it once more.
            CopyUpperWord( m_pEnd + ulLength - WORD, aPiece.data() + ulLength - WORD );
        }
        m_pEnd += ulLength;
        *m_pEnd = '\0';
    }

private:
    static constexpr size_t WORD = sizeof( uint64_t );

    static constexpr char UpperCharacter( char c ) noexcept
    {
        return static_cast<char>( c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c );
    }
    static void CopyUpperWord( char* pTo, const char* pFrom ) noexcept
    {
        uint64_t ullWord;
        std::memcpy( &ullWord, pFrom, WORD );
        ullWord -= LowerLetters( ullWord ) >> 2;
        std::memcpy( pTo, &ullWord, WORD );
    }
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
