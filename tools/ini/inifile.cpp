#include "tools/ini/inifile.h"

#include "tools/errors/decodedrecord.h"
#include "tools/errors/displaytext.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <set>

namespace
{

constexpr char LINE_ENDS[] = "\r\n";
constexpr char BLANKS[] = " \t\v\f";

std::string FullPath( const std::string& aName )
{
    std::string aPath( GetFullPathNameA( aName.c_str(), 0, NULL, NULL ), '\0' );
    const DWORD dwLength =
        GetFullPathNameA( aName.c_str(), static_cast<DWORD>( aPath.size() ), aPath.data(), NULL );
    if ( dwLength == 0 || dwLength >= aPath.size() )
        throw ToolFailure( ExitCode::Usage, "\"" + MakeVisible( aName ) + "\" is no file's name" );
    aPath.resize( dwLength );
    return aPath;
}

[[noreturn]] void ThrowFailure( ExitCode aCode, const std::string& aWhat, DWORD dwError )
{
    const std::string aText = GetSystemText( dwError );
    throw ToolFailure(
        aCode,
        aWhat + ": error " + std::to_string( dwError ) + ( aText.empty() ? "" : ", " + aText ) +
            ( dwError == ERROR_ACCESS_DENIED ? " Is it a file, and has this user the right to?" : "" ) );
}

// Some systems call a missing key a missing file.
bool IsMissingKey( DWORD dwError, const std::string& aPath )
{
    std::error_code aIgnored;
    return dwError == ERROR_FILE_NOT_FOUND && std::filesystem::is_regular_file( ToPath( aPath ), aIgnored );
}

void RefuseName( const char* pKind, const std::string& aName, const char* pFirst, const char* pAnywhere )
{
    const size_t nFirst = aName.find_first_not_of( BLANKS );
    if ( nFirst != aName.npos && aName.find_first_of( pFirst, nFirst ) != nFirst &&
         aName.find_first_of( pAnywhere ) == aName.npos )
        return;
    throw ToolFailure( ExitCode::Usage,
                       "\"" + MakeVisible( aName ) + "\" cannot be a " + pKind +
                           "'s name: it is empty, or has characters that mean something else" );
}

// With quotes around what would not survive without.
std::string Protected( const std::string& aValue )
{
    if ( aValue.empty() )
        return aValue;
    const std::string aEnds = { aValue.front(), aValue.back() };
    const bool fQuoted = aValue.size() > 1 && ( aEnds == "\"\"" || aEnds == "''" );
    return fQuoted || aEnds.find_first_of( BLANKS ) != aEnds.npos ? "\"" + aValue + "\"" : aValue;
}

} // namespace

std::string Folded( std::string aName )
{
    for ( char& rChar : aName )
        rChar = static_cast<char>( rChar >= 'A' && rChar <= 'Z' ? rChar + ( 'a' - 'A' ) : rChar );
    return aName;
}

bool AreEqualNames( const std::string& aLeft, const std::string& aRight )
{
    return Folded( aLeft ) == Folded( aRight );
}

IniFile::IniFile( const std::string& aName ) : m_aName( aName ), m_aPath( FullPath( aName ) ) {}

std::string IniFile::TitleOf( const std::string& aGroup ) const
{
    return MakeVisible( "[" + aGroup + "] of " + m_aName );
}

std::string IniFile::TitleOf( const std::string& aGroup, const std::string& aKey ) const
{
    return MakeVisible( "[" + aGroup + "] " + aKey + " of " + m_aName );
}

// The answer of the system's call, which is nMissing bytes short of the room when it was cut.
std::string IniFile::ReadRaw( const char* pGroup, const char* pKey, const char* pDefault,
                              size_t nMissing ) const
{
    constexpr size_t FIRST_ROOM = 4096;
    for ( std::string aAnswer( FIRST_ROOM, '\0' );; aAnswer.resize( aAnswer.size() * 2 ) )
    {
        SetLastError( ERROR_SUCCESS );
        const DWORD dwLength = GetPrivateProfileStringA(
            pGroup, pKey, pDefault, aAnswer.data(), static_cast<DWORD>( aAnswer.size() ), m_aPath.c_str() );
        const DWORD dwError = GetLastError();
        if ( dwError != ERROR_SUCCESS && dwError != ERROR_MORE_DATA && !IsMissingKey( dwError, m_aPath ) )
            ThrowFailure( ExitCode::Input, "cannot read " + m_aName, dwError );
        if ( dwLength + nMissing >= aAnswer.size() )
            continue;
        aAnswer.resize( dwLength );
        return aAnswer;
    }
}

std::optional<std::string> IniFile::Read( const std::string& aGroup, const std::string& aKey ) const
{
    // What comes back as either default was not there.
    const std::string aValue = ReadRaw( aGroup.c_str(), aKey.c_str(), "1", 1 );
    if ( aValue == "1" && ReadRaw( aGroup.c_str(), aKey.c_str(), "2", 1 ) == "2" )
        return std::nullopt;
    return aValue;
}

std::vector<std::string> IniFile::ReadList( const char* pGroup ) const
{
    const std::string aAnswer = ReadRaw( pGroup, NULL, "", 2 );
    std::vector<std::string> aNames;
    std::set<std::string> aSeen;
    for ( size_t nBegin = 0; nBegin < aAnswer.size(); )
    {
        const size_t nEnd = std::min( aAnswer.find( '\0', nBegin ), aAnswer.size() );
        const std::string aName = aAnswer.substr( nBegin, nEnd - nBegin );
        if ( !aName.empty() && aSeen.insert( Folded( aName ) ).second )
            aNames.push_back( aName );
        nBegin = nEnd + 1;
    }
    return aNames;
}

std::vector<std::string> IniFile::GetKeys( const std::string& aGroup ) const
{
    return ReadList( aGroup.c_str() );
}

std::vector<std::string> IniFile::GetGroups() const
{
    return ReadList( NULL );
}

bool IniFile::HasGroup( const std::string& aGroup ) const
{
    const std::vector<std::string> aGroups = GetGroups();
    return std::any_of( aGroups.begin(), aGroups.end(),
                        [&]( const std::string& rName ) { return AreEqualNames( rName, aGroup ); } );
}

void IniFile::Write( const char* pGroup, const char* pKey, const char* pValue ) const
{
    if ( !WritePrivateProfileStringA( pGroup, pKey, pValue, m_aPath.c_str() ) )
        ThrowFailure( ExitCode::Output, "cannot change " + m_aName, GetLastError() );
}

void IniFile::Set( const std::string& aGroup, const std::string& aKey, const std::string& aValue ) const
{
    RefuseName( "group", aGroup, "", LINE_ENDS );
    RefuseName( "key", aKey, "[;", "=\r\n" );
    if ( aValue.find_first_of( LINE_ENDS ) != aValue.npos )
        throw ToolFailure( ExitCode::Usage, "a value is one line; this one has a line end" );
    Write( aGroup.c_str(), aKey.c_str(), Protected( aValue ).c_str() );
}

void IniFile::DeleteKey( const std::string& aGroup, const std::string& aKey ) const
{
    Write( aGroup.c_str(), aKey.c_str(), NULL );
}

void IniFile::DeleteGroup( const std::string& aGroup ) const
{
    Write( aGroup.c_str(), NULL, NULL );
}
