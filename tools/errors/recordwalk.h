// Cuts texts at a separator, from left to right, in one pass.
#pragma once

#include <bxtools/errobject.h>

#include <string_view>

// The pieces of a text between its separators, one after the other; an empty text has one empty piece. The pieces
// are views into the text.
class PieceWalk
{
public:
    PieceWalk( std::string_view aText, std::string_view aSeparator )
        : m_aRest( aText ),
          m_aSeparator( aSeparator )
    {
    }

    // Result: false after the last piece.
    bool Next( std::string_view& rPiece )
    {
        if ( m_fDone )
            return false;
        const size_t nEnd = m_aRest.find( m_aSeparator );
        m_fDone = nEnd == std::string_view::npos;
        rPiece = m_aRest.substr( 0, nEnd );
        if ( !m_fDone )
            m_aRest.remove_prefix( nEnd + m_aSeparator.size() );
        return true;
    }

private:
    std::string_view m_aRest;
    std::string_view m_aSeparator;
    bool m_fDone = false;
};

// The records of an error stream; the stream must have passed IsErrorStream.
class RecordWalk
{
public:
    explicit RecordWalk( std::string_view aStream ) : m_aPieces( aStream, ERRSTREAM_RECORD_SEPARATOR )
    {
        std::string_view aHeader;
        m_aPieces.Next( aHeader );
    }

    // Result: false after the last record.
    bool Next( std::string_view& rRecord )
    {
        m_nIndex++;
        return m_aPieces.Next( rRecord );
    }

    // Index of the record that Next gave last.
    size_t GetIndex() const { return m_nIndex - 1; }

private:
    PieceWalk m_aPieces;
    size_t m_nIndex = 0;
};
