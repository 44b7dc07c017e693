// What stands in the text of a profile file: lines, headers, sections and keys. Nothing is copied; every search takes time in
// proportion to the bytes it passes, whatever they are.
#pragma once

#include <cstddef>
#include <string_view>

// Without the blanks at its ends.
std::string_view TrimIniBlanks( std::string_view aText ) noexcept;

// A line by its offsets.
struct IniLine
{
    size_t nBegin = 0;
    size_t nTextEnd = 0; // where its line end begins, or a zero byte in it
    size_t nEnd = 0;     // where its line end begins
    size_t nNext = 0;    // where the next line begins
};

// A section, from its header's line (none for the one before the first header); its lines go up to the next header.
struct IniSection
{
    std::string_view aName;
    size_t nHeader = 0;
    size_t nBody = 0;
};

// A line "name = value".
struct IniKey
{
    IniLine aLine;
    std::string_view aName;
    std::string_view
        aValue; // without blanks around it; where it is empty it still tells where it would begin
};

enum class IniLineKind
{
    Other,
    Header,
    Key,
};

// Where a byte stands next, for ever later places; remembers how far it has looked, so that no byte is looked at twice.
class IniByteFinder
{
public:
    IniByteFinder( std::string_view aText, char cByte ) noexcept : m_aText( aText ), m_cByte( cByte ) {}
    // The first one in [nFrom, nLimit), or nLimit.
    size_t Find( size_t nFrom, size_t nLimit ) noexcept;

private:
    std::string_view m_aText;
    size_t m_nLooked = 0; // none before this place
    char m_cByte;
    bool m_fFound = false; // one at it
};

// Goes through a text from front to back.
class IniScanner
{
public:
    // The text must outlive the scanner.
    explicit IniScanner( std::string_view aText ) noexcept;

    // The section before the first header.
    IniSection FirstSection() const noexcept { return { {}, m_nStart, m_nStart }; }
    // The first one whose header stands at or behind nFrom; lines between are jumped over.
    bool FindHeader( size_t nFrom, IniSection& rSection ) noexcept;
    // The first section of a name.
    bool FindSection( std::string_view aName, IniSection& rSection ) noexcept;

    // What the line that begins at nBegin is. Its place is set for all kinds, the rest of rKey for a key, rHeader for a
    // header.
    IniLineKind ReadLine( size_t nBegin, IniKey& rKey, IniSection& rHeader ) noexcept;
    // The next key of the section that nFrom is a line of; false at its end.
    bool NextKey( size_t nFrom, IniKey& rKey ) noexcept;
    // The section's first key of a name.
    bool FindKey( const IniSection& rSection, std::string_view aName, IniKey& rKey ) noexcept;

private:
    IniLine LineAt( size_t nBegin ) noexcept;
    size_t BeginOfBlanks( size_t nAt ) const noexcept;

    std::string_view m_aText;
    size_t m_nStart; // behind a UTF-8 mark
    IniByteFinder m_aLineFeeds;
    IniByteFinder m_aReturns;
    IniByteFinder m_aZeros;
};

// A comment, or a key without a name: found by its name but not listed.
inline bool IsListedIniKey( const IniKey& rKey ) noexcept
{
    return !rKey.aName.empty() && rKey.aName[0] != ';';
}
