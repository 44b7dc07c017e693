#include "tools/nls/project.h"

#include "tools/byteinput.h"
#include "tools/errors/displaytext.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <bxtools/errclient.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <tuple>

namespace
{

std::vector<std::string> FindLanguageFiles( const std::string& aFolder )
{
    const std::string aStart =
        aFolder + ( aFolder.ends_with( '/' ) || aFolder.ends_with( MYCH_DELIMDIR ) ? "" : "/" );
    std::vector<std::string> aPaths;
    try
    {
        for ( const auto& rEntry : std::filesystem::directory_iterator( ToPath( aFolder ) ) )
            if ( UpperCase( FromPath( rEntry.path().extension() ) ) == ".CSV" && !rEntry.is_directory() )
                aPaths.push_back( aStart + FromPath( rEntry.path().filename() ) );
    }
    catch ( const std::filesystem::filesystem_error& aError )
    {
        throw ToolFailure( ExitCode::Input,
                           "cannot read the folder " + aFolder + ": " + aError.code().message() );
    }
    if ( aPaths.empty() )
        throw ToolFailure( ExitCode::Input,
                           aFolder + " holds no language file: their names look like MODULE.CSV" );
    std::sort( aPaths.begin(), aPaths.end() );
    return aPaths;
}

// Errors are shown by their numbers; other keys are names.
bool IsErrorNumber( const std::string& aKey )
{
    const size_t nFirst = aKey.starts_with( '-' ) ? 1 : 0;
    return aKey.size() > nFirst && aKey.find_first_not_of( "0123456789", nFirst ) == std::string::npos;
}

size_t CountPlaces( std::string_view aText, std::string_view aToken )
{
    size_t nPlaces = 0;
    for ( size_t nAt = 0; ( nAt = aText.find( aToken, nAt ) ) != aText.npos; nAt += aToken.size() )
        nPlaces++;
    return nPlaces;
}

// A larger number would lead to another topic.
bool IsHelpTopic( std::string_view aText )
{
    HELP_ID usTopic = 0;
    const auto [pEnd, aError] = std::from_chars( aText.data(), aText.data() + aText.size(), usTopic );
    return aError == std::errc() && pEnd == aText.data() + aText.size();
}

// What can be said of texts only when all of them are known.
class ProjectChecker
{
public:
    ProjectChecker( Project& rProject, size_t nMaxKeyLength )
        : m_rProject( rProject ),
          m_nMaxKeyLength( nMaxKeyLength )
    {
    }

    void Check()
    {
        for ( const LanguageFile& rFile : m_rProject.aFiles )
            FindTokens( rFile );
        for ( const LanguageFile& rFile : m_rProject.aFiles )
        {
            CheckName( rFile );
            for ( const LanguageEntry& rEntry : rFile.aEntries )
            {
                CheckKey( rFile, rEntry );
                if ( IsErrorNumber( rEntry.aKey ) )
                    CheckErrorTexts( rFile, rEntry );
            }
        }
    }

private:
    void Add( const LanguageFile& rFile, const Place& rPlace, const std::string& aText )
    {
        m_rProject.aFindings.push_back( { rFile.aPath, rPlace, aText } );
    }

    // The project may name a replace token of its own for each language.
    void FindTokens( const LanguageFile& rFile )
    {
        if ( UpperCase( rFile.aModule ) != "BXCOMMON" )
            return;
        for ( const LanguageEntry& rEntry : rFile.aEntries )
            if ( UpperCase( rEntry.aGroup ) == "NLSCOMMONERROR" &&
                 UpperCase( rEntry.aKey ) == "MSG_REPLACE_TOKEN" )
                for ( size_t i = 0; i < rFile.aLanguages.size(); i++ )
                    if ( !rEntry.aTexts[i].aText.empty() )
                        m_aTokens.emplace( rFile.aLanguages[i].nCode, rEntry.aTexts[i].aText );
    }

    void CheckName( const LanguageFile& rFile )
    {
        const std::string aName = FromPath( ToPath( rFile.aPath ).filename() );
        if ( aName != UpperCase( aName ) )
            Add( rFile, {}, "programs do not find this file: they look for " + UpperCase( aName ) );
        if ( rFile.aModule.find( '.' ) != std::string::npos )
            Add( rFile, {},
                 "programs do not find this file: the name of a section has one dot, between file and "
                 "group" );
    }

    void CheckKey( const LanguageFile& rFile, const LanguageEntry& rEntry )
    {
        const std::string aKey = UpperCase( rFile.aModule + "." + rEntry.aGroup + rEntry.aKey );
        if ( m_nMaxKeyLength != 0 && aKey.size() > m_nMaxKeyLength )
            Add( rFile, rEntry.aPlace,
                 "key " + Quoted( aKey ) + " has " + std::to_string( aKey.size() ) +
                     " bytes; the longest that fits has " + std::to_string( m_nMaxKeyLength ) );
        const auto [aOther, fNew] =
            m_aKeys.emplace( aKey, rFile.aPath + ":" + std::to_string( rEntry.aPlace.nLine ) );
        if ( !fNew )
            Add( rFile, rEntry.aPlace,
                 "section and key together are " + Quoted( aKey ) + ", as those of " + aOther->second +
                     ": the release file holds one of them" );
    }

    void CheckErrorTexts( const LanguageFile& rFile, const LanguageEntry& rEntry )
    {
        size_t nFirst = std::string::npos;
        size_t nPlacesOfFirst = 0;
        for ( size_t i = 0; i < rFile.aLanguages.size(); i++ )
        {
            const Cell& rText = rEntry.aTexts[i];
            if ( rText.aText.empty() )
                continue;
            CheckHelp( rFile, rText );
            const auto aToken = m_aTokens.find( rFile.aLanguages[i].nCode );
            const size_t nPlaces = CountPlaces(
                rText.aText, aToken == m_aTokens.end() ? "%" : std::string_view( aToken->second ) );
            if ( nFirst == std::string::npos )
            {
                nFirst = i;
                nPlacesOfFirst = nPlaces;
            }
            else if ( nPlaces != nPlacesOfFirst )
                Add( rFile, rText.aPlace,
                     "places for parameters: " + std::to_string( nPlaces ) + " here, " +
                         std::to_string( nPlacesOfFirst ) + " in the text for language " +
                         CodeText( rFile.aLanguages[nFirst].nCode ) );
        }
    }

    // "[help file;topic]"
    void CheckHelp( const LanguageFile& rFile, const Cell& rText )
    {
        const std::string_view aText = rText.aText;
        const size_t nStart = aText.find( '[' );
        if ( nStart == aText.npos )
            return;
        const size_t nEnd = aText.find( ']', nStart );
        if ( nEnd == aText.npos )
            return Add( rFile, rText.aPlace,
                        "the bracket begins a help section and is not closed: this error cannot be "
                        "translated" );
        const std::string_view aInner = aText.substr( nStart + 1, nEnd - nStart - 1 );
        const size_t nSemicolon = aInner.find( ';' );
        if ( nSemicolon == aInner.npos || !IsHelpTopic( aInner.substr( nSemicolon + 1 ) ) )
            Add( rFile, rText.aPlace,
                 Quoted( aText.substr( nStart, nEnd - nStart + 1 ) ) +
                     " is no help section, and is cut out: it looks like [help file;topic], with a "
                     "number up to 65535 as topic" );
    }

    Project& m_rProject;
    const size_t m_nMaxKeyLength;
    std::map<int, std::string> m_aTokens;
    std::map<std::string, std::string> m_aKeys; // and where each was met first
};

} // namespace

Project ReadProject( const std::vector<std::string>& aFolders, size_t nMaxKeyLength )
{
    Project aProject;
    for ( const std::string& rFolder : aFolders )
        for ( const std::string& rPath : FindLanguageFiles( rFolder ) )
            aProject.aFiles.push_back( ParseLanguageFile( rPath, ReadInput( rPath ), aProject.aFindings ) );
    ProjectChecker( aProject, nMaxKeyLength ).Check();
    std::map<std::string, size_t> aOrder;
    for ( const LanguageFile& rFile : aProject.aFiles )
        aOrder.emplace( rFile.aPath, aOrder.size() );
    std::stable_sort( aProject.aFindings.begin(), aProject.aFindings.end(),
                      [&]( const Finding& rLeft, const Finding& rRight )
                      {
                          return std::tuple( aOrder[rLeft.aFile], rLeft.aPlace.nLine, rLeft.aPlace.nColumn ) <
                                 std::tuple( aOrder[rRight.aFile], rRight.aPlace.nLine,
                                             rRight.aPlace.nColumn );
                      } );
    return aProject;
}

std::string MakeReleaseKey( int nCode, const std::string& aSection, const std::string& aKey )
{
    return CodeText( nCode ) + UpperCase( aSection ) + UpperCase( aKey );
}

std::vector<ReleasePair> MakeReleasePairs( const Project& rProject )
{
    std::vector<ReleasePair> aPairs;
    for ( const LanguageFile& rFile : rProject.aFiles )
        for ( const LanguageEntry& rEntry : rFile.aEntries )
            for ( size_t i = 0; i < rFile.aLanguages.size(); i++ )
                if ( rFile.aLanguages[i].nCode != NO_LANGUAGE && !rEntry.aTexts[i].aText.empty() )
                    aPairs.push_back( { MakeReleaseKey( rFile.aLanguages[i].nCode,
                                                        rFile.aModule + "." + rEntry.aGroup, rEntry.aKey ),
                                        rEntry.aTexts[i].aText } );
    const auto HasSmallerKey = []( const ReleasePair& rLeft, const ReleasePair& rRight )
    { return rLeft.aKey < rRight.aKey; };
    std::stable_sort( aPairs.begin(), aPairs.end(), HasSmallerKey );
    const auto aEnd = std::unique( aPairs.begin(), aPairs.end(),
                                   []( const ReleasePair& rLeft, const ReleasePair& rRight )
                                   { return rLeft.aKey == rRight.aKey; } );
    aPairs.erase( aEnd, aPairs.end() );
    return aPairs;
}
