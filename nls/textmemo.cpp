#include "nls/textmemo.h"

#include "runtime/checksum.h"

#include <new>

namespace
{
constexpr size_t FEWEST_ENTRIES = 64;
// Enough for the windows that a thread shows again and again.
constexpr size_t MOST_CHARACTERS = 256 * 1024;
constexpr size_t MOST_IN_ONE = 4 * 1024;

uint32_t HashOf( std::string_view aSection, std::string_view aKey ) noexcept
{
    const uint64_t ullSection = ChecksumOf( 1, aSection.data(), aSection.size() );
    return static_cast<uint32_t>( ChecksumOf( ullSection, aKey.data(), aKey.size() ) >> 32 );
}
} // namespace

// The entry of a key, or the free one where it belongs.
size_t TextMemo::FindEntry( uint32_t ulHash, std::string_view aSection, std::string_view aKey ) const noexcept
{
    const size_t nMask = m_aEntries.size() - 1;
    size_t i = ulHash & nMask;
    for ( ; m_aEntries[i].ulPlace != 0; i = ( i + 1 ) & nMask )
    {
        const Entry& rEntry = m_aEntries[i];
        if ( rEntry.ulHash != ulHash || rEntry.ulSection != aSection.size() || rEntry.ulKey != aKey.size() )
            continue;
        const char* const pSection = m_aCharacters.data() + rEntry.ulPlace;
        if ( std::string_view( pSection, aSection.size() ) == aSection &&
             std::string_view( pSection + aSection.size(), aKey.size() ) == aKey )
            break;
    }
    return i;
}

const char* TextMemo::Find( std::string_view aSection, std::string_view aKey ) const noexcept
{
    if ( m_nKept == 0 )
        return nullptr;
    const Entry& rEntry = m_aEntries[FindEntry( HashOf( aSection, aKey ), aSection, aKey )];
    return rEntry.ulPlace == 0 ? nullptr
                               : m_aCharacters.data() + rEntry.ulPlace + rEntry.ulSection + rEntry.ulKey;
}

void TextMemo::Keep( std::string_view aSection, std::string_view aKey, std::string_view aText ) noexcept
{
    if ( aSection.size() > MOST_IN_ONE || aKey.size() > MOST_IN_ONE || aText.size() > MOST_IN_ONE )
        return;
    const size_t nSize = aSection.size() + aKey.size() + aText.size() + 1;
    if ( m_aCharacters.size() + nSize > MOST_CHARACTERS )
        Clear();
    try
    {
        if ( 2 * m_nKept >= m_aEntries.size() )
            Double();
        // No text stands at place 0.
        const size_t nPlace = m_aCharacters.empty() ? 1 : m_aCharacters.size();
        m_aCharacters.resize( nPlace + nSize );
        char* pEnd = m_aCharacters.data() + nPlace;
        for ( const std::string_view aPiece : { aSection, aKey, aText } )
            pEnd += aPiece.copy( pEnd, aPiece.size() );
        const uint32_t ulHash = HashOf( aSection, aKey );
        m_aEntries[FindEntry( ulHash, aSection, aKey )] = { ulHash, static_cast<uint32_t>( aSection.size() ),
                                                            static_cast<uint32_t>( aKey.size() ),
                                                            static_cast<uint32_t>( nPlace ) };
        ++m_nKept;
    }
    catch ( const std::bad_alloc& )
    {
        // Those that are kept stay so.
    }
}

void TextMemo::Follow( uint64_t ullState ) noexcept
{
    if ( m_ullState != ullState )
        Clear();
    m_ullState = ullState;
}

void TextMemo::Double()
{
    std::vector<Entry> aNew( m_aEntries.empty() ? FEWEST_ENTRIES : 2 * m_aEntries.size() );
    for ( const Entry& rEntry : m_aEntries )
    {
        size_t i = rEntry.ulHash & ( aNew.size() - 1 );
        while ( rEntry.ulPlace != 0 && aNew[i].ulPlace != 0 )
            i = ( i + 1 ) & ( aNew.size() - 1 );
        if ( rEntry.ulPlace != 0 )
            aNew[i] = rEntry;
    }
    m_aEntries.swap( aNew );
}

void TextMemo::Clear() noexcept
{
    m_nKept = 0;
    m_aEntries.clear();
    m_aCharacters.clear();
}
