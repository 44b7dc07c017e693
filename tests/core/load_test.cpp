// A program that loads the library at run time: whatever the order in which threads use it, threads end and the library
// goes, nothing crashes; and where it can go, it leaves nothing behind.
#include "core/loadedlibrary.h"
#include "diag/debugsettings.h"
#include "support/leftovers.h"
#include "support/recorder.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

namespace
{

constexpr int ROLE_DONE = 7;

typedef BOOL( DLL_EXPORT* CountErrorsFunc )( ULONG* pulCount );
typedef BOOL( DLL_EXPORT* LastCallFunc )();

// A call that needs an object of the calling thread.
bool UseLibrary( LoadedBXTools hLibrary )
{
    const auto pCountErrors =
        reinterpret_cast<CountErrorsFunc>( FindBXToolsFunction( hLibrary, "C_GetAvailableErrorCount" ) );
    ULONG ulCount = 1;
    return pCountErrors != NULL && pCountErrors( &ulCount ) && ulCount == 0;
}

bool MakeLastCall( LoadedBXTools hLibrary )
{
    const auto pLastCall =
        reinterpret_cast<LastCallFunc>( FindBXToolsFunction( hLibrary, "_Z15LastFuntionCallv" ) );
    return pLastCall != NULL && pLastCall();
}

// Which of its steps a role has reached.
std::atomic<int> g_nStep{ 0 };

void Await( int nStep )
{
    while ( g_nStep < nStep )
        std::this_thread::yield();
}

// Without its settings the library reports, whenever it is loaded, that they are missing.
void StoreDebugSettings()
{
    const LoadedBXTools hLibrary = LoadBXTools();
    const auto pCreateKey =
        reinterpret_cast<decltype( &RegCreateKeyExA )>( FindRegistryFunction( hLibrary, "RegCreateKeyExA" ) );
    const auto pSetValue =
        reinterpret_cast<decltype( &RegSetValueExA )>( FindRegistryFunction( hLibrary, "RegSetValueExA" ) );
    const auto pCloseKey =
        reinterpret_cast<decltype( &RegCloseKey )>( FindRegistryFunction( hLibrary, "RegCloseKey" ) );
    HKEY hKey = NULL;
    EXPECT_EQ( ERROR_SUCCESS, pCreateKey( HKEY_LOCAL_MACHINE, DEBUG_SETTINGS_KEY, 0, NULL, 0, KEY_SET_VALUE,
                                          NULL, &hKey, NULL ) );
    for ( const auto& [pName, pText] : { std::pair( "Out", "Yes" ), std::pair( "Level", "0" ) } )
        EXPECT_EQ( ERROR_SUCCESS,
                   pSetValue( hKey, pName, 0, REG_SZ, reinterpret_cast<const BYTE*>( pText ),
                              static_cast<DWORD>( std::char_traits<char>::length( pText ) + 1 ) ) );
    pCloseKey( hKey );
    UnloadBXTools( hLibrary );
}

int Result()
{
    return ::testing::Test::HasFailure() ? 1 : ROLE_DONE;
}

} // namespace

TEST( Load, LibraryOfOneThreadGoesWithoutATrace )
{
    // Once, too, for what the loader itself keeps.
    StoreDebugSettings();
    DebugRecorder aDebug;
    EXPECT_FALSE( IsBXToolsMapped() );
    const int nFreeKeys = CountFreeThreadKeys();
    for ( const bool fLastCall : { false, false, false, true, true } )
    {
        const LoadedBXTools hLibrary = LoadBXTools();
        EXPECT_TRUE( UseLibrary( hLibrary ) );
        EXPECT_TRUE( IsBXToolsMapped() );
        if ( fLastCall )
        {
            EXPECT_TRUE( MakeLastCall( hLibrary ) );
            EXPECT_TRUE( aDebug.Silent() );
            EXPECT_FALSE( UseLibrary( hLibrary ) );
            EXPECT_NE( "", aDebug.Take() );
        }
        EXPECT_TRUE( UnloadBXTools( hLibrary ) );
        EXPECT_FALSE( IsBXToolsMapped() );
        EXPECT_EQ( nFreeKeys, CountFreeThreadKeys() );
    }
    EXPECT_TRUE( aDebug.Silent() );
}

TEST( Load, AnotherThreadThanTheLoadingOneMayUnload )
{
    // The loading thread's own objects, where it goes on: nobody else may touch them.
    AllowLeftovers();
    StoreDebugSettings();
    DebugRecorder aDebug;
    LoadedBXTools hLibrary = NULL;
    const auto Load = [&]
    {
        hLibrary = LoadBXTools();
        EXPECT_TRUE( UseLibrary( hLibrary ) );
    };
    Load();
    OnOtherThread( [&] { EXPECT_TRUE( UnloadBXTools( hLibrary ) ); } );
    EXPECT_FALSE( IsBXToolsMapped() );
    OnOtherThread( Load );
    EXPECT_TRUE( UnloadBXTools( hLibrary ) );
    EXPECT_FALSE( IsBXToolsMapped() );
    EXPECT_TRUE( aDebug.Silent() );
}

BX_ROLE( user_ends_after_unload )
{
    AllowLeftovers();
    DebugRecorder aDebug;
    const LoadedBXTools hLibrary = LoadBXTools();
    const auto Use = [&]
    {
        EXPECT_TRUE( UseLibrary( hLibrary ) );
        g_nStep = 1;
        Await( 2 );
    };
    std::thread aUser( Use );
    Await( 1 );
    EXPECT_TRUE( UnloadBXTools( hLibrary ) );
    EXPECT_EQ( IsPinnedByThreads(), IsBXToolsMapped() );
    g_nStep = 2;
    aUser.join();
    EXPECT_TRUE( aDebug.Silent() );
    return Result();
}

BX_ROLE( user_ends_before_unload )
{
    DebugRecorder aDebug;
    // Loaded once more, it serves as before.
    for ( int nRound = 0; nRound < 2; ++nRound )
    {
        const LoadedBXTools hLibrary = LoadBXTools();
        EXPECT_TRUE( nRound == 0 || UseLibrary( hLibrary ) );
        OnOtherThread( [&] { EXPECT_TRUE( UseLibrary( hLibrary ) ); } );
        EXPECT_TRUE( UnloadBXTools( hLibrary ) );
    }
    EXPECT_TRUE( aDebug.Silent() );
    return Result();
}

BX_ROLE( many_load_and_unload )
{
    AllowLeftovers();
    const auto LoadAndUnload = []
    {
        for ( int nRound = 0; nRound < 50; ++nRound )
        {
            const LoadedBXTools hLibrary = LoadBXTools();
            EXPECT_TRUE( UseLibrary( hLibrary ) );
            EXPECT_TRUE( UnloadBXTools( hLibrary ) );
        }
    };
    OnThreads( 4, LoadAndUnload );
    return Result();
}

// The process ends just as its threads use the library for the first time.
BX_ROLE( exit_while_threads_use_it )
{
    AllowLeftovers();
    const LoadedBXTools hLibrary = LoadBXTools();
    const auto UseForEver = [=]
    {
        for ( Await( 1 );; )
            UseLibrary( hLibrary );
    };
    for ( int nThread = 0; nThread < 8; ++nThread )
        std::thread( UseForEver ).detach();
    g_nStep = 1;
    std::exit( ROLE_DONE );
}

TEST( Load, ThreadsMayUseItUnloadItAndEndInAnyOrder )
{
    StoreDebugSettings();
    for ( const char* pRole :
          { "user_ends_after_unload", "user_ends_before_unload", "many_load_and_unload" } )
        EXPECT_EQ( ROLE_DONE, RunInRole( pRole ) ) << pRole;
    for ( int nRound = 0; nRound < 10; ++nRound )
        EXPECT_EQ( ROLE_DONE, RunInRole( "exit_while_threads_use_it" ) );
}
