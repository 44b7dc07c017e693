// Values, and trees of keys with their values, as they were read.
#pragma once

#include <bxtools/wintypes.h>

#include <string>
#include <string_view>
#include <vector>

struct RegValue
{
    std::string aName; // empty: the key's default value
    DWORD dwType = REG_NONE;
    std::string aBytes;

    bool operator==( const RegValue& ) const = default;
};

struct RegTree
{
    std::string aName;
    std::vector<RegValue> aValues; // by name, without regard to case
    std::vector<RegTree> aKeys;    // likewise
    LONG lError = ERROR_SUCCESS;   // why it could not be read
};

// Types whose bytes are text to the system's calls.
constexpr bool IsTextType( DWORD dwType )
{
    return dwType == REG_SZ || dwType == REG_EXPAND_SZ || dwType == REG_MULTI_SZ;
}

// The number that the first bytes make, lowest first.
inline ULONGLONG NumberOf( std::string_view aBytes )
{
    ULONGLONG ullNumber = 0;
    for ( size_t n = aBytes.size(); n-- > 0; )
        ullNumber = ullNumber << 8 | static_cast<BYTE>( aBytes[n] );
    return ullNumber;
}

inline std::string BytesOf( ULONGLONG ullNumber, size_t nBytes )
{
    std::string aBytes;
    for ( size_t n = 0; n < nBytes; n++ )
        aBytes += static_cast<char>( ullNumber >> ( 8 * n ) & 0xFF );
    return aBytes;
}

// The texts of a multi-string value: what stands before each zero, up to an empty one or the end.
std::vector<std::string> TextsOf( const std::string& aBytes );
// The other way: each text with its zero, and one more.
std::string JoinTexts( const std::vector<std::string>& aTexts );
