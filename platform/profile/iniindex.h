// Where each section and key of a profile file's text stands, by name.
#pragma once

#include "platform/profile/iniscan.h"

#include <cstdint>
#include <vector>

class IniIndex
{
public:
    // Reads the text once; it must outlive the index and be shorter than 2 GiB. Throws std::bad_alloc.
    explicit IniIndex( std::string_view aText );

    // Result: false when there is no such section; else its lines begin at rnBody.
    bool FindSection( std::string_view aSection, size_t& rnBody ) const noexcept;
    // A key's value, without the blanks around it.
    bool FindValue( std::string_view aSection, std::string_view aKey,
                    std::string_view& rValue ) const noexcept;

private:
    using Number = uint32_t;
    static constexpr Number NONE = 0xFFFFFFFF;

    // A key of a section, or a section, which is in none.
    struct Entry
    {
        Number nSection;
        Number nHash;
        Number nName;
        Number nNameLength;
        Number nPlace; // of the value, or of a section's lines
        Number nLength;
    };
    struct Place
    {
        size_t nSlot;
        Number nEntry; // NONE: the slot is free
    };

    void AddKeys( IniScanner& rScanner );
    bool Add( Number nSection, std::string_view aName, size_t nPlace, size_t nLength );
    void Grow();
    Place Find( Number nSection, uint64_t ullHash, std::string_view aName ) const noexcept;
    static uint64_t HashOf( Number nSection, std::string_view aName ) noexcept;
    std::string_view NameOf( const Entry& rEntry ) const noexcept;

    std::string_view m_aText;
    std::vector<Entry> m_aEntries;
    std::vector<Number> m_aSlots; // a power of two, at most half of them in use
};
