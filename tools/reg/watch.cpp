#include "core/guards.h"
#include "tools/errors/displaytext.h"
#include "tools/reg/commands.h"
#include "tools/reg/regaccess.h"
#include "tools/reg/valuetext.h"
#include "tools/systemtext.h"
#include "tools/talk.h"

#include <map>
#include <memory>
#include <optional>

namespace
{

constexpr char EXAMPLES[] =
    "Prints a line for each key and value that was added, changed or removed, as it happens,\n"
    "until Ctrl-C. What changes twice between two looks is one change. Exit code 1: there is\n"
    "no such key, or it was deleted meanwhile.\n\n"
    "Examples:\n"
    "  bxtool reg watch HKLM/Software/Company --subtree\n"
    "  bxtool reg watch HKLM/Software/Company --once && systemctl reload product\n";

struct WatchOptions
{
    std::string aKey;
    bool fSubtree = false;
    bool fOnce = false;
};

// What there is, in the order in which it is printed: keys by their titles, and values of a key behind it.
using Snapshot = std::map<std::pair<std::string, std::optional<std::string>>, RegValue>;

void AddTree( Snapshot& rSnapshot, const KeyPath& rPath, const RegTree& rTree )
{
    const std::string aTitle = rPath.GetTitle();
    rSnapshot[{ aTitle, std::nullopt }];
    for ( const RegValue& rValue : rTree.aValues )
        rSnapshot[{ aTitle, rValue.aName }] = rValue;
    for ( const RegTree& rBelow : rTree.aKeys )
        AddTree( rSnapshot, rPath.GetBelow( rBelow.aName ), rBelow );
}

Snapshot TakeSnapshot( const KeyPath& rPath, bool fSubtree )
{
    Snapshot aSnapshot;
    AddTree( aSnapshot, rPath, ReadTree( rPath, fSubtree ? TreeDepth::AllBelow : TreeDepth::NamesBelow ) );
    return aSnapshot;
}

void Print( const char* pWhat, const Snapshot::value_type& rEntry, bool fWithData )
{
    const auto& [aPlace, rValue] = rEntry;
    const std::string aLine = !aPlace.second ? ""
                              : fWithData    ? ": " + GetValueLine( rValue )
                                             : ": " + GetValueName( rValue );
    WriteOutput( pWhat + MakeVisible( FromSystemText( aPlace.first ) ) + aLine + "\n" );
}

// Result: whether there was a difference to print.
bool PrintDifferences( const Snapshot& rBefore, const Snapshot& rAfter )
{
    bool fAny = false;
    for ( const auto& rEntry : rBefore )
        if ( !rAfter.contains( rEntry.first ) )
        {
            fAny = true;
            Print( "removed ", rEntry, false );
        }
    for ( const auto& rEntry : rAfter )
    {
        const auto pBefore = rBefore.find( rEntry.first );
        if ( pBefore != rBefore.end() && pBefore->second == rEntry.second )
            continue;
        fAny = true;
        Print( pBefore == rBefore.end() ? "added   " : "changed ", rEntry, true );
    }
    FinishOutput();
    return fAny;
}

void Arm( const OpenedKey& rKey, const KeyPath& rPath, const KernelHandle& rEvent, bool fSubtree )
{
    const LONG lError = RegNotifyChangeKeyValue(
        rKey.Get(), fSubtree, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET, rEvent.Get(), TRUE );
    if ( lError != ERROR_SUCCESS )
        ThrowRegistryFailure( lError, rPath.GetTitle(), false );
}

ExitCode Watch( const WatchOptions& rOptions )
{
    const KeyPath aPath = ParseKeyPath( rOptions.aKey );
    const OpenedKey aKey( aPath, KEY_READ );
    const KernelHandle aEvent( CreateEventA( NULL, FALSE, FALSE, NULL ) );
    if ( !aEvent )
        ThrowRegistryFailure( static_cast<LONG>( GetLastError() ), aPath.GetTitle(), false );
    // Each look comes after the event is armed, so that what changes behind it is noticed.
    Arm( aKey, aPath, aEvent, rOptions.fSubtree );
    Snapshot aBefore = TakeSnapshot( aPath, rOptions.fSubtree );
    SayNote( "watching " + aPath.GetTitle() + "; Ctrl-C ends it" );
    for ( bool fDone = false; !fDone; )
    {
        if ( WaitForSingleObject( aEvent.Get(), INFINITE ) != WAIT_OBJECT_0 )
            ThrowRegistryFailure( static_cast<LONG>( GetLastError() ), aPath.GetTitle(), false );
        Arm( aKey, aPath, aEvent, rOptions.fSubtree );
        Snapshot aAfter = TakeSnapshot( aPath, rOptions.fSubtree );
        fDone = PrintDifferences( aBefore, aAfter ) && rOptions.fOnce;
        aBefore = std::move( aAfter );
    }
    return ExitCode::Ok;
}

} // namespace

void AddRegWatchCommand( Command aFamily, ExitCode& rExitCode )
{
    const Command aCommand = aFamily.AddSubcommand( "watch", "Print changes of a key as they happen" );
    aCommand.SetFooter( EXAMPLES );
    auto pOptions = std::make_shared<WatchOptions>();
    aCommand.AddWord( "KEY", pOptions->aKey, "The key" );
    aCommand.AddFlag( "--subtree", pOptions->fSubtree, "Watch everything below the key, too" );
    aCommand.AddFlag( "--once", pOptions->fOnce, "End after the first change" );
    aCommand.SetAction( [pOptions, &rExitCode] { rExitCode = Watch( *pOptions ); } );
}
