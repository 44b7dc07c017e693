// The language header of a language file, read from its bytes.
#pragma once

#include <bxtools/wintypes.h>

#include <string_view>

// The first line of a text, without its end, which is CR, LF or both, and without a UTF-8 mark before it.
std::string_view FirstLine( std::string_view aText ) noexcept;

// The country codes of a header, taken one after the other. The line must outlive the object.
class LanguageHeader
{
public:
    explicit LanguageHeader( std::string_view aLine ) noexcept;

    // Whether there is a column beside the first, which stands for the key.
    bool HasLanguages() const noexcept { return m_fMore; }
    // The code of the next column; an empty one is 0, one of more than 32 bits the largest there is.
    // Result: false at the end, and for good at a code that is not numeric.
    bool NextCode( LONG& rlCode ) noexcept;
    // Whether it was such a code that ended it.
    bool IsWrong() const noexcept { return m_fWrong; }

private:
    std::string_view m_aRest;
    bool m_fMore = true; // a column begins at m_aRest
    bool m_fWrong = false;

    std::string_view TakeColumn() noexcept;
};
