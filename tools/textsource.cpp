#include "tools/textsource.h"

#include "tools/errors/bytes.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <bxtools/nlsserver.h>
#include <bxtools/platform.h>

void UseTexts( const std::string& aPath, int nLanguage )
{
    // A folder's name that is longer is not taken.
    constexpr size_t LONGEST_FOLDER = 259;
    std::error_code aNone;
    const bool fFolder = std::filesystem::is_directory( ToPath( aPath ), aNone );
    if ( !fFolder && !std::filesystem::exists( ToPath( aPath ), aNone ) )
        throw ToolFailure( ExitCode::Input, "cannot read " + aPath + ": there is no such file or folder" );
    const std::string aWhole = FromPath( std::filesystem::absolute( ToPath( aPath ) ) );
    if ( fFolder && aWhole.size() > LONGEST_FOLDER )
        throw ToolFailure( ExitCode::Input,
                           "cannot read " + aWhole +
                               ": the name has more than 259 characters; build a release file" );
    NlsSettings aSettings;
    aSettings.fEditMode = fFolder;
    ( fFolder ? aSettings.stLanguagePath : aSettings.stReleaseFile ) = ToMString( aWhole );
    aSettings.usCountryCode = static_cast<USHORT>( nLanguage );
    SetNlsSettings( &aSettings );
    if ( !NLSServer( 0, NULL ).IsStatusOk() )
        throw ToolFailure( ExitCode::Input, aPath +
                                                " is no release file, or one that this user may not read and "
                                                "write, as programs want it" );
}

std::optional<std::string> FindOwnTexts()
{
    char szProgram[4096] = "";
    GetModuleFileNameA( NULL, szProgram, sizeof( szProgram ) );
    const std::filesystem::path aFolder =
        ToPath( szProgram ).parent_path().parent_path() / "share" / "bxtools" / "nls";
    std::error_code aNone;
    if ( !std::filesystem::is_directory( aFolder, aNone ) )
        return std::nullopt;
    return FromPath( aFolder );
}
