#include "tools/reg/regscanner.h"

#include "tools/toolfailure.h"

#include <algorithm>

void RegScanner::ThrowWrong( const std::string& aWhat, size_t nLine ) const
{
    throw ToolFailure( ExitCode::Input,
                       m_rTitle + ":" + std::to_string( nLine != 0 ? nLine : m_nLine ) + ": " + aWhat );
}

bool RegScanner::Take( std::string_view aExpected )
{
    if ( !m_aText.substr( m_nAt ).starts_with( aExpected ) )
        return false;
    m_nAt += aExpected.size();
    return true;
}

// LF, CR LF or CR.
bool RegScanner::TakeLineEnd()
{
    if ( !Take( "\r\n" ) && !Take( "\n" ) && !Take( "\r" ) )
        return false;
    ++m_nLine;
    return true;
}

void RegScanner::SkipBlanks()
{
    while ( Take( " " ) || Take( "\t" ) )
    {
    }
}

void RegScanner::SkipToContent()
{
    for ( ;; )
    {
        SkipBlanks();
        if ( Peek() == ';' )
            TakeLine();
        else if ( !TakeLineEnd() )
            return;
    }
}

void RegScanner::EndLine()
{
    SkipBlanks();
    if ( Peek() == ';' )
        TakeLine();
    else if ( !AtEnd() && !TakeLineEnd() )
        ThrowWrong( "something follows where the line should end; a comment begins with ;" );
}

std::string_view RegScanner::TakeLine()
{
    const size_t nEnd = std::min( m_aText.find_first_of( "\r\n", m_nAt ), m_aText.size() );
    const std::string_view aLine = m_aText.substr( m_nAt, nEnd - m_nAt );
    m_nAt = nEnd;
    TakeLineEnd();
    return aLine;
}

std::string RegScanner::TakeQuoted()
{
    const size_t nBegin = m_nLine;
    if ( !Take( "\"" ) )
        ThrowWrong( "a text in quotes is wanted here" );
    std::string aOut;
    while ( !Take( "\"" ) )
    {
        const size_t nStart = m_nAt;
        if ( AtEnd() )
            ThrowWrong( "the text that begins here has no quote at its end", nBegin );
        if ( Peek() == '\0' )
            ThrowWrong( "a text holds a zero byte; write it as hex(1):" );
        if ( Take( "\\" ) )
        {
            if ( Peek() != '\\' && Peek() != '"' )
                ThrowWrong( "a backslash in a text is written \\\\, and a quote \\\"" );
            aOut += m_aText[m_nAt++];
            continue;
        }
        if ( !TakeLineEnd() )
            m_nAt++;
        aOut += m_aText.substr( nStart, m_nAt - nStart );
    }
    return aOut;
}

size_t RegScanner::TakeHexDigits( size_t nMost, unsigned long& rulNumber )
{
    constexpr std::string_view DIGITS = "0123456789abcdef0123456789ABCDEF";
    size_t nDigits = 0;
    rulNumber = 0;
    for ( ; nDigits < nMost && !AtEnd(); nDigits++, m_nAt++ )
    {
        const size_t nDigit = DIGITS.find( Peek() );
        if ( nDigit == std::string_view::npos )
            break;
        rulNumber = rulNumber << 4 | ( nDigit & 0xF );
    }
    return nDigits;
}

bool RegScanner::TakeContinuation()
{
    if ( !Take( "\\" ) )
        return false;
    SkipBlanks();
    if ( !TakeLineEnd() )
        ThrowWrong( "a backslash continues a line, and must be the last in it" );
    SkipBlanks();
    return true;
}

std::string RegScanner::TakeBytes()
{
    std::string aBytes;
    bool fWanted = false; // a comma stands before
    for ( ;; )
    {
        SkipBlanks();
        while ( TakeContinuation() )
        {
        }
        unsigned long ulByte = 0;
        if ( TakeHexDigits( 2, ulByte ) == 0 )
        {
            if ( fWanted || Peek() == ',' )
                ThrowWrong( "a byte in hexadecimal is wanted here" );
            return aBytes;
        }
        aBytes += static_cast<char>( ulByte );
        SkipBlanks();
        fWanted = Take( "," );
        if ( !fWanted )
            return aBytes;
    }
}
