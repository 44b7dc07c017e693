#include "ui/errortext.h"

#include <string_view>

namespace
{

constexpr char LINE_ENDS[] = "\r\n";

void ReplaceFirst( std::string& rText, std::string_view aPlace, ULONG ulValue )
{
    if ( const size_t uFound = rText.find( aPlace ); uFound != std::string::npos )
        rText.replace( uFound, aPlace.size(), std::to_string( ulValue ) );
}

// Errors come from other processes, too, and are printed where there is no window: a terminal would act on these.
std::string WithoutControls( std::string_view aText )
{
    std::string aOut;
    aOut.reserve( aText.size() );
    for ( size_t i = 0; i < aText.size(); ++i )
    {
        const auto ucSign = static_cast<unsigned char>( aText[i] );
        const auto ucNext = static_cast<unsigned char>( i + 1 < aText.size() ? aText[i + 1] : '\0' );
        const bool fTwoBytes = ucSign == 0xC2 && ucNext >= 0x80 && ucNext < 0xA0;
        const bool fControl = ( ucSign < ' ' && ucSign != '\n' && ucSign != '\t' ) || ucSign == 0x7F;
        aOut += fTwoBytes || fControl ? '?' : aText[i];
        i += fTwoBytes;
    }
    return aOut;
}

} // namespace

std::string TrimLines( LPCSTR pText )
{
    std::string aText( pText );
    std::erase( aText, '\r' );
    aText = WithoutControls( aText );
    const size_t uFirst = aText.find_first_not_of( LINE_ENDS );
    if ( uFirst == std::string::npos )
        return {};
    return aText.substr( uFirst, aText.find_last_not_of( LINE_ENDS ) + 1 - uFirst );
}

std::string FillPosition( LPCSTR pPosition, ULONG ulError, ULONG ulCount )
{
    std::string aText( pPosition );
    ReplaceFirst( aText, "%1", ulError );
    ReplaceFirst( aText, "%2", ulCount );
    return aText;
}

std::string ComposeHelp( const WindowSystemError& rError )
{
    return WithoutControls( rError.pHelpFile ) + ", " + std::to_string( rError.usHelpTopic );
}

std::string ComposeError( const WindowSystemError& rError, const WindowSystemErrorLabels& rLabels )
{
    std::string aText = TrimLines( rError.pText ) + "\n";
    if ( const std::string aDetails = TrimLines( rError.pDetails ); !aDetails.empty() )
        aText += std::string( rLabels.pDetails ) + ":\n" + aDetails + "\n";
    if ( *rError.pHelpFile != '\0' )
        aText += std::string( rLabels.pHelp ) + ": " + ComposeHelp( rError ) + "\n";
    return aText;
}

std::string ComposeErrors( const WindowSystemError* pErrors, ULONG ulCount,
                           const WindowSystemErrorLabels& rLabels )
{
    std::string aText;
    for ( ULONG i = 0; i < ulCount; ++i )
    {
        if ( i > 0 )
            aText += '\n';
        aText +=
            FillPosition( rLabels.pPosition, i + 1, ulCount ) + "\n" + ComposeError( pErrors[i], rLabels );
    }
    return aText;
}
