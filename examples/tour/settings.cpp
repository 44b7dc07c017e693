#include "examples/tour/settings.h"

#include <bxtools/config.h>
#include <bxtools/sync.h>

#include <filesystem>

namespace
{

// A name without a folder would be one in the system's folder.
MConfig OpenSettings()
{
    return MConfig( std::filesystem::absolute( SETTINGS_FILE ).string().c_str(), TRUE, FALSE );
}

} // namespace

bool EditSettings( const MString& rEditor )
{
    MConfig aSettings = OpenSettings();
    for ( int nEdit = 1; nEdit <= EDITS_OF_EACH; nEdit++ )
    {
        // Each call finds and leaves the file whole; that nobody writes between a read and a write is up to the lock.
        HANDLE hLock = NULL;
        if ( !EnterInterProcessCriticalSection( "bxtour.settings", &hLock ) )
            return false;
        aSettings.SetGroup( "Edits" );
        const int nCounted = aSettings.ReadKey( "Count", "0" );
        aSettings.WriteKey( "Count", nCounted + 1 );
        aSettings.SetGroup( "Editors" );
        aSettings.WriteKey( rEditor + " " + MString( nEdit ), nCounted + 1 );
        ReleaseInterProcessCriticalSection( hLock );
    }
    return true;
}

SettingsSum SumSettings()
{
    MConfig aSettings = OpenSettings();
    aSettings.SetGroup( "Edits" );
    const int nCounted = aSettings.ReadKey( "Count", "0" );
    aSettings.SetGroup( "Editors" );
    return { nCounted, aSettings.GetKeyCount() };
}
