// A key that is put together for a lookup, on the stack unless it is long.
#pragma once

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

class KeyText
{
public:
    // Pieces of this many characters altogether, at most.
    explicit KeyText( size_t ulRoom ) noexcept
    {
        if ( ulRoom < sizeof( m_szInside ) )
            return;
        m_pOutside.reset( new ( std::nothrow ) char[ulRoom + 1] );
        m_pBegin = m_pEnd = m_pOutside.get();
    }
    // As a zero-terminated text; NULL without memory.
    const char* Text() const noexcept { return m_pBegin; }

    void Append( std::string_view aPiece ) noexcept
    {
        if ( m_pEnd == NULL )
            return;
        End( aPiece.copy( m_pEnd, aPiece.size() ) );
    }
    // In upper case, which concerns the ASCII letters.
    void AppendUpper( std::string_view aPiece ) noexcept
    {
        if ( m_pEnd == NULL )
            return;
        std::transform( aPiece.begin(), aPiece.end(), m_pEnd,
                        []( char c )
                        { return static_cast<char>( c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c ); } );
        End( aPiece.size() );
    }

private:
    void End( size_t ulAdded ) noexcept
    {
        m_pEnd += ulAdded;
        *m_pEnd = '\0';
    }

    char m_szInside[256];
    std::unique_ptr<char[]> m_pOutside;
    char* m_pBegin = m_szInside;
    char* m_pEnd = m_szInside;
};
