// Objects that processes share by name, while processes are killed, fork, and find damaged files.

#include "platform/object/event.h"
#include "platform/object/handletable.h"
#include "platform/object/namedobjects.h"
#include "platform/object/objectlist.h"
#include "support/failnew.h"
#include "support/sanitizer.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
constexpr DWORD LONG_TIME = 10000;

std::string Folder()
{
    return std::getenv( "BXTOOLS_OBJECT_DIR" );
}

std::vector<std::string> ObjectFiles()
{
    std::vector<std::string> aNames;
    for ( const auto& rEntry : std::filesystem::directory_iterator( Folder() ) )
    {
        const std::string strName = rEntry.path().filename();
        if ( strName.starts_with( "object-" ) || strName.find( "bell-" ) != std::string::npos )
            aNames.push_back( strName );
    }
    return aNames;
}

HANDLE MakeEvent( const std::string& strName, BOOL fSet = FALSE )
{
    return CreateEventA( NULL, FALSE, fSet, strName.c_str() );
}

HANDLE MakeMutex( const std::string& strName, BOOL fOwned = FALSE )
{
    return CreateMutexA( NULL, fOwned, strName.c_str() );
}

HANDLE MakeMapping( const std::string& strName, DWORD dwBytes = 5000 )
{
    return CreateFileMappingA( INVALID_HANDLE_VALUE, NULL, PAGE_READWRITE, 0, dwBytes, strName.c_str() );
}

char* WritableView( HANDLE hMapping )
{
    return static_cast<char*>( MapViewOfFile( hMapping, FILE_MAP_WRITE, 0, 0, 0 ) );
}

bool Exists( const std::string& strName )
{
    const HANDLE hEvent = OpenEventA( SYNCHRONIZE, FALSE, strName.c_str() );
    return hEvent != NULL && CloseHandle( hEvent );
}

// One life of an object of each kind, each of which must be new and usable: 0, or the number of the step that failed.
int LiveOnce( const std::string& strName )
{
    const HANDLE hMutex = MakeMutex( strName + "m" );
    if ( hMutex == NULL || GetLastError() != 0 )
        return 1;
    if ( WaitForSingleObject( hMutex, LONG_TIME ) != WAIT_OBJECT_0 || !ReleaseMutex( hMutex ) ||
         !CloseHandle( hMutex ) )
        return 2;
    const HANDLE hEvent = MakeEvent( strName + "e" );
    if ( hEvent == NULL || GetLastError() != 0 || WaitForSingleObject( hEvent, 0 ) != WAIT_TIMEOUT )
        return 3;
    if ( !SetEvent( hEvent ) || WaitForSingleObject( hEvent, 0 ) != WAIT_OBJECT_0 || !CloseHandle( hEvent ) )
        return 4;
    const HANDLE hMapping = MakeMapping( strName + "p" );
    if ( hMapping == NULL || GetLastError() != 0 )
        return 5;
    char* const pView = WritableView( hMapping );
    if ( pView == NULL || pView[0] != 0 )
        return 6;
    pView[0] = 'x';
    SetEvent( hEvent );
    return UnmapViewOfFile( pView ) && CloseHandle( hMapping ) ? 0 : 7;
}

// The same over and over, without looking at what others leave behind; some names are used once only.
[[noreturn]] void LiveOnAndOn( std::atomic<unsigned long>& rulLives )
{
    for ( unsigned u = 0;; ++u )
    {
        LiveOnce( "shared " );
        LiveOnce( "own " + std::to_string( getpid() ) + " " + std::to_string( u % 70 ) );
        const HANDLE hMutex = MakeMutex( "shared owned", TRUE );
        const HANDLE hEvent = MakeEvent( "shared owned event" );
        const HANDLE ahBoth[] = { hMutex, hEvent };
        WaitForMultipleObjects( 2, ahBoth, FALSE, 0 );
        if ( u % 4 != 0 )
            ReleaseMutex( hMutex );
        CloseHandle( hEvent );
        CloseHandle( hMutex );
        rulLives.fetch_add( 1 );
    }
}

pid_t StartLiving( std::atomic<unsigned long>& rulLives )
{
    const pid_t nChild = fork();
    if ( nChild == 0 )
        LiveOnAndOn( rulLives );
    return nChild;
}

void KillAndWait( pid_t nProcess )
{
    kill( nProcess, SIGKILL );
    waitpid( nProcess, NULL, 0 );
}
} // namespace

// Holds one object of each kind: the event set, the mutex owned.
BX_ROLE( holder )
{
    const HANDLE hMutex = MakeMutex( "held mutex" );
    WaitForSingleObject( hMutex, LONG_TIME );
    WaitForSingleObject( hMutex, LONG_TIME );
    MakeEvent( "held event", TRUE );
    *WritableView( MakeMapping( "held mapping" ) ) = 'x';
    TellTest( "held" );
    WaitForTest();
    return 0;
}

TEST( NamedObjects, EndWithTheirProcess )
{
    SecondProcess aHolder( "holder", {} );
    ASSERT_EQ( "held", aHolder.ReadLine() );
    const HANDLE hMutex = MakeMutex( "held mutex" );
    EXPECT_EQ( DWORD{ ERROR_ALREADY_EXISTS }, GetLastError() );
    EXPECT_TRUE( Exists( "held event" ) );
    std::vector<ListedObject> aListed;
    ASSERT_TRUE( ListObjects( NamespaceScope::Local, aListed ) );
    ASSERT_EQ( 3u, aListed.size() );
    const std::vector<DWORD> aHolderAlone = { static_cast<DWORD>( aHolder.Id() ) };
    EXPECT_EQ( "held event: event, set, automatic reset",
               aListed[0].strName + ": " + aListed[0].strKind + ", " + aListed[0].strState );
    EXPECT_EQ( "held mapping: mapping, 5000 bytes",
               aListed[1].strName + ": " + aListed[1].strKind + ", " + aListed[1].strState );
    EXPECT_EQ( "mutex, owned by thread " + std::to_string( aHolder.Id() ),
               aListed[2].strKind + ", " + aListed[2].strState );
    EXPECT_EQ( aHolderAlone, aListed[0].aHolders );
    EXPECT_EQ( 2u, aListed[2].aHolders.size() );
    std::thread aKiller(
        [&]
        {
            usleep( 20000 );
            aHolder.Kill();
            aHolder.Wait();
        } );
    EXPECT_EQ( DWORD{ WAIT_ABANDONED }, WaitForSingleObject( hMutex, LONG_TIME ) );
    aKiller.join();
    ReleaseMutex( hMutex );
    EXPECT_EQ( DWORD{ WAIT_OBJECT_0 }, WaitForSingleObject( hMutex, 0 ) ) << "it is told once";
    ReleaseMutex( hMutex );
    CloseHandle( hMutex );
    for ( const char* const pName : { "held event", "held mutex", "held mapping" } )
    {
        EXPECT_FALSE( Exists( pName ) );
        EXPECT_EQ( DWORD{ ERROR_FILE_NOT_FOUND }, GetLastError() ) << pName;
    }
    EXPECT_EQ( 0, LiveOnce( "held " ) );
}

// Processes make, use and close the same objects and are killed at random instants, sooner or later in each step.
TEST( NamedObjects, SurviveKillsAtAnyInstant )
{
    auto* const pLives = static_cast<std::atomic<unsigned long>*>(
        mmap( NULL, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0 ) );
    std::mt19937 aRandom( 20260711 );
    pid_t anChildren[] = { StartLiving( pLives[0] ), StartLiving( pLives[1] ) };
    for ( unsigned i = 0; i < 120; ++i )
    {
        const unsigned uVictim = i % 2;
        usleep( static_cast<useconds_t>( aRandom() % 3000 ) );
        KillAndWait( anChildren[uVictim] );
        // The other one is not held up.
        std::atomic<unsigned long>& rulOther = pLives[1 - uVictim];
        const unsigned long ulBefore = rulOther;
        for ( int nRound = 0; nRound < 10000 && rulOther < ulBefore + 2; ++nRound )
            usleep( 1000 );
        ASSERT_GE( rulOther, ulBefore + 2 ) << i;
        if ( i % 10 == 0 )
        {
            KillAndWait( anChildren[1 - uVictim] );
            ASSERT_EQ( 0, LiveOnce( "shared " ) ) << i;
            anChildren[1 - uVictim] = StartLiving( rulOther );
        }
        anChildren[uVictim] = StartLiving( pLives[uVictim] );
    }
    for ( const pid_t nChild : anChildren )
        KillAndWait( nChild );
    munmap( pLives, 4096 );
    CloseNamedObjects();
    EXPECT_EQ( 0, LiveOnce( "shared " ) );
    CloseNamedObjects();
    EXPECT_EQ( std::vector<std::string>(), ObjectFiles() );
}

// Adds to a number in shared memory that nothing but a mutex guards; both are made and closed each time.
BX_ROLE( adder )
{
    OnThreads( 2,
               []
               {
                   for ( int i = 0; i < 500; ++i )
                   {
                       const HANDLE hMutex = MakeMutex( "sum mutex" );
                       const HANDLE hMapping = MakeMapping( "sum" );
                       WaitForSingleObject( hMutex, LONG_TIME );
                       char* const pView = WritableView( hMapping );
                       volatile int* const pnSum = reinterpret_cast<int*>( pView );
                       *pnSum = *pnSum + 1;
                       UnmapViewOfFile( pView );
                       ReleaseMutex( hMutex );
                       CloseHandle( hMapping );
                       CloseHandle( hMutex );
                   }
               } );
    return 0;
}

TEST( NamedObjects, AMutexKeepsThreadsOfAllProcessesOut )
{
    const HANDLE hMapping = MakeMapping( "sum" );
    {
        std::vector<std::unique_ptr<SecondProcess>> aAdders;
        for ( int i = 0; i < 3; ++i )
            aAdders.push_back( std::make_unique<SecondProcess>( "adder", std::vector<std::string>() ) );
        for ( const auto& pAdder : aAdders )
            EXPECT_EQ( 0, pAdder->Wait() );
    }
    char* const pView = WritableView( hMapping );
    EXPECT_EQ( 3 * 2 * 500, *reinterpret_cast<int*>( pView ) );
    UnmapViewOfFile( pView );
    CloseHandle( hMapping );
}

// The kernel alone hands on what such a thread owned, and what was kept of the owner here is out of date.
TEST( Mutex, IsHandedOnByAThreadThatEndsByForce )
{
    SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED();
    static std::atomic<bool> fOwned{ false };
    // Joined at the end: until then no other thread gets the stacks, with what was left in them.
    std::vector<pthread_t> aThreads;
    for ( const char* const pName : { "", "forced" } )
    {
        const HANDLE ahMutexes[] = { MakeMutex( pName ), MakeMutex( "" ) };
        pthread_create(
            &aThreads.emplace_back(), NULL,
            []( void* pMutexes ) -> void*
            {
                WaitForMultipleObjects( 2, static_cast<const HANDLE*>( pMutexes ), TRUE, INFINITE );
                fOwned = true;
                syscall( SYS_exit, 0 );
                return NULL;
            },
            const_cast<HANDLE*>( ahMutexes ) );
        while ( !fOwned.exchange( false ) )
            sched_yield();
        EXPECT_EQ( DWORD{ WAIT_ABANDONED }, WaitForMultipleObjects( 2, ahMutexes, TRUE, LONG_TIME ) );
        for ( const HANDLE hMutex : ahMutexes )
        {
            EXPECT_TRUE( ReleaseMutex( hMutex ) );
            EXPECT_FALSE( ReleaseMutex( hMutex ) );
            OnOtherThread( [&] { EXPECT_EQ( DWORD{ WAIT_OBJECT_0 }, WaitForSingleObject( hMutex, 0 ) ); } );
            EXPECT_EQ( DWORD{ WAIT_ABANDONED }, WaitForSingleObject( hMutex, 0 ) );
            CloseHandle( hMutex );
        }
    }
    for ( const pthread_t aThread : aThreads )
        pthread_join( aThread, NULL );
}

// A descriptor that a child or a started program still had would keep its dead parent's objects alive.
BX_ROLE( parent )
{
    const HANDLE hEvent = MakeEvent( "of the parent", TRUE );
    const HANDLE hMutex = MakeMutex( "owned by the parent", TRUE );
    const pid_t nChild = fork();
    if ( nChild == 0 )
    {
        const bool fGone = WaitForSingleObject( hEvent, 0 ) == WAIT_FAILED && !ReleaseMutex( hMutex ) &&
                           GetLastError() == ERROR_INVALID_HANDLE;
        const HANDLE hOwn = MakeMutex( "owned by the parent" );
        const bool fApart = GetLastError() == ERROR_ALREADY_EXISTS &&
                            WaitForSingleObject( hOwn, 0 ) == WAIT_TIMEOUT && CloseHandle( hOwn );
        TellTest( fGone && fApart ? std::to_string( getpid() ) : "wrong" );
        if ( Arguments[0] == "exec" )
            execlp( "sleep", "sleep", "30", NULL );
        sleep( 30 );
        _exit( 0 );
    }
    WaitForTest();
    return 0;
}

TEST( NamedObjects, AreNotKeptByChildren )
{
    for ( const char* const pKind : { "fork", "exec" } )
    {
        SecondProcess aParent( "parent", { pKind } );
        const std::string strChild = aParent.ReadLine();
        ASSERT_NE( "wrong", strChild );
        EXPECT_TRUE( Exists( "of the parent" ) );
        aParent.Kill();
        aParent.Wait();
        EXPECT_FALSE( Exists( "of the parent" ) ) << pKind;
        kill( std::stoi( strChild ), SIGKILL );
    }
}

// As services do when they start.
BX_ROLE( closer )
{
    MakeEvent( "before" );
    closefrom( 3 );
    MakeEvent( "after" );
    TellTest( "made" );
    WaitForTest();
    return 0;
}

TEST( NamedObjects, OutliveAProcesssOwnClosingOfDescriptors )
{
    SecondProcess aCloser( "closer", {} );
    ASSERT_EQ( "made", aCloser.ReadLine() );
    EXPECT_TRUE( Exists( "before" ) );
    EXPECT_TRUE( Exists( "after" ) );
    aCloser.Kill();
    aCloser.Wait();
    EXPECT_FALSE( Exists( "before" ) );
    EXPECT_FALSE( Exists( "after" ) );
}

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
    const std::string strFile = Folder() + "/object-planted";
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
    const rlimit aLimit{ 100000, 100000 };
    setrlimit( RLIMIT_FSIZE, &aLimit );
    const bool fFull = MakeMapping( "large", 1000000 ) == NULL && GetLastError() == ERROR_DISK_FULL;
    return fFull && !std::filesystem::exists( Folder() + "/object-large" ) && LiveOnce( "small" ) == 0 ? 0
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

// A feeder ends waits that began before it was attached, and sets the event once.
TEST( Event, IsSetByItsFeeder )
{
    struct Feeder final : EventFeeder
    {
        int GetDescriptor() const noexcept override { return nDescriptor; }
        bool HasFired() noexcept override
        {
            eventfd_t ullValue = 0;
            return eventfd_read( nDescriptor, &ullValue ) == 0;
        }
        const int nDescriptor = eventfd( 0, EFD_NONBLOCK );
    } aFeeder;
    for ( const char* const pName : { "", "fed" } )
    {
        const HANDLE hEvent = MakeEvent( pName );
        {
            const HandleUse aUse( hEvent, KIND_EVENT, 0 );
            Event* const pEvent = aUse.GetObject<Event>();
            DWORD dwWaited = WAIT_FAILED;
            std::thread aWaiting( [&] { dwWaited = WaitForSingleObject( hEvent, LONG_TIME ); } );
            usleep( 20000 );
            ASSERT_TRUE( pEvent->AttachFeeder( aFeeder ) );
            EXPECT_EQ( DWORD{ WAIT_TIMEOUT }, WaitForSingleObject( hEvent, 0 ) );
            eventfd_write( aFeeder.nDescriptor, 1 );
            aWaiting.join();
            EXPECT_EQ( DWORD{ WAIT_OBJECT_0 }, dwWaited );
            eventfd_write( aFeeder.nDescriptor, 1 );
            EXPECT_EQ( DWORD{ WAIT_TIMEOUT }, WaitForSingleObject( hEvent, 0 ) ) << "it has let go";
            ASSERT_TRUE( pEvent->AttachFeeder( aFeeder ) );
            pEvent->DetachFeeder( aFeeder );
            EXPECT_EQ( DWORD{ WAIT_TIMEOUT }, WaitForSingleObject( hEvent, 0 ) );
            aFeeder.HasFired();
        }
        CloseHandle( hEvent );
    }
    close( aFeeder.nDescriptor );
}
