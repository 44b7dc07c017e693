#include "tools/reg/keypath.h"

#include "tools/toolfailure.h"

#include <algorithm>

namespace
{

constexpr size_t LONGEST_NAME = 255;

struct Root
{
    const char* pName;
    const char* pShortName;
    ULONG_PTR ulValue;
};
constexpr Root ROOTS[] = {
    { "HKEY_CLASSES_ROOT", "HKCR", 0x80000000u },   { "HKEY_CURRENT_USER", "HKCU", 0x80000001u },
    { "HKEY_LOCAL_MACHINE", "HKLM", 0x80000002u },  { "HKEY_USERS", "HKU", 0x80000003u },
    { "HKEY_CURRENT_CONFIG", "HKCC", 0x80000005u },
};

HKEY HandleOf( const Root& rRoot )
{
    return reinterpret_cast<HKEY>( static_cast<LONG_PTR>( static_cast<LONG>( rRoot.ulValue ) ) );
}

bool IsSameName( std::string_view aLeft, std::string_view aRight )
{
    const auto Upper = []( char ch ) { return ch >= 'a' && ch <= 'z' ? static_cast<char>( ch - 0x20 ) : ch; };
    return std::ranges::equal( aLeft, aRight, {}, Upper, Upper );
}

std::string CheckName( std::string_view aName )
{
    if ( aName.empty() )
        return "a key's name is empty between two separators";
    if ( aName.size() > LONGEST_NAME )
        return "a key's name is longer than 255 bytes";
    return aName.find( '\0' ) != std::string_view::npos ? "a key's name holds a zero byte" : std::string();
}

} // namespace

std::string KeyPath::GetTitle() const
{
    const Root* pRoot =
        std::ranges::find_if( ROOTS, [this]( const Root& rRoot ) { return HandleOf( rRoot ) == hRoot; } );
    return pRoot->pName + ( aPath.empty() ? "" : "\\" + aPath );
}

KeyPath KeyPath::GetBelow( const std::string& aName ) const
{
    return { hRoot, aPath.empty() ? aName : aPath + "\\" + aName };
}

std::string SplitKeyPath( std::string_view aText, char cSeparator, KeyPath& rPath )
{
    if ( aText.ends_with( cSeparator ) )
        aText.remove_suffix( 1 );
    const std::string_view aRootName = aText.substr( 0, aText.find( cSeparator ) );
    aText.remove_prefix( std::min( aRootName.size() + 1, aText.size() ) );
    const Root* pRoot = std::ranges::find_if(
        ROOTS, [&]( const Root& rRoot )
        { return IsSameName( aRootName, rRoot.pName ) || IsSameName( aRootName, rRoot.pShortName ); } );
    if ( pRoot == std::end( ROOTS ) )
        return "\"" + std::string( aRootName ) +
               "\" is no root; there are HKEY_LOCAL_MACHINE (HKLM), HKEY_CURRENT_USER (HKCU), "
               "HKEY_CLASSES_ROOT (HKCR), HKEY_USERS (HKU) and HKEY_CURRENT_CONFIG (HKCC)";
    rPath = { HandleOf( *pRoot ), std::string() };
    while ( !aText.empty() )
    {
        const std::string_view aName = aText.substr( 0, aText.find( cSeparator ) );
        if ( std::string aWrong = CheckName( aName ); !aWrong.empty() )
            return aWrong;
        rPath = rPath.GetBelow( std::string( aName ) );
        aText.remove_prefix( std::min( aName.size() + 1, aText.size() ) );
    }
    return std::string();
}

KeyPath ParseKeyPath( const std::string& aText )
{
    KeyPath aPath;
    const char cSeparator = aText.find( '\\' ) != std::string::npos ? '\\' : '/';
    const std::string aWrong = SplitKeyPath( aText, cSeparator, aPath );
    if ( !aWrong.empty() )
        throw ToolFailure( ExitCode::Usage, "KEY \"" + aText + "\" cannot be used: " + aWrong );
    return aPath;
}
