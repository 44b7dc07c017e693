// Texts, fonts and colours between Qt and the rest of the process.
#include "ui/qtoperations.h"

#include <QColor>
#include <QFont>
#include <QFontInfo>
#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

// Whether a byte goes on with the character before it.
bool IsInsideCharacter( char c )
{
    return ( static_cast<unsigned char>( c ) & 0xC0 ) == 0x80;
}

} // namespace

bool CopyText( const QByteArray& rText, LPSTR pBuffer, size_t uSize )
{
    const auto uLength = static_cast<size_t>( rText.size() );
    size_t uCopied = std::min( uLength, uSize - 1 );
    while ( uCopied > 0 && uCopied < uLength &&
            IsInsideCharacter( rText[static_cast<qsizetype>( uCopied )] ) )
        --uCopied;
    std::memcpy( pBuffer, rText.constData(), uCopied );
    pBuffer[uCopied] = '\0';
    return uCopied == uLength;
}

LOGFONTA DescribeFont( const QFont& rFont )
{
    LOGFONTA aDescription{};
    aDescription.lfHeight = -QFontInfo( rFont ).pixelSize();
    aDescription.lfWeight = rFont.weight();
    aDescription.lfItalic = rFont.italic();
    aDescription.lfUnderline = rFont.underline();
    aDescription.lfStrikeOut = rFont.strikeOut();
    aDescription.lfCharSet = DEFAULT_CHARSET;
    CopyText( rFont.family().toUtf8(), aDescription.lfFaceName, LF_FACESIZE );
    return aDescription;
}

QFont MakeFont( const QFont& rBase, const LOGFONTA& rDescription )
{
    QFont aFont( rBase );
    // A style's name would count before its weight and slant.
    aFont.setStyleName( {} );
    const size_t uFamily = strnlen( rDescription.lfFaceName, LF_FACESIZE );
    if ( uFamily > 0 )
        aFont.setFamily( QString::fromUtf8( rDescription.lfFaceName, static_cast<qsizetype>( uFamily ) ) );
    if ( rDescription.lfHeight != 0 )
        aFont.setPixelSize( std::abs( std::max( rDescription.lfHeight, -0x7FFF ) ) );
    if ( rDescription.lfWeight != 0 )
        aFont.setWeight( static_cast<QFont::Weight>( std::clamp<LONG>( rDescription.lfWeight, 1, 1000 ) ) );
    aFont.setItalic( rDescription.lfItalic != 0 );
    aFont.setUnderline( rDescription.lfUnderline != 0 );
    aFont.setStrikeOut( rDescription.lfStrikeOut != 0 );
    return aFont;
}

QColor MakeColor( COLORREF aColor )
{
    return QColor( GetRValue( aColor ), GetGValue( aColor ), GetBValue( aColor ) );
}

COLORREF DescribeColor( const QColor& rColor )
{
    return RGB( rColor.red(), rColor.green(), rColor.blue() );
}
