#include "diag/debugsettings.h"
#include "tools/debug/commands.h"
#include "tools/errors/decodedrecord.h"
#include "tools/errors/displaytext.h"
#include "tools/talk.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <array>
#include <iterator>
#include <memory>
#include <string_view>

namespace
{

constexpr ULONG LEVEL_BITS[] = { 0x1, 0x10, 0x100, 0x1000, 0x10000 };
constexpr size_t MOST_LEVEL_ITEMS = 5;

// ---- the settings in the registry -------------------------------------------------------------------------------

[[noreturn]] void ThrowRegistryFailure( const char* pWhat, CRegistry& rRegistry )
{
    const DWORD dwError = static_cast<DWORD>( rRegistry.GetErrorCode() );
    throw ToolFailure( ExitCode::Output, std::string( pWhat ) + " HKEY_LOCAL_MACHINE\\" + DEBUG_SETTINGS_KEY +
                                             ": error " + std::to_string( dwError ) + ", " +
                                             GetSystemText( dwError ) );
}

void ConnectMachine( CRegistry& rRegistry )
{
    if ( !rRegistry.Connect( (HKEY)CRegistry::keyLocalMachine ) )
        ThrowRegistryFailure( "cannot reach", rRegistry );
}

// Sets one of the two values; the other one gets its default where it is missing, so that the settings are whole.
void StoreSetting( LPCTSTR pName, LPCTSTR pValue )
{
    CRegistry aRegistry;
    ConnectMachine( aRegistry );
    if ( !aRegistry.Create( DEBUG_SETTINGS_KEY ) )
        ThrowRegistryFailure( "cannot make the key", aRegistry );
    constexpr LPCTSTR DEFAULTS[][2] = { { QRN_CTRL_REG_DBG_OUT, "Yes" }, { QRN_CTRL_REG_DBG_LEVEL, "0" } };
    for ( const auto& rDefault : DEFAULTS )
    {
        MString aValue;
        const bool fMissing = !aRegistry.GetValue( rDefault[0], aValue );
        const bool fWanted = std::string_view( pName ) == rDefault[0];
        if ( ( fMissing || fWanted ) &&
             !aRegistry.SetValue( rDefault[0], MString( fWanted ? pValue : rDefault[1] ) ) )
            ThrowRegistryFailure( "cannot write to", aRegistry );
    }
    OnGlobalValuesChanged();
}

// ---- commands ---------------------------------------------------------------------------------------------------

std::string DescribeLevels()
{
    std::string aLevels;
    for ( size_t i = 0; i < std::size( LEVEL_BITS ); i++ )
        if ( internalIsDbgMessageLevel( LEVEL_BITS[i] ) )
            aLevels += ( aLevels.empty() ? "" : ";" ) + std::to_string( i + 1 );
    return aLevels;
}

// What the settings say; "-" for a value that is missing, and the error of one that cannot be read.
std::string ReadSetting( LPCTSTR pName )
{
    CRegistry aRegistry;
    MString aValue;
    const bool fRead = aRegistry.Connect( (HKEY)CRegistry::keyLocalMachine ) &&
                       aRegistry.Open( DEBUG_SETTINGS_KEY, CRegistry::permissionRead ) &&
                       aRegistry.GetValue( pName, aValue );
    if ( fRead )
        return MakeVisible( aValue.data() );
    const int nError = aRegistry.GetErrorCode();
    return nError == ERROR_FILE_NOT_FOUND ? "-" : "(error " + std::to_string( nError ) + ")";
}

ExitCode ShowStatus( bool fJson )
{
    const std::string aLevels = DescribeLevels();
    const char* pOn = IsDbgMessage() ? "on" : "off";
    if ( fJson )
        WriteOutput( std::string( "{\"on\":" ) + ( IsDbgMessage() ? "true" : "false" ) + ",\"levels\":\"" +
                     aLevels + "\"}\n" );
    else
        WriteOutput( std::string( "messages  " ) + pOn + "\nlevels    " +
                     ( aLevels.empty() ? "none" : aLevels ) +
                     "\nsettings  Out = " + ReadSetting( QRN_CTRL_REG_DBG_OUT ) +
                     ", Level = " + ReadSetting( QRN_CTRL_REG_DBG_LEVEL ) + "\n" );
    return ExitCode::Ok;
}

// An empty text when the list can be stored, else what is wrong with it.
std::string CheckLevels( const std::string& aLevels )
{
    size_t nItems = 0;
    for ( size_t nStart = 0; nStart <= aLevels.size(); nItems++ )
    {
        const size_t nEnd = std::min( aLevels.find( ';', nStart ), aLevels.size() );
        const std::string aItem = aLevels.substr( nStart, nEnd - nStart );
        if ( aItem != "all" && ( aItem.size() != 1 || aItem[0] < '1' || aItem[0] > '5' ) && aLevels != "0" )
            return "\"" + aItem +
                   "\" is no level; give 0 for none, all, or up to five of 1 to 5 divided by \";\"";
        nStart = nEnd + 1;
    }
    return nItems > MOST_LEVEL_ITEMS ? "only five levels are read from the list" : "";
}

void AddSwitchCommand( Command aFamily, ExitCode& rExitCode, const char* pName, const char* pHelp,
                       LPCTSTR pValue )
{
    const Command aCommand = aFamily.AddSubcommand( pName, pHelp );
    aCommand.SetFooter( std::string( "Examples:\n  bxtool debug " ) + pName + "\n" );
    aCommand.SetAction(
        [pValue, &rExitCode]
        {
            StoreSetting( QRN_CTRL_REG_DBG_OUT, pValue );
            rExitCode = ExitCode::Ok;
        } );
}

} // namespace

void AddStatusCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand =
        aFamily.AddSubcommand( "status", "Tell whether messages are written, and the levels" );
    aCommand.SetFooter( "Examples:\n  bxtool debug status\n" );
    auto pJson = std::make_shared<bool>( false );
    aCommand.AddFlag( "--json", *pJson, "Print JSON instead" );
    aCommand.SetAction( [pJson, &rExitCode] { rExitCode = ShowStatus( *pJson ); } );
}

void AddOnCommand( Command aFamily, ExitCode& rExitCode )
{
    AddSwitchCommand( aFamily, rExitCode, "on", "Have messages written, by all processes at once", "Yes" );
}

void AddOffCommand( Command aFamily, ExitCode& rExitCode )
{
    AddSwitchCommand( aFamily, rExitCode, "off", "Have no messages written, by all processes at once", "No" );
}

void AddLevelCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand =
        aFamily.AddSubcommand( "level", "Set the wanted levels, for all processes at once" );
    aCommand.SetFooter(
        "Examples:\n  bxtool debug level \"1;3\"\n  bxtool debug level all\n  bxtool debug level 0\n" );
    auto pLevels = std::make_shared<std::string>();
    aCommand.AddOption( "LIST", *pLevels, "0, all, or up to five of 1 to 5 divided by ;" )
        .Required()
        .CheckedBy( CheckLevels );
    aCommand.SetAction(
        [pLevels, &rExitCode]
        {
            StoreSetting( QRN_CTRL_REG_DBG_LEVEL, pLevels->c_str() );
            rExitCode = ExitCode::Ok;
        } );
}

void AddSendCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "send", "Write a message as programs do" );
    aCommand.SetFooter( "The exit code is 1 where messages are switched off.\n\n"
                        "Examples:\n  bxtool debug send \"night run begins\"\n" );
    auto pText = std::make_shared<std::string>();
    aCommand.AddOption( "TEXT", *pText, "The message" ).Required();
    aCommand.SetAction(
        [pText, &rExitCode]
        {
            DebugMessage( "bxtool", NULL, pText->c_str() );
            rExitCode = IsDbgMessage() ? ExitCode::Ok : ExitCode::No;
        } );
}
