// A program that loads the library at run time: whatever the order in which threads use it, threads end and the library
// goes, nothing crashes; and where it can go, it leaves nothing behind.
#include "core/loadedlibrary.h"
#include "support/leftovers.h"
#include "support/meeting.h"
#include "support/recorder.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace
{

constexpr int ROLE_DONE = 7;
constexpr char SETTINGS_MISSING[] = "From static void MyCheckDebugOption(";

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

// All that the library says to being loaded is that the settings of the debug messages are missing, where they are.
LoadedBXTools Load( DebugRecorder& rDebug )
{
    const LoadedBXTools hLibrary = LoadBXTools();
    const std::string strSaid = rDebug.Take();
    EXPECT_TRUE( strSaid.empty() || strSaid.rfind( "From " ) == strSaid.find( SETTINGS_MISSING ) ) << strSaid;
    return hLibrary;
}

int Result()
{
    return ::testing::Test::HasFailure() ? 1 : ROLE_DONE;
}

} // namespace

TEST( Load, LibraryOfOneThreadGoesWithoutATrace )
{
    // Once, too, for what the loader itself keeps.
    UnloadBXTools( LoadBXTools() );
    DebugRecorder aDebug;
    EXPECT_FALSE( IsBXToolsMapped() );
    const int nFreeKeys = CountFreeThreadKeys();
    for ( const bool fLastCall : { false, false, false, true, true } )
    {
        const LoadedBXTools hLibrary = Load( aDebug );
        EXPECT_TRUE( UseLibrary( hLibrary ) );
        EXPECT_TRUE( IsBXToolsMapped() );
        if ( fLastCall )
        {
            const auto pLastCall =
                reinterpret_cast<LastCallFunc>( FindBXToolsFunction( hLibrary, "_Z15LastFuntionCallv" ) );
            EXPECT_TRUE( pLastCall() );
            EXPECT_TRUE( aDebug.Silent() );
            EXPECT_FALSE( UseLibrary( hLibrary ) );
            EXPECT_NE( "", aDebug.Take() );
        }
        EXPECT_TRUE( UnloadBXTools( hLibrary ) );
        EXPECT_FALSE( IsBXToolsMapped() );
        EXPECT_EQ( nFreeKeys, CountFreeThreadKeys() );
    }
}

TEST( Load, AnotherThreadThanTheLoadingOneMayUnload )
{
    // The loading thread's own objects, where it goes on: nobody else may touch them.
    AllowLeftovers();
    DebugRecorder aDebug;
    LoadedBXTools hLibrary = NULL;
    const auto LoadAndUse = [&] { EXPECT_TRUE( UseLibrary( hLibrary = Load( aDebug ) ) ); };
    const auto Unload = [&] { EXPECT_TRUE( UnloadBXTools( hLibrary ) ); };
    LoadAndUse();
    OnOtherThread( Unload );
    EXPECT_FALSE( IsBXToolsMapped() );
    OnOtherThread( LoadAndUse );
    Unload();
    EXPECT_FALSE( IsBXToolsMapped() );
}

BX_ROLE( user_ends_after_unload )
{
    AllowLeftovers();
    DebugRecorder aDebug;
    const LoadedBXTools hLibrary = Load( aDebug );
    Meeting aMeeting( 2 );
    const auto Use = [&]
    {
        EXPECT_TRUE( UseLibrary( hLibrary ) );
        aMeeting.ArriveAndWait();
        aMeeting.ArriveAndWait();
    };
    std::thread aUser( Use );
    aMeeting.ArriveAndWait();
    EXPECT_TRUE( UnloadBXTools( hLibrary ) );
    aMeeting.ArriveAndWait();
    aUser.join();
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
    Meeting aStart( 9 );
    const auto UseForEver = [&]
    {
        for ( aStart.ArriveAndWait();; )
            UseLibrary( hLibrary );
    };
    for ( int nThread = 0; nThread < 8; ++nThread )
        std::thread( UseForEver ).detach();
    aStart.ArriveAndWait();
    std::exit( ROLE_DONE );
}

TEST( Load, ThreadsMayUseItUnloadItAndEndInAnyOrder )
{
    for ( const char* pRole : { "user_ends_after_unload", "many_load_and_unload" } )
        EXPECT_EQ( ROLE_DONE, RunInRole( pRole ) ) << pRole;
    for ( int nRound = 0; nRound < 10; ++nRound )
        EXPECT_EQ( ROLE_DONE, RunInRole( "exit_while_threads_use_it" ) );
}
