#include "platform/object/objectname.h"

#include "platform/object/processslots.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{
constexpr std::string_view LOCAL_PREFIX = "Local\\";
constexpr std::string_view GLOBAL_PREFIX = "Global\\";

constexpr size_t MOST_LEAF_CHARACTERS = 200;
constexpr size_t HASHED_LEAF_CHARACTERS = 160;

// FNV-1a.
constexpr ULONGLONG HASH_START = 0xCBF29CE484222325ull;
constexpr ULONGLONG OTHER_HASH_START = 0x9E3779B97F4A7C15ull;

ULONGLONG Hash( std::string_view aText, ULONGLONG ullHash ) noexcept
{
    constexpr ULONGLONG PRIME = 0x100000001B3ull;
    for ( const char cCharacter : aText )
        ullHash = ( ullHash ^ static_cast<unsigned char>( cCharacter ) ) * PRIME;
    return ullHash;
}

bool IsPlain( char cCharacter ) noexcept
{
    return ( cCharacter >= 'a' && cCharacter <= 'z' ) || ( cCharacter >= 'A' && cCharacter <= 'Z' ) ||
           ( cCharacter >= '0' && cCharacter <= '9' ) || cCharacter == '_' || cCharacter == '.' ||
           cCharacter == '-';
}

char* Escape( char* pTo, char cCharacter ) noexcept
{
    constexpr char DIGITS[] = "0123456789ABCDEF";
    const auto uCharacter = static_cast<unsigned char>( cCharacter );
    if ( IsPlain( cCharacter ) )
    {
        *pTo++ = cCharacter;
        return pTo;
    }
    *pTo++ = '%';
    *pTo++ = DIGITS[uCharacter >> 4];
    *pTo++ = DIGITS[uCharacter & 15];
    return pTo;
}
} // namespace

ObjectName::ObjectName( LPCSTR pName ) noexcept
{
    if ( pName == nullptr || *pName == '\0' )
        return;
    m_aText = std::string_view( pName, strnlen( pName, MOST_NAME_CHARACTERS + 1 ) );
    m_fGood = m_aText.size() <= MOST_NAME_CHARACTERS;
    if ( !m_fGood )
    {
        SetLastError( ERROR_FILENAME_EXCED_RANGE );
        return;
    }
    if ( m_aText.starts_with( LOCAL_PREFIX ) )
        m_aText.remove_prefix( LOCAL_PREFIX.size() );
    else if ( m_aText.starts_with( GLOBAL_PREFIX ) )
    {
        m_aText.remove_prefix( GLOBAL_PREFIX.size() );
        m_eScope = FindCommonScope( NamespaceScope::Global );
    }
    // A prefix alone does not stand for an object without a name.
    m_fGood = !m_aText.empty() && m_aText.find( '\\' ) == std::string_view::npos;
    if ( !m_fGood )
        SetLastError( m_aText.empty() ? ERROR_INVALID_NAME : ERROR_PATH_NOT_FOUND );
    m_ullHash = Hash( m_aText, HASH_START + static_cast<ULONGLONG>( m_eScope ) );
}

ObjectLeaf ObjectName::MakeLeaf() const noexcept
{
    std::array<char, 3 * MOST_NAME_CHARACTERS> aEscaped;
    char* pEnd = aEscaped.data();
    for ( const char cCharacter : m_aText )
        pEnd = Escape( pEnd, cCharacter );
    const std::string_view aAll( aEscaped.data(), static_cast<size_t>( pEnd - aEscaped.data() ) );

    ObjectLeaf aLeaf{};
    char* pTo = std::copy( OBJECT_LEAF.begin(), OBJECT_LEAF.end(), aLeaf.data() );
    if ( aAll.size() <= MOST_LEAF_CHARACTERS )
    {
        std::copy( aAll.begin(), aAll.end(), pTo );
        return aLeaf;
    }
    pTo = std::copy_n( aAll.begin(), HASHED_LEAF_CHARACTERS, pTo );
    std::snprintf( pTo, aLeaf.size() - OBJECT_LEAF.size() - HASHED_LEAF_CHARACTERS, "~%016llx%016llx",
                   static_cast<unsigned long long>( Hash( m_aText, HASH_START ) ),
                   static_cast<unsigned long long>( Hash( m_aText, OTHER_HASH_START ) ) );
    return aLeaf;
}
