// The text form of errors, read: one tokenizer for records and streams, which copies nothing. All parts are
// views of the text that was given; positions are wide, so that streams may have any length.
#pragma once

#include <bxtools/errobject.h>

#include <algorithm>
#include <array>
#include <string_view>

inline std::string_view ViewOf( const RWCString& aText ) noexcept
{
    return { aText.data(), aText.length() };
}

// Makes a text empty; most that are to be cleared already are.
inline void Clear( RWCString& rText ) noexcept
{
    if ( rText.length() != 0 )
        rText = RWCString();
}

// Writes a text without a final zero to memory with room for it. Result: behind its last character.
inline char* AppendView( char* pOut, std::string_view aText ) noexcept
{
    return std::copy( aText.begin(), aText.end(), pOut );
}

// What every error stream begins with: the header and the first separator.
inline constexpr std::string_view ERRSTREAM_START = "##HDRMSG0$\xB0";

// The fields of a record in their order.
enum ErrField : size_t
{
    ERRFIELD_VERSION,
    ERRFIELD_CLASS,
    ERRFIELD_NUMBER,
    ERRFIELD_SYSTEM_ERROR,
    ERRFIELD_ORIGIN_TEXT,
    ERRFIELD_OPTIONAL_TEXT,
    ERRFIELD_PARAMETERS,
    ERRFIELD_COUNT
};
using ErrFields = std::array<std::string_view, ERRFIELD_COUNT>;

// Takes the part before the next separator (all that is left, when there is none) off the front of a text.
//   aRest   in: the text; out: what follows the separator.
//   aPart   out: the part.
// Result: whether the separator was there.
inline bool CutAt( std::string_view& aRest, std::string_view aSeparator, std::string_view& aPart ) noexcept
{
    const size_t ulAt = aRest.find( aSeparator );
    aPart = aRest.substr( 0, ulAt );
    aRest.remove_prefix( std::min( aPart.size() + aSeparator.size(), aRest.size() ) );
    return ulAt != std::string_view::npos;
}

// Splits a record's text. Result: whether it has exactly as many fields as a record.
bool SplitRecord( std::string_view aRecord, ErrFields& aFields ) noexcept;
// Whether a record's text begins with the version that this library writes.
bool HasOurVersion( std::string_view aRecord ) noexcept;

// The number at the start of a text, as the C library reads it into 32 bits on every system: beyond them it is
// the nearest there is, a minus sign turns an unsigned number round, and no digits are 0.
ERR ReadSigned( std::string_view aText ) noexcept;
DWORD ReadUnsigned( std::string_view aText ) noexcept;

// Reads an error stream record by record, oldest first. A text that is no error stream has no records.
class ErrStreamReader
{
public:
    explicit ErrStreamReader( std::string_view aStream ) noexcept
        : m_fStream( aStream.starts_with( ERRSTREAM_START ) ),
          m_fMore( m_fStream )
    {
        if ( m_fStream )
            m_aRest = aStream.substr( ERRSTREAM_START.size() );
    }

    // Whether the text is an error stream.
    bool IsStream() const noexcept { return m_fStream; }
    // The next record; false, and aRecord unchanged, behind the last one.
    bool Next( std::string_view& aRecord ) noexcept
    {
        if ( !m_fMore )
            return false;
        m_fMore = CutAt( m_aRest, ERRSTREAM_RECORD_SEPARATOR, aRecord );
        return true;
    }
    // Passes over ulCount records, or as many as there are. Result: how many it passed.
    size_t Skip( size_t ulCount ) noexcept
    {
        size_t ulPassed = 0;
        for ( std::string_view aPassed; ulPassed < ulCount && Next( aPassed ); )
            ++ulPassed;
        return ulPassed;
    }
    // How many records follow.
    size_t CountRest() const noexcept
    {
        constexpr std::string_view SEPARATOR = ERRSTREAM_RECORD_SEPARATOR;
        size_t ulCount = m_fMore ? 1 : 0;
        for ( size_t ulAt = 0; ( ulAt = m_aRest.find( SEPARATOR, ulAt ) ) != m_aRest.npos;
              ulAt += SEPARATOR.size() )
            ++ulCount;
        return ulCount;
    }
    // Whether no further record follows.
    bool IsAtEnd() const noexcept { return !m_fMore; }

private:
    bool m_fStream;
    bool m_fMore; // a record follows, possibly an empty one
    std::string_view m_aRest;
};
