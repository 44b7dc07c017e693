#include "tools/reg/utf16.h"

#include <bxtools/platform.h>

namespace
{

std::wstring Widened( UINT uCodePage, const std::string& aText )
{
    const int nLength = static_cast<int>( aText.size() );
    std::wstring aWide( aText.size(), L'\0' );
    const int nUnits = MultiByteToWideChar( uCodePage, 0, aText.data(), nLength, aWide.data(), nLength );
    aWide.resize( static_cast<size_t>( nUnits ) );
    return aWide;
}

std::string Narrowed( UINT uCodePage, const std::wstring& aWide, BOOL* pfReplaced )
{
    const int nUnits = static_cast<int>( aWide.size() );
    const int nLength = WideCharToMultiByte( uCodePage, 0, aWide.data(), nUnits, NULL, 0, NULL, NULL );
    std::string aText( static_cast<size_t>( nLength ), '\0' );
    WideCharToMultiByte( uCodePage, 0, aWide.data(), nUnits, aText.data(), nLength, NULL, pfReplaced );
    return aText;
}

} // namespace

bool ToSystemText( std::string& rText )
{
    BOOL fReplaced = FALSE;
    const bool fSame = GetACP() == CP_UTF8; // which wants no question for replacements
    rText = Narrowed( CP_ACP, Widened( CP_UTF8, rText ), fSame ? NULL : &fReplaced );
    return !fReplaced;
}

std::string FromSystemText( const std::string& aText )
{
    return Narrowed( CP_UTF8, Widened( CP_ACP, aText ), NULL );
}
