// Texts that a release file has given, by the section and the key as their callers write them: the next lookup of one of them
// neither changes letters nor walks through the file.
//
// It keeps its own copies, so that no text of it is ever half of one state of the file and half of another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

class TextMemo
{
public:
    // The text of a key; NULL where none is kept. Valid until the next Keep or Follow.
    const char* Find( std::string_view aSection, std::string_view aKey ) const noexcept;
    // Keeps a text. One that is long, and any without memory, is not kept; what is full begins anew.
    void Keep( std::string_view aSection, std::string_view aKey, std::string_view aText ) noexcept;
    // Forgets everything unless it was kept since the file had that state.
    void Follow( uint64_t ullState ) noexcept;

private:
    struct Entry
    {
        uint32_t ulHash = 0;
        uint32_t ulSection = 0; // lengths; section, key and text stand one behind the other
        uint32_t ulKey = 0;
        uint32_t ulPlace = 0; // 0: there is none
    };

    size_t FindEntry( uint32_t ulHash, std::string_view aSection, std::string_view aKey ) const noexcept;
    void Double();
    void Clear() noexcept;

    uint64_t m_ullState = 0;
    size_t m_nKept = 0;
    std::vector<Entry> m_aEntries; // as many as a power of two, half of them at most in use
    std::vector<char> m_aCharacters;
};
