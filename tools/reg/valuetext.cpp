#include "tools/reg/valuetext.h"

#include "tools/errors/displaytext.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace
{

struct TypeName
{
    const char* pName;
    DWORD dwType;
    size_t nNumberBytes; // of a type that is a number
};
constexpr TypeName TYPES[] = {
    { "string", REG_SZ, 0 },
    { "expand", REG_EXPAND_SZ, 0 },
    { "binary", REG_BINARY, 0 },
    { "dword", REG_DWORD, 4 },
    { "qword", REG_QWORD, 8 },
    { "multi", REG_MULTI_SZ, 0 },
    { "none", REG_NONE, 0 },
    { "link", REG_LINK, 0 },
    { "dword-big-endian", REG_DWORD_BIG_ENDIAN, 0 },
};

const TypeName* FindType( DWORD dwType )
{
    const TypeName* pType = std::ranges::find( TYPES, dwType, &TypeName::dwType );
    return pType != std::end( TYPES ) ? pType : NULL;
}

bool IsNumber( const RegValue& rValue )
{
    const TypeName* pType = FindType( rValue.dwType );
    return pType != NULL && pType->nNumberBytes != 0 && pType->nNumberBytes == rValue.aBytes.size();
}

std::string ToHex( std::string_view aBytes )
{
    std::string aOut;
    for ( const char ch : aBytes )
    {
        char szByte[4];
        snprintf( szByte, sizeof( szByte ), "%02x", static_cast<BYTE>( ch ) );
        aOut += szByte;
    }
    return aOut;
}

[[noreturn]] void ThrowData( const std::string& aWhat )
{
    throw ToolFailure( ExitCode::Usage, "DATA cannot be used: " + aWhat );
}

std::string ParseHex( std::string aText )
{
    std::erase_if( aText, []( char ch ) { return ch == ',' || ch == ' '; } );
    std::string aBytes;
    for ( size_t n = 0; n < aText.size(); n += 2 )
    {
        BYTE bByte = 0;
        const char* pEnd = aText.data() + std::min( n + 2, aText.size() );
        const auto aResult = std::from_chars( aText.data() + n, pEnd, bByte, 16 );
        if ( aResult.ec != std::errc() || aResult.ptr != aText.data() + n + 2 )
            ThrowData( "bytes are pairs of hexadecimal digits, such as 01ff or 01,ff" );
        aBytes += static_cast<char>( bByte );
    }
    return aBytes;
}

std::string ParseNumber( const std::string& aText, size_t nBytes )
{
    const bool fHex = aText.starts_with( "0x" ) || aText.starts_with( "0X" );
    const char* pStart = aText.data() + ( fHex ? 2 : 0 );
    const char* pEnd = aText.data() + aText.size();
    ULONGLONG ullNumber = 0;
    const auto aResult = std::from_chars( pStart, pEnd, ullNumber, fHex ? 16 : 10 );
    if ( aResult.ec != std::errc() || aResult.ptr != pEnd ||
         ( nBytes < 8 && ullNumber >> ( 8 * nBytes ) != 0 ) )
        ThrowData( "\"" + aText + "\" is no number, decimal or 0x..., of " + std::to_string( 8 * nBytes ) +
                   " bits without sign" );
    return BytesOf( ullNumber, nBytes );
}

std::string FromWord( DWORD dwType, const std::string& aWord )
{
    const TypeName* pType = FindType( dwType );
    if ( pType->nNumberBytes != 0 )
        return ParseNumber( aWord, pType->nNumberBytes );
    return IsTextType( dwType ) ? aWord + '\0' : ParseHex( aWord );
}

// The text in front of the terminating zero, if there is one.
std::string TextOf( const RegValue& rValue )
{
    return rValue.aBytes.substr( 0, rValue.aBytes.find( '\0' ) );
}

} // namespace

std::string GetTypeNames()
{
    std::string aNames;
    for ( const TypeName& rType : TYPES )
        aNames.append( aNames.empty() ? "" : ", " ).append( rType.pName );
    return aNames;
}

std::optional<DWORD> FindType( const std::string& aName )
{
    for ( const TypeName& rType : TYPES )
        if ( aName == rType.pName )
            return rType.dwType;
    return std::nullopt;
}

std::string GetTypeTitle( DWORD dwType )
{
    if ( const TypeName* pType = FindType( dwType ); pType != NULL )
        return pType->pName;
    char szNumber[16];
    snprintf( szNumber, sizeof( szNumber ), "0x%x", static_cast<unsigned int>( dwType ) );
    return szNumber;
}

std::vector<std::string> GetDataLines( const RegValue& rValue )
{
    if ( IsNumber( rValue ) )
        return { std::to_string( NumberOf( rValue.aBytes ) ) };
    if ( rValue.dwType == REG_MULTI_SZ )
        return TextsOf( rValue.aBytes );
    return { IsTextType( rValue.dwType ) ? TextOf( rValue ) : ToHex( rValue.aBytes ) };
}

RegValue MakeValue( const std::string& aName, DWORD dwType, const std::vector<std::string>& rWords )
{
    if ( dwType == REG_MULTI_SZ )
    {
        if ( std::ranges::find( rWords, std::string() ) != rWords.end() )
            ThrowData( "an empty text would end the texts of a multi value" );
        return { aName, dwType, JoinTexts( rWords ) };
    }
    if ( rWords.size() != 1 )
        ThrowData( "one word is wanted; put a text with blanks in quotes, or give --type multi" );
    return { aName, dwType, FromWord( dwType, rWords.front() ) };
}

std::string GetValueName( const RegValue& rValue )
{
    return rValue.aName.empty() ? "(default)" : MakeVisible( FromSystemText( rValue.aName ) );
}

std::string GetValueLine( const RegValue& rValue )
{
    const bool fQuoted = IsTextType( rValue.dwType );
    std::string aLine = GetValueName( rValue ) + " = " + GetTypeTitle( rValue.dwType );
    for ( const std::string& rText : GetDataLines( rValue ) )
        aLine += ( fQuoted ? " \"" : " " ) + MakeVisible( FromSystemText( rText ) ) + ( fQuoted ? "\"" : "" );
    return aLine;
}

Json GetValueJson( const RegValue& rValue )
{
    Json aJson = { { "name", FromSystemText( rValue.aName ) }, { "type", GetTypeTitle( rValue.dwType ) } };
    const std::vector<std::string> aLines = GetDataLines( rValue );
    if ( IsNumber( rValue ) )
    {
        aJson.Set( "data", NumberOf( rValue.aBytes ) );
        return aJson;
    }
    std::vector<std::string> aTexts;
    for ( const std::string& rLine : aLines )
        aTexts.push_back( FromSystemText( rLine ) );
    const bool fSeveral = rValue.dwType == REG_MULTI_SZ;
    aJson.Set( "data", fSeveral ? Json::ArrayOf( aTexts ) : Json( aTexts.front() ) );
    const std::string aSaid = fSeveral ? JoinTexts( aLines ) : aLines.front() + '\0';
    const bool fUtf8 = MakeVisible( FromSystemText( aSaid ) ).find( "\xEF\xBF\xBD" ) == std::string::npos;
    if ( IsTextType( rValue.dwType ) && ( aSaid != rValue.aBytes || !fUtf8 ) )
        aJson.Set( "bytes", ToHex( rValue.aBytes ) );
    return aJson;
}
