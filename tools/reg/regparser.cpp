// ParseRegText: from text to steps.
#include "tools/reg/regscanner.h"
#include "tools/reg/regtext.h"
#include "tools/reg/utf16.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <algorithm>

namespace
{

struct Header
{
    std::string_view aLine;
    bool fNarrow; // texts in hexadecimal are bytes of narrow text, not UTF-16
};
constexpr Header HEADERS[] = {
    { "Windows Registry Editor Version 5.00", false },
    { "REGEDIT4", true },
};

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";
constexpr std::string_view UTF16_MARK = "\xFF\xFE";

class RegParser
{
public:
    RegParser( std::string_view aText, const std::string& rTitle, bool fUtf8 )
        : m_aScanner( aText, rTitle ),
          m_fUtf8( fUtf8 )
    {
    }

    std::vector<RegStep> Parse()
    {
        ReadHeader();
        for ( m_aScanner.SkipToContent(); !m_aScanner.AtEnd(); m_aScanner.SkipToContent() )
            if ( m_aScanner.Take( "[" ) )
                ReadKey();
            else
                ReadValue();
        return std::move( m_aSteps );
    }

private:
    void ReadHeader()
    {
        m_aScanner.SkipToContent();
        const size_t nLine = m_aScanner.GetLine();
        std::string_view aLine = m_aScanner.TakeLine();
        aLine = aLine.substr( 0, aLine.find_last_not_of( " \t" ) + 1 );
        const Header* pHeader = std::ranges::find( HEADERS, aLine, &Header::aLine );
        if ( pHeader == std::end( HEADERS ) )
            m_aScanner.ThrowWrong(
                "this is no .reg file: it begins with neither \"Windows Registry Editor Version 5.00\" nor \"REGEDIT4\"",
                nLine );
        m_fNarrow = pHeader->fNarrow;
        // The bytes of an old file without a mark are the system's own.
        m_fUtf8 = m_fUtf8 || !m_fNarrow;
    }

    std::string SystemText( std::string aText, size_t nLine )
    {
        if ( m_fUtf8 && !ToSystemText( aText ) )
            m_aScanner.ThrowWrong( "this system's character set lacks a character that stands here", nLine );
        return aText;
    }

    // Behind the bracket.
    void ReadKey()
    {
        const size_t nLine = m_aScanner.GetLine();
        const bool fDelete = m_aScanner.Take( "-" );
        const std::string_view aLine = m_aScanner.TakeLine();
        const size_t nEnd = aLine.rfind( ']' );
        if ( nEnd == std::string_view::npos )
            m_aScanner.ThrowWrong( "a key ends with ]", nLine );
        const std::string_view aRest = aLine.substr( nEnd + 1 );
        const size_t nRest = aRest.find_first_not_of( " \t" );
        if ( nRest != std::string_view::npos && aRest[nRest] != ';' )
            m_aScanner.ThrowWrong( "something follows behind the key; a comment begins with ;", nLine );
        KeyPath aKey;
        const std::string aName = SystemText( std::string( aLine.substr( 0, nEnd ) ), nLine );
        if ( const std::string aWrong = SplitKeyPath( aName, '\\', aKey ); !aWrong.empty() )
            m_aScanner.ThrowWrong( aWrong, nLine );
        if ( fDelete && aKey.aPath.empty() )
            m_aScanner.ThrowWrong( "a root cannot be deleted", nLine );
        m_aSteps.push_back( { fDelete ? RegAction::DeleteKey : RegAction::MakeKey, aKey, {}, nLine } );
    }

    void ReadValue()
    {
        RegStep aStep = { RegAction::SetValue, {}, {}, m_aScanner.GetLine() };
        if ( m_aScanner.Peek() != '"' && m_aScanner.Peek() != '@' )
            m_aScanner.ThrowWrong(
                "a line begins with [ for a key, with \" or @ for a value, or with ; for a comment" );
        if ( m_aSteps.empty() )
            m_aScanner.ThrowWrong( "a value stands before the first key" );
        const RegStep& rLast = m_aSteps.back();
        if ( rLast.aAction == RegAction::DeleteKey )
            m_aScanner.ThrowWrong(
                "a value stands below a key that is deleted; name the key again, without the -" );
        aStep.aKey = rLast.aKey;
        if ( !m_aScanner.Take( "@" ) )
            aStep.aValue.aName = SystemText( m_aScanner.TakeQuoted(), aStep.nLine );
        m_aScanner.SkipBlanks();
        if ( !m_aScanner.Take( "=" ) )
            m_aScanner.ThrowWrong( "= is wanted behind a value's name" );
        m_aScanner.SkipBlanks();
        ReadData( aStep );
        m_aScanner.EndLine();
        m_aSteps.push_back( std::move( aStep ) );
    }

    void ReadData( RegStep& rStep )
    {
        RegValue& rValue = rStep.aValue;
        if ( m_aScanner.Take( "-" ) )
            rStep.aAction = RegAction::DeleteValue;
        else if ( m_aScanner.Peek() == '"' )
        {
            rValue.dwType = REG_SZ;
            rValue.aBytes = SystemText( m_aScanner.TakeQuoted(), rStep.nLine ) + '\0';
        }
        else if ( m_aScanner.Take( "dword:" ) )
        {
            unsigned long ulNumber = 0;
            if ( m_aScanner.TakeHexDigits( 8, ulNumber ) == 0 )
                m_aScanner.ThrowWrong( "dword: is followed by one to eight hexadecimal digits" );
            rValue.dwType = REG_DWORD;
            rValue.aBytes = BytesOf( ulNumber, sizeof( DWORD ) );
        }
        else if ( m_aScanner.Take( "hex" ) )
            ReadHex( rValue, rStep.nLine );
        else
            m_aScanner.ThrowWrong(
                "a value is a text in quotes, dword:, hex:, hex(TYPE):, or - to delete it" );
    }

    void ReadHex( RegValue& rValue, size_t nLine )
    {
        unsigned long ulType = REG_BINARY;
        if ( m_aScanner.Take( "(" ) &&
             ( m_aScanner.TakeHexDigits( 8, ulType ) == 0 || !m_aScanner.Take( ")" ) ) )
            m_aScanner.ThrowWrong( "the type in hex(TYPE): is one to eight hexadecimal digits" );
        if ( !m_aScanner.Take( ":" ) )
            m_aScanner.ThrowWrong( "hex is followed by : or (TYPE):" );
        rValue.dwType = static_cast<DWORD>( ulType );
        rValue.aBytes = m_aScanner.TakeBytes();
        if ( m_fNarrow || !IsTextType( rValue.dwType ) )
            return;
        if ( rValue.aBytes.size() % 2 != 0 )
            m_aScanner.ThrowWrong( "a text has two bytes for each character here; there is half a one" );
        rValue.aBytes = FromUtf16( rValue.aBytes );
        if ( !ToSystemText( rValue.aBytes ) )
            m_aScanner.ThrowWrong( "this system's character set lacks a character of this value", nLine );
    }

    RegScanner m_aScanner;
    std::vector<RegStep> m_aSteps;
    bool m_fUtf8;
    bool m_fNarrow = false;
};

} // namespace

std::vector<RegStep> ParseRegText( const std::string& aBytes, const std::string& aTitle )
{
    std::string_view aText = aBytes;
    if ( aText.starts_with( UTF16_MARK ) )
    {
        if ( aText.size() % 2 != 0 )
            throw ToolFailure( ExitCode::Input,
                               aTitle + " is UTF-16 and ends in half a character; was it cut short?" );
        const std::string aConverted = FromUtf16( aText.substr( UTF16_MARK.size() ) );
        return RegParser( aConverted, aTitle, true ).Parse();
    }
    if ( aText.starts_with( "\xFE\xFF" ) || ( aText.size() > 1 && ( aText[0] == '\0' || aText[1] == '\0' ) ) )
        throw ToolFailure(
            ExitCode::Input,
            aTitle +
                " is in an order of UTF-16 that is not read; convert it, for example with iconv -t UTF-8" );
    const bool fMarked = aText.starts_with( UTF8_MARK );
    aText.remove_prefix( fMarked ? UTF8_MARK.size() : 0 );
    return RegParser( aText, aTitle, fMarked ).Parse();
}
