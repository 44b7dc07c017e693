// The files that named objects stand in: where they may be, what else is found there, and when there is no room for them.

#include "platform/namedobjects.h"
#include "platform/object/namedobjects.h"
#include "support/failnew.h"
#include "support/limit.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sys/stat.h>

TEST( NamedObjects, StayInTheirFolder )
{
    CloseNamedObjects();
    // clang-format off
    const std::vector<std::string> aNames = { "..", ".", "../outside", "/tmp", "a/b", "a%2Fb", "A/b", ":*?<>|\"\n\x01\xFF",
                                              std::string( 259, '/' ), std::string( 258, '/' ) + "x" };
    // clang-format on
    std::vector<HANDLE> aHandles;
    for ( const std::string& strName : aNames )
    {
        aHandles.push_back( MakeEvent( strName ) );
        EXPECT_EQ( DWORD{ 0 }, GetLastError() ) << strName;
    }
    EXPECT_EQ( aNames.size(), ObjectFiles().size() );
    for ( const HANDLE hEvent : aHandles )
        CloseHandle( hEvent );
    // Names that are not used any more are kept in limits, and go in the end.
    for ( int i = 0; i < 300; ++i )
        CloseHandle( MakeMutex( std::to_string( i ) ) );
    EXPECT_LE( ObjectFiles().size(), 64u );
    CloseNamedObjects();
    EXPECT_EQ( std::vector<std::string>(), ObjectFiles() );
}

TEST( NamedObjects, TakeNoFileThatIsNotTheirs )
{
    const ScratchFolder aScratch;
    const std::string strVictim = aScratch.Path( "victim" );
    const std::string strFile = ObjectFolder() + "/object-planted";
    const auto Fill = [&]( char cByte )
    { WriteBytes( strFile, std::string( sizeof( ObjectPages ), cByte ) ); };
    const std::vector<std::function<void()>> aPlants = {
        [&] { std::filesystem::create_symlink( strVictim, strFile ); },
        [&] { std::filesystem::create_hard_link( strVictim, strFile ); },
        [&] { mkfifo( strFile.c_str(), 0600 ); },
        [&] { WriteBytes( strFile, "" ); },
        [&] { WriteBytes( strFile, "BXOBJECT" ); },
        [&] { Fill( 0 ); },
        [&] { Fill( '\xFF' ); },
        [&]
        {
            Fill( 0 );
            chmod( strFile.c_str(), 0666 );
        },
    };
    for ( size_t i = 0; i < aPlants.size(); ++i )
    {
        WriteBytes( strVictim, std::string( sizeof( ObjectPages ), 'v' ) );
        aPlants[i]();
        const HANDLE hEvent = MakeEvent( "planted" );
        EXPECT_EQ( DWORD{ 0 }, GetLastError() ) << i;
        EXPECT_TRUE( SetEvent( hEvent ) && WaitForSingleObject( hEvent, 0 ) == WAIT_OBJECT_0 ) << i;
        CloseHandle( hEvent );
        CloseNamedObjects();
        EXPECT_EQ( std::string( sizeof( ObjectPages ), 'v' ), ReadBytes( strVictim ) ) << i;
    }
    std::filesystem::create_directory( strFile );
    EXPECT_EQ( NULL, MakeEvent( "planted" ) );
    EXPECT_EQ( DWORD{ ERROR_ACCESS_DENIED }, GetLastError() );
    std::filesystem::remove( strFile );
}

// Whatever somebody writes over the numbers of a file in use, nothing outside it is touched.
TEST( NamedObjects, EndureDamageInUse )
{
    const HANDLE hEvent = MakeEvent( "damaged" );
    {
        ObjectFile aFile;
        ASSERT_EQ( ObjectFile::Opening::Done,
                   aFile.Open( NamespaceScope::Local, ObjectLeaf{ "object-damaged" }, { 0, 1 } ) );
        ObjectHeader& rHeader = aFile.GetHeader();
        rHeader.uHoldersUsed = rHeader.uBellsUsed = rHeader.uNameLength = 0xFFFFFFFF;
        rHeader.eState = static_cast<ObjectState>( 77 );
        rHeader.uEvent = 0x55555555;
        for ( auto& rullBell : aFile.GetPages().aullBells )
            rullBell = 0xABCDEF0123456789;
        for ( auto& ruHolder : aFile.GetPages().auHolders )
            ruHolder = 1;
    }
    EXPECT_TRUE( SetEvent( hEvent ) );
    EXPECT_EQ( DWORD{ WAIT_OBJECT_0 }, WaitForSingleObject( hEvent, 0 ) );
    CloseHandle( hEvent );
    CloseNamedObjects();
    EXPECT_EQ( 0, LiveOnce( "damaged" ) );
}

BX_ROLE( refused )
{
    const ScratchFolder aScratch;
    const ScratchFolder aTarget;
    const std::string strFolder = aScratch.Path( "folder" );
    if ( Arguments[0] == "link" )
        std::filesystem::create_symlink( aTarget.Path(), strFolder );
    else
        std::filesystem::create_directory( strFolder );
    if ( Arguments[0] == "mode" )
        chmod( strFolder.c_str(), 0770 );
    setenv( "BXTOOLS_OBJECT_DIR", strFolder.c_str(), 1 );
    ForgetNamespaceForTest();
    const bool fRefused = MakeEvent( "x" ) == NULL && GetLastError() == ERROR_ACCESS_DENIED;
    return fRefused && MakeEvent( "" ) != NULL && std::filesystem::is_empty( strFolder ) ? 0 : 1;
}

// The nearest to a full file system that needs no rights: files may not grow.
BX_ROLE( full )
{
    std::signal( SIGXFSZ, SIG_IGN );
    const Limit aLimit( RLIMIT_FSIZE, 100000 );
    const bool fFull = MakeMapping( "large", 1000000 ) == NULL && GetLastError() == ERROR_DISK_FULL;
    return fFull && !std::filesystem::exists( ObjectFolder() + "/object-large" ) && LiveOnce( "small" ) == 0
               ? 0
               : 1;
}

TEST( NamedObjects, TellWhyTheFolderCannotBeUsed )
{
    EXPECT_EQ( 0, RunInRole( "refused", { "link" } ) );
    EXPECT_EQ( 0, RunInRole( "refused", { "mode" } ) );
    EXPECT_EQ( 0, RunInRole( "full" ) );
}

TEST( NamedObjects, NothingIsHalfMadeWithoutMemory )
{
    const std::vector<std::function<HANDLE()>> aMakers = {
        [] { return MakeEvent( "memory" ); },   [] { return MakeMutex( "memory", TRUE ); },
        [] { return MakeMapping( "memory" ); }, [] { return MakeEvent( "" ); },
        [] { return MakeMapping( "" ); },
    };
    for ( const auto& rMaker : aMakers )
    {
        ForEachFailingNew(
            [&]( NewFault& rFault )
            {
                const HANDLE hObject = rFault.During( rMaker );
                EXPECT_EQ( rFault.Hit(), hObject == NULL );
                EXPECT_EQ( DWORD{ rFault.Hit() ? ERROR_NOT_ENOUGH_MEMORY : 0u }, GetLastError() );
                ReleaseMutex( hObject );
                CloseHandle( hObject );
                CloseNamedObjects();
                EXPECT_EQ( std::vector<std::string>(), ObjectFiles() );
            } );
    }
}
