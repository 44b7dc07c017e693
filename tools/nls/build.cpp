// bxtool nls build.
#include "tools/errors/displaytext.h"
#include "tools/jsonline.h"
#include "tools/nls/commands.h"
#include "tools/nls/project.h"
#include "tools/nls/releasefile.h"
#include "tools/talk.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <set>

namespace
{

constexpr char EXAMPLES[] =
    "Makes the file that programs read: all texts of all languages. The new file replaces the old one\n"
    "when it is complete and has been read again; until then programs read the old one, also when the\n"
    "building is stopped half-way. Language files with faults are refused.\n"
    "The entry my_unique_nlsfile_version tells which texts a file holds.\n\n"
    "Examples:\n"
    "  bxtool nls build texts product.nls\n"
    "  bxtool nls build texts more-texts product.nls --file-version 4.1.2\n";

struct BuildOptions
{
    std::vector<std::string> aNames; // of the folders, and of the file
    size_t nKeyLength = 0;
    std::string aVersion;
    bool fForce = false;
    bool fJson = false;
};

// Equal texts have equal versions (64-bit FNV-1a).
std::string VersionOf( const std::vector<ReleasePair>& rPairs )
{
    uint64_t uSum = 0xCBF29CE484222325u;
    const auto Add = [&]( const std::string& aText )
    {
        // With the zero behind it, which divides one text from the next.
        for ( size_t i = 0; i <= aText.size(); i++ )
            uSum = ( uSum ^ static_cast<unsigned char>( aText.c_str()[i] ) ) * 0x100000001B3u;
    };
    for ( const ReleasePair& rPair : rPairs )
    {
        Add( rPair.aKey );
        Add( rPair.aValue );
    }
    char szVersion[17];
    snprintf( szVersion, sizeof( szVersion ), "%016llx", static_cast<unsigned long long>( uSum ) );
    return szVersion;
}

void RefuseFaults( const Project& rProject, bool fForce )
{
    for ( const Finding& rFinding : rProject.aFindings )
        SayError( DescribeFinding( rFinding ) );
    if ( !rProject.aFindings.empty() && !fForce )
        throw ToolFailure( ExitCode::Input, "nothing was built: the language files have faults (" +
                                                std::to_string( rProject.aFindings.size() ) +
                                                "); --force builds what can be read of them" );
}

ExitCode Build( const BuildOptions& rOptions )
{
    const std::string& rFile = rOptions.aNames.back();
    const Project aProject =
        ReadProject( { rOptions.aNames.begin(), rOptions.aNames.end() - 1 }, rOptions.nKeyLength );
    RefuseFaults( aProject, rOptions.fForce );
    std::vector<ReleasePair> aPairs = MakeReleasePairs( aProject );
    const size_t nTexts = aPairs.size();
    const std::string aVersion = rOptions.aVersion.empty() ? VersionOf( aPairs ) : rOptions.aVersion;
    aPairs.push_back( { RELEASE_FILE_VERSION_KEY, aVersion } );
    WriteReleaseFile( rFile, aPairs, rOptions.nKeyLength );

    std::set<int> aLanguages;
    for ( const LanguageFile& rLanguageFile : aProject.aFiles )
        for ( const Language& rLanguage : rLanguageFile.aLanguages )
            if ( rLanguage.nCode != NO_LANGUAGE )
                aLanguages.insert( rLanguage.nCode );
    if ( rOptions.fJson )
        WriteOutput( JsonLine( { { "file", rFile },
                                 { "texts", nTexts },
                                 { "languages", Json::ArrayOf( aLanguages ) },
                                 { "version", aVersion } } ) );
    else
    {
        std::string aCodes;
        for ( int nCode : aLanguages )
            aCodes += ( aCodes.empty() ? "" : ", " ) + std::to_string( nCode );
        WriteOutput( MakeVisible( rFile ) + ": " + std::to_string( nTexts ) + " texts, languages " + aCodes +
                     ", version " + aVersion + "\n" );
    }
    return aProject.aFindings.empty() ? ExitCode::Ok : ExitCode::Broken;
}

} // namespace

void AddNlsBuildCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "build", "Make a release file from language files" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<BuildOptions>();
    aCommand
        .AddWord( "DIR FILE", pOptions->aNames,
                  "The folder of the language files, or several, and at last the release file" )
        .AtLeast( 2 );
    aCommand.AddOption( "--file-version", pOptions->aVersion,
                        "What the version entry says; nothing: a checksum of the texts" );
    aCommand
        .AddOption( "--key-length", pOptions->nKeyLength,
                    "The longest FILE.GROUPKEY that is right, in bytes; nothing: any" )
        .InRange( 1, 0xFFFF );
    aCommand.AddFlag( "--force", pOptions->fForce, "Build what can be read of language files with faults" );
    aCommand.AddFlag( "--json", pOptions->fJson, "Print JSON instead" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Build( *pOptions ); } );
}
