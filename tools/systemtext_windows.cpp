#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <bxtools/platform.h>

#include <algorithm>

namespace
{

std::wstring Widened( UINT uCodePage, std::string_view aText )
{
    const int nLength = static_cast<int>( aText.size() );
    std::wstring aWide( aText.size(), L'\0' );
    const int nUnits = MultiByteToWideChar( uCodePage, 0, aText.data(), nLength, aWide.data(), nLength );
    aWide.resize( static_cast<size_t>( nUnits ) );
    return aWide;
}

// pfReplaced: NULL, or whether a character had to be replaced. One that only looks like it is no replacement.
std::string Narrowed( UINT uCodePage, std::wstring_view aWide, BOOL* pfReplaced )
{
    const DWORD dwFlags = pfReplaced != NULL ? WC_NO_BEST_FIT_CHARS : 0;
    const int nUnits = static_cast<int>( aWide.size() );
    const int nLength = WideCharToMultiByte( uCodePage, dwFlags, aWide.data(), nUnits, NULL, 0, NULL, NULL );
    std::string aText( static_cast<size_t>( nLength ), '\0' );
    WideCharToMultiByte( uCodePage, dwFlags, aWide.data(), nUnits, aText.data(), nLength, NULL, pfReplaced );
    return aText;
}

// To the code page. Result: whether it has all characters. A code page that has all of them wants no such question.
bool Narrow( std::wstring_view aWide, std::string& rText )
{
    BOOL fReplaced = FALSE;
    rText = Narrowed( CP_ACP, aWide, GetACP() == CP_UTF8 ? NULL : &fReplaced );
    return !fReplaced;
}

// The command line behind the program's name.
std::wstring_view Arguments()
{
    const std::wstring_view aLine = GetCommandLineW();
    const bool fQuoted = aLine.starts_with( L'"' );
    return aLine.substr( std::min( aLine.find_first_of( fQuoted ? L"\"" : L" \t", 1 ), aLine.size() ) );
}

} // namespace

void CheckCommandLine()
{
    std::string aNarrow;
    for ( std::wstring_view aRest = Arguments(); !aRest.empty(); )
    {
        const size_t nUnits = IS_HIGH_SURROGATE( aRest[0] ) && aRest.size() > 1 ? 2 : 1;
        const std::wstring_view aCharacter = aRest.substr( 0, nUnits );
        if ( !Narrow( aCharacter, aNarrow ) )
            throw ToolFailure( ExitCode::Usage,
                               "\"" + Narrowed( CP_UTF8, aCharacter, NULL ) +
                                   "\" on the command line cannot be used: the system's code page, " +
                                   std::to_string( GetACP() ) + ", has no such character; nothing was done" );
        aRest.remove_prefix( nUnits );
    }
}

bool ToSystemText( std::string& rText )
{
    return Narrow( Widened( CP_UTF8, rText ), rText );
}

std::string FromSystemText( const std::string& aText )
{
    return Narrowed( CP_UTF8, Widened( CP_ACP, aText ), NULL );
}

std::string TakeSystemCharacter( std::string_view aText, size_t& rnBytes )
{
    rnBytes = aText.size() > 1 && IsDBCSLeadByte( static_cast<BYTE>( aText[0] ) ) ? 2 : 1;
    return Narrowed( CP_UTF8, Widened( CP_ACP, aText.substr( 0, rnBytes ) ), NULL );
}

std::filesystem::path ToPath( const std::string& aName )
{
    return Widened( CP_ACP, aName );
}

std::string FromPath( const std::filesystem::path& rPath )
{
    std::string aName;
    if ( !Narrow( rPath.native(), aName ) )
        throw ToolFailure( ExitCode::Input, "\"" + Narrowed( CP_UTF8, rPath.native(), NULL ) +
                                                "\" cannot be used: the system's code page, " +
                                                std::to_string( GetACP() ) +
                                                ", has no such characters; give it another name" );
    return aName;
}
