// AppendRegTree: from keys and values to text; and what values hold.
#include "tools/errors/displaytext.h"
#include "tools/reg/regtext.h"
#include "tools/reg/utf16.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <algorithm>
#include <cstdio>

namespace
{

// Where a line of bytes is continued.
constexpr size_t LINE_COLUMNS = 78;

std::string Quoted( std::string_view aText )
{
    std::string aOut = "\"";
    for ( const char ch : aText )
        ( ch == '"' || ch == '\\' ? aOut += '\\' : aOut ) += ch;
    return aOut + '"';
}

bool IsPlainText( std::string_view aText )
{
    return std::ranges::none_of( aText,
                                 []( char ch ) { return static_cast<BYTE>( ch ) < 0x20 || ch == 0x7F; } );
}

// Bytes that are not UTF-8 would not survive an editor.
bool IsUtf8( std::string_view aText )
{
    const std::string aUtf16 = ToUtf16( aText );
    BYTE bBefore = 0; // the high byte of the unit before
    for ( size_t n = 0; n < aUtf16.size(); n += 2 )
    {
        const BYTE bHigh = static_cast<BYTE>( aUtf16[n + 1] );
        if ( ( bHigh & 0xFC ) == 0xDC && ( bBefore & 0xFC ) != 0xD8 )
            return false;
        bBefore = bHigh;
    }
    return true;
}

// What is written between quotes.
bool IsPlainString( const RegValue& rValue )
{
    if ( rValue.dwType != REG_SZ || !rValue.aBytes.ends_with( '\0' ) )
        return false;
    const std::string aText = FromSystemText( rValue.aBytes.substr( 0, rValue.aBytes.size() - 1 ) );
    return IsPlainText( aText ) && IsUtf8( aText );
}

void CheckName( const KeyPath& rKey, const std::string& aName )
{
    if ( aName.find_first_of( "\r\n" ) != std::string::npos )
        throw ToolFailure( ExitCode::Input,
                           MakeVisible( FromSystemText( rKey.GetTitle() ) ) +
                               ": the name of a key or value in it holds a line end, which a "
                               ".reg file cannot carry; leave it out or rename it" );
}

void AppendBytes( std::string& rOut, size_t nLineStart, std::string_view aBytes )
{
    for ( size_t n = 0; n < aBytes.size(); n++ )
    {
        char szByte[4];
        snprintf( szByte, sizeof( szByte ), "%02x,", static_cast<BYTE>( aBytes[n] ) );
        rOut.append( szByte, n + 1 < aBytes.size() ? 3 : 2 );
        if ( n + 1 < aBytes.size() && rOut.size() - nLineStart >= LINE_COLUMNS - 2 )
        {
            rOut += "\\\n  ";
            nLineStart = rOut.size() - 2;
        }
    }
}

void AppendValue( std::string& rOut, const RegValue& rValue )
{
    const size_t nLineStart = rOut.size();
    rOut += rValue.aName.empty() ? "@" : Quoted( FromSystemText( rValue.aName ) );
    rOut += '=';
    char szForm[24];
    if ( IsPlainString( rValue ) )
        rOut += Quoted( FromSystemText( rValue.aBytes.substr( 0, rValue.aBytes.size() - 1 ) ) );
    else if ( rValue.dwType == REG_DWORD && rValue.aBytes.size() == sizeof( DWORD ) )
    {
        snprintf( szForm, sizeof( szForm ), "dword:%08x",
                  static_cast<unsigned int>( NumberOf( rValue.aBytes ) ) );
        rOut += szForm;
    }
    else
    {
        snprintf( szForm, sizeof( szForm ), "hex(%x):", static_cast<unsigned int>( rValue.dwType ) );
        rOut += rValue.dwType == REG_BINARY ? "hex:" : szForm;
        const bool fText = IsTextType( rValue.dwType );
        AppendBytes( rOut, nLineStart, fText ? ToUtf16( FromSystemText( rValue.aBytes ) ) : rValue.aBytes );
    }
    rOut += '\n';
}

} // namespace

std::vector<std::string> TextsOf( const std::string& aBytes )
{
    std::vector<std::string> aTexts;
    for ( size_t n = 0; n < aBytes.size() && aBytes[n] != '\0'; n += aTexts.back().size() + 1 )
        aTexts.push_back( aBytes.substr( n, aBytes.find( '\0', n ) - n ) );
    return aTexts;
}

std::string JoinTexts( const std::vector<std::string>& aTexts )
{
    std::string aBytes;
    for ( const std::string& rText : aTexts )
        aBytes.append( rText ).push_back( '\0' );
    return aBytes + '\0';
}

std::string GetRegHeader()
{
    return "Windows Registry Editor Version 5.00\n";
}

void AppendRegTree( std::string& rOut, const KeyPath& rKey, const RegTree& rTree )
{
    CheckName( rKey, rKey.aPath );
    rOut += "\n[" + FromSystemText( rKey.GetTitle() ) + "]\n";
    for ( const RegValue& rValue : rTree.aValues )
    {
        CheckName( rKey, rValue.aName );
        AppendValue( rOut, rValue );
    }
    for ( const RegTree& rBelow : rTree.aKeys )
        AppendRegTree( rOut, rKey.GetBelow( rBelow.aName ), rBelow );
}
