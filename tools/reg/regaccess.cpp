#include "tools/reg/regaccess.h"

#include "tools/errors/decodedrecord.h"
#include "tools/errors/displaytext.h"
#include "tools/systemtext.h"
#include "tools/talk.h"
#include "tools/toolfailure.h"

#include <bxtools/registry.h>

#include <algorithm>
#include <functional>

namespace
{

bool IsGone( LONG lError )
{
    return lError == ERROR_FILE_NOT_FOUND || lError == ERROR_KEY_DELETED;
}

// Without regard to case, and two that differ in it in their order.
bool ComesBefore( const std::string& rLeft, const std::string& rRight )
{
    const auto Upper = []( char ch ) { return static_cast<BYTE>( ch >= 'a' && ch <= 'z' ? ch - 0x20 : ch ); };
    const auto aOrder = std::lexicographical_compare_three_way(
        rLeft.begin(), rLeft.end(), rRight.begin(), rRight.end(),
        [&]( char chLeft, char chRight ) { return Upper( chLeft ) <=> Upper( chRight ); } );
    return aOrder == 0 ? rLeft < rRight : aOrder < 0;
}

struct LongestSizes
{
    DWORD dwKeyName = 0;
    DWORD dwValueName = 0;
    DWORD dwData = 0;
};

LONG QuerySizes( HKEY hKey, LongestSizes& rSizes )
{
    return RegQueryInfoKeyA( hKey, NULL, NULL, NULL, NULL, &rSizes.dwKeyName, NULL, NULL, &rSizes.dwValueName,
                             &rSizes.dwData, NULL, NULL );
}

// Calls aRead with sizes that are enough, which another process may change on the way.
LONG WithSizes( HKEY hKey, const std::function<LONG( const LongestSizes& )>& aRead )
{
    for ( ;; )
    {
        LongestSizes aSizes;
        LONG lError = QuerySizes( hKey, aSizes );
        if ( lError == ERROR_SUCCESS )
            lError = aRead( aSizes );
        if ( lError != ERROR_MORE_DATA )
            return lError;
    }
}

LONG ReadKeyNames( HKEY hKey, std::vector<std::string>& rNames )
{
    return WithSizes( hKey,
                      [&]( const LongestSizes& rSizes ) -> LONG
                      {
                          rNames.clear();
                          std::string aName;
                          for ( DWORD dwIndex = 0;; dwIndex++ )
                          {
                              // A character may take more bytes here than the system counts.
                              DWORD dwName = rSizes.dwKeyName * 3 + 1;
                              aName.resize( dwName );
                              const LONG lError = RegEnumKeyExA( hKey, dwIndex, aName.data(), &dwName, NULL,
                                                                 NULL, NULL, NULL );
                              if ( lError != ERROR_SUCCESS )
                                  return lError == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : lError;
                              rNames.emplace_back( aName.data(), dwName );
                          }
                      } );
}

LONG ReadValues( HKEY hKey, std::vector<RegValue>& rValues )
{
    return WithSizes( hKey,
                      [&]( const LongestSizes& rSizes ) -> LONG
                      {
                          rValues.clear();
                          std::string aName;
                          std::string aData;
                          for ( DWORD dwIndex = 0;; dwIndex++ )
                          {
                              DWORD dwName = rSizes.dwValueName * 3 + 1;
                              DWORD dwData = rSizes.dwData + rSizes.dwData / 2 + 1;
                              RegValue aValue;
                              aName.resize( dwName );
                              aData.resize( size_t( dwData ) + 1 );
                              const LONG lError =
                                  RegEnumValueA( hKey, dwIndex, aName.data(), &dwName, NULL, &aValue.dwType,
                                                 reinterpret_cast<BYTE*>( aData.data() ), &dwData );
                              if ( lError != ERROR_SUCCESS )
                                  return lError == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : lError;
                              aValue.aName.assign( aName.data(), dwName );
                              aValue.aBytes.assign( aData.data(), dwData );
                              rValues.push_back( std::move( aValue ) );
                          }
                      } );
}

LONG FillTree( HKEY hKey, RegTree& rTree, TreeDepth aDepth );

RegTree ReadBelow( HKEY hParent, const std::string& aName )
{
    RegTree aTree;
    aTree.aName = aName;
    HKEY hKey = NULL;
    aTree.lError = RegOpenKeyExA( hParent, aName.c_str(), 0, KEY_READ, &hKey );
    if ( aTree.lError == ERROR_SUCCESS )
    {
        aTree.lError = FillTree( hKey, aTree, TreeDepth::AllBelow );
        RegCloseKey( hKey );
    }
    return aTree;
}

LONG FillTree( HKEY hKey, RegTree& rTree, TreeDepth aDepth )
{
    std::vector<std::string> aNames;
    LONG lError = ReadValues( hKey, rTree.aValues );
    if ( lError == ERROR_SUCCESS )
        lError = ReadKeyNames( hKey, aNames );
    std::ranges::sort( rTree.aValues, ComesBefore, &RegValue::aName );
    std::ranges::sort( aNames, ComesBefore );
    for ( const std::string& rName : aNames )
    {
        RegTree aBelow = { rName, {}, {}, ERROR_SUCCESS };
        if ( aDepth == TreeDepth::AllBelow )
            aBelow = ReadBelow( hKey, rName );
        if ( !IsGone( aBelow.lError ) )
            rTree.aKeys.push_back( std::move( aBelow ) );
    }
    return lError;
}

} // namespace

void ThrowRegistryFailure( LONG lError, const std::string& aWhat, bool fWriting )
{
    if ( IsGone( lError ) && !( fWriting && lError == ERROR_KEY_DELETED ) )
        throw ToolFailure( ExitCode::No, aWhat + " does not exist" );
    const std::string aText = GetSystemText( static_cast<DWORD>( lError ) );
    throw ToolFailure( fWriting ? ExitCode::Output : ExitCode::Input,
                       aWhat + " cannot be " + ( fWriting ? "changed" : "read" ) + ": error " +
                           std::to_string( lError ) + ( aText.empty() ? "" : ", " + aText ) +
                           ( lError == ERROR_ACCESS_DENIED ? "; does this user have the right to?" : "" ) );
}

std::string ValueTitle( const KeyPath& rPath, const std::string& aName )
{
    return ( aName.empty() ? "the default value" : "value \"" + aName + "\"" ) + " of " + rPath.GetTitle();
}

OpenedKey::OpenedKey( const KeyPath& rPath, REGSAM dwAccess ) : m_aPath( rPath )
{
    const LONG lError = RegOpenKeyExA( rPath.hRoot, rPath.aPath.c_str(), 0, dwAccess, &m_hKey );
    if ( lError != ERROR_SUCCESS )
        ThrowRegistryFailure( lError, rPath.GetTitle(), ( dwAccess & KEY_SET_VALUE ) != 0 );
}

OpenedKey OpenedKey::Make( const KeyPath& rPath )
{
    HKEY hKey = NULL;
    char szClass[] = "";
    const LONG lError =
        RegCreateKeyExA( rPath.hRoot, rPath.aPath.c_str(), 0, szClass, REG_OPTION_NON_VOLATILE,
                         KEY_QUERY_VALUE | KEY_SET_VALUE, NULL, &hKey, NULL );
    if ( lError != ERROR_SUCCESS )
        ThrowRegistryFailure( lError, rPath.GetTitle(), true );
    return OpenedKey( rPath, hKey );
}

void OpenedKey::Close()
{
    if ( m_hKey != NULL )
        RegCloseKey( m_hKey );
}

RegValue OpenedKey::Read( const std::string& aName ) const
{
    RegValue aValue;
    aValue.aName = aName;
    for ( ;; )
    {
        DWORD dwSize = 0;
        LONG lError = RegQueryValueExA( m_hKey, aName.c_str(), NULL, NULL, NULL, &dwSize );
        aValue.aBytes.resize( size_t( dwSize ) + 1 );
        if ( lError == ERROR_SUCCESS )
            lError = RegQueryValueExA( m_hKey, aName.c_str(), NULL, &aValue.dwType,
                                       reinterpret_cast<BYTE*>( aValue.aBytes.data() ), &dwSize );
        if ( lError == ERROR_MORE_DATA )
            continue;
        if ( lError != ERROR_SUCCESS )
            ThrowRegistryFailure( lError, ValueTitle( m_aPath, aName ), false );
        aValue.aBytes.resize( dwSize );
        return aValue;
    }
}

void OpenedKey::Set( const RegValue& rValue ) const
{
    // A zero right behind a text would be stored with it.
    const std::string aData = rValue.aBytes + '\1';
    const LONG lError = RegSetValueExA( m_hKey, rValue.aName.c_str(), 0, rValue.dwType,
                                        reinterpret_cast<const BYTE*>( aData.data() ),
                                        static_cast<DWORD>( rValue.aBytes.size() ) );
    if ( lError != ERROR_SUCCESS )
        ThrowRegistryFailure( lError, ValueTitle( m_aPath, rValue.aName ), true );
}

bool OpenedKey::Delete( const std::string& aName ) const
{
    const LONG lError = RegDeleteValueA( m_hKey, aName.c_str() );
    if ( lError != ERROR_SUCCESS && lError != ERROR_FILE_NOT_FOUND )
        ThrowRegistryFailure( lError, ValueTitle( m_aPath, aName ), true );
    return lError == ERROR_SUCCESS;
}

RegTree ReadTree( const KeyPath& rPath, TreeDepth aDepth )
{
    const OpenedKey aKey( rPath, KEY_READ );
    RegTree aTree;
    const LONG lError = FillTree( aKey.Get(), aTree, aDepth );
    if ( lError != ERROR_SUCCESS )
        ThrowRegistryFailure( lError, rPath.GetTitle(), false );
    return aTree;
}

bool NameUnread( const KeyPath& rPath, const RegTree& rTree )
{
    bool fAny = rTree.lError != ERROR_SUCCESS;
    if ( fAny )
    {
        const std::string aText = GetSystemText( static_cast<DWORD>( rTree.lError ) );
        SayNote( MakeVisible( FromSystemText( rPath.GetTitle() ) ) + " cannot be read: error " +
                 std::to_string( rTree.lError ) + ( aText.empty() ? "" : ", " + aText ) );
    }
    for ( const RegTree& rBelow : rTree.aKeys )
        fAny = NameUnread( rPath.GetBelow( rBelow.aName ), rBelow ) || fAny;
    return fAny;
}

TreeCount CountTree( const RegTree& rTree )
{
    TreeCount aCount = { rTree.aKeys.size(), rTree.aValues.size() };
    for ( const RegTree& rBelow : rTree.aKeys )
    {
        const TreeCount aBelow = CountTree( rBelow );
        aCount.nKeys += aBelow.nKeys;
        aCount.nValues += aBelow.nValues;
    }
    return aCount;
}

bool DeleteTree( const KeyPath& rPath )
{
    CRegistry aRegistry;
    if ( aRegistry.Connect( rPath.hRoot ) && aRegistry.Open( "", CRegistry::permissionRead ) &&
         aRegistry.DeleteKey( rPath.aPath.c_str() ) )
        return true;
    if ( !IsGone( aRegistry.GetErrorCode() ) )
        ThrowRegistryFailure( aRegistry.GetErrorCode(), rPath.GetTitle(), true );
    return false;
}

bool DeleteKeyAlone( const KeyPath& rPath )
{
    const LONG lError = RegDeleteKeyA( rPath.hRoot, rPath.aPath.c_str() );
    if ( lError != ERROR_SUCCESS && !IsGone( lError ) )
        ThrowRegistryFailure( lError, rPath.GetTitle(), true );
    return lError == ERROR_SUCCESS;
}
