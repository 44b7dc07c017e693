// Walks through the text of a .reg file.
#pragma once

#include <string>
#include <string_view>

class RegScanner
{
public:
    // Both outlive it.
    RegScanner( std::string_view aText, const std::string& rTitle ) : m_aText( aText ), m_rTitle( rTitle ) {}

    bool AtEnd() const { return m_nAt == m_aText.size(); }
    // The next character; 0 at the end.
    char Peek() const { return AtEnd() ? '\0' : m_aText[m_nAt]; }
    size_t GetLine() const { return m_nLine; }

    // Passes a text if it comes next.
    bool Take( std::string_view aExpected );
    void SkipBlanks();
    // To the first character that is neither blank, nor line end, nor in a comment.
    void SkipToContent();
    // The rest of a line may hold blanks and a comment; anything else is wrong.
    void EndLine();

    // What is left of the line, and the line is passed.
    std::string_view TakeLine();
    // A text in quotes, with its escapes undone; it may go over several lines.
    std::string TakeQuoted();
    // Up to nMost hexadecimal digits. Result: how many there were.
    size_t TakeHexDigits( size_t nMost, unsigned long& rulNumber );
    // Bytes in hexadecimal, divided by commas and continued behind a backslash at a line's end.
    std::string TakeBytes();

    // Throws a ToolFailure that names the file, the line (0: the one that is read) and what is wrong.
    [[noreturn]] void ThrowWrong( const std::string& aWhat, size_t nLine = 0 ) const;

private:
    bool TakeLineEnd();
    bool TakeContinuation();

    std::string_view m_aText;
    const std::string& m_rTitle;
    size_t m_nAt = 0;
    size_t m_nLine = 1;
};
