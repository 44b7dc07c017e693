// The registry between processes: nothing is lost, nothing half-made is seen, and watches notice.

#include "platform/registry/regbatch.h"
#include "platform/registry/regstore.h"
#include "platform/registrysupport.h"
#include "support/failnew.h"
#include "support/forked.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
std::string StoreFile( const char* pEnding )
{
    return std::string( std::getenv( "BXTOOLS_STATE_DIR" ) ) + "/local_machine" + pEnding;
}

// The rights of root are left behind, so that modes count. Only in a second process.
void BecomeNobody()
{
    constexpr uid_t NOBODY = 65534;
    if ( geteuid() == 0 && ( setgid( NOBODY ) != 0 || setuid( NOBODY ) != 0 ) )
        std::abort();
}
} // namespace

// Adds keys with a value each, two with each change.
BX_ROLE( registry_adder )
{
    const int nKeys = std::stoi( Arguments[1] );
    for ( int i = 0; i < nKeys; i += 2 )
    {
        RegistryBatch aBatch;
        if ( aBatch.Begin( HKEY_LOCAL_MACHINE ) != 0 )
            return 1;
        for ( int nKey = i; nKey < i + 2; ++nKey )
        {
            if ( SetBytes( TestKey( "Both\\" + Arguments[0] + std::to_string( nKey ) ), "n",
                           std::to_string( nKey ) ) != 0 )
                return 2;
        }
        if ( aBatch.Commit() != 0 )
            return 3;
    }
    return 0;
}

TEST( Registry, TwoProcessesLoseNothing )
{
    constexpr int KEYS = 1000;
    SecondProcess aFirst( "registry_adder", { "a", std::to_string( KEYS ) } );
    SecondProcess aSecond( "registry_adder", { "B", std::to_string( KEYS ) } );
    EXPECT_EQ( 0, aFirst.Wait() );
    EXPECT_EQ( 0, aSecond.Wait() );
    const TestKey aBoth( "Both" );
    ASSERT_EQ( 2u * KEYS, CountKeys( aBoth ) );
    for ( int i = 0; i < KEYS; ++i )
    {
        for ( const char* pPrefix : { "A", "b" } )
            ASSERT_EQ( std::to_string( i ),
                       GetBytes( TestKey( "both\\" + ( pPrefix + std::to_string( i ) ) ), "N" ) );
    }
}

// Each change puts the same number into two keys of one batch. Whenever the writer is killed, both show one number, and not
// less than that of the last change that it was told of as done.
TEST( Registry, KilledWriterLeavesOldOrNew )
{
    void* const pShared = mmap( nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0 );
    ASSERT_NE( MAP_FAILED, pShared );
    std::atomic<int>& rnDone = *new ( pShared ) std::atomic<int>( 0 );
    const TestKey aFirst( "First" );
    const TestKey aSecond( "Second" );
    ASSERT_EQ( 0, SetBytes( aFirst, "n", "0" ) );
    ASSERT_EQ( 0, SetBytes( aSecond, "n", "0" ) );
    const auto WriteForEver = [&]
    {
        for ( int i = rnDone + 1;; ++i )
        {
            RegistryBatch aBatch;
            if ( aBatch.Begin( HKEY_LOCAL_MACHINE ) != 0 ||
                 SetBytes( TestKey( "First" ), "n", std::to_string( i ) ) != 0 ||
                 SetBytes( TestKey( "Second" ), "n", std::to_string( i ) ) != 0 || aBatch.Commit() != 0 )
            {
                rnDone = -1;
                _exit( 1 );
            }
            rnDone = i;
        }
    };
    const auto aStart = std::chrono::steady_clock::now();
    for ( int i = 0; i < 10; ++i )
        ASSERT_EQ( 0, SetBytes( aFirst, "own", "0" ) );
    // A writer gets to its second change or so.
    const auto aLongest = ( std::chrono::steady_clock::now() - aStart ) / 5;
    std::mt19937 aRandom( 4711 );
    for ( int i = 0; i < 300; ++i )
    {
        const int nBefore = rnDone;
        const pid_t nWriter = fork();
        if ( nWriter == 0 )
            WriteForEver();
        // However busy the machine is, every other one gets through a change.
        while ( i % 2 != 0 && rnDone == nBefore )
            std::this_thread::yield();
        std::this_thread::sleep_for( aLongest * ( aRandom() % 1000 ) / 1000 );
        kill( nWriter, SIGKILL );
        int nStatus = 0;
        waitpid( nWriter, &nStatus, 0 );
        ASSERT_TRUE( WIFSIGNALED( nStatus ) );
        const std::string strFirst = GetBytes( aFirst, "n" );
        ASSERT_EQ( strFirst, GetBytes( aSecond, "n" ) );
        ASSERT_GE( std::stoi( strFirst ), rnDone.load() );
        rnDone = std::stoi( strFirst );
        if ( i % 10 == 0 )
        {
            ASSERT_EQ( 0, SetBytes( aFirst, "own", strFirst ) );
            ASSERT_FALSE( std::filesystem::exists( StoreFile( ".next" ) ) );
        }
    }
    EXPECT_GT( rnDone.load(), 50 );
    munmap( pShared, 4096 );
}

// The nearest to a full disk that needs no rights: files may not grow.
TEST( Registry, FullDiskChangesNothing )
{
    const TestKey aKey( "Full" );
    ASSERT_EQ( 0, SetBytes( aKey, "n", "old" ) );
    EXPECT_EQ( 0, InChild(
                      [&]
                      {
                          signal( SIGXFSZ, SIG_IGN );
                          const rlimit aLimit = { 100, RLIM_INFINITY };
                          setrlimit( RLIMIT_FSIZE, &aLimit );
                          const TestKey aInChild( "Full" );
                          const bool fRefused = SetBytes( aInChild, "n", "new" ) == 112 &&
                                                TestKey( "Full\\New" ).lError == 112 &&
                                                SetBytes( HKEY_CURRENT_USER, "n", "new" ) == 112 &&
                                                GetBytes( aInChild, "n" ) == "old";
                          const rlimit aNone = { RLIM_INFINITY, RLIM_INFINITY };
                          setrlimit( RLIMIT_FSIZE, &aNone );
                          const bool fLeft = std::filesystem::exists( StoreFile( ".next" ) );
                          return fRefused && !fLeft && SetBytes( HKEY_CURRENT_USER, "n", "new" ) == 0 ? 0 : 1;
                      } ) );
    EXPECT_EQ( "old", GetBytes( aKey, "n" ) );
    EXPECT_EQ( 0, SetBytes( aKey, "n", "new" ) );
    EXPECT_EQ( "new", GetBytes( HKEY_CURRENT_USER, "n" ) );
}

// Reads, and is refused every change.
BX_ROLE( registry_reader )
{
    BecomeNobody();
    TestKey aKey;
    if ( RegOpenKeyExA( HKEY_LOCAL_MACHINE, "Shown", 0, KEY_ALL_ACCESS, &aKey.hKey ) != 0 )
        return 1;
    TellTest( GetBytes( aKey, "n" ) );
    WaitForTest();
    TellTest( GetBytes( aKey, "n" ) );
    const TestKey aNew( "New" );
    const bool fRefused = SetBytes( aKey, "n", "x" ) == 5 && RegDeleteValueA( aKey, "n" ) == 5 &&
                          RegDeleteValueA( aKey, "missing" ) == 2 && aNew.lError == 5 &&
                          RegDeleteKeyA( HKEY_LOCAL_MACHINE, "Shown" ) == 5;
    return fRefused ? 0 : 2;
}

TEST( Registry, ReaderWithoutRightsSeesChanges )
{
    const std::string strFolder = std::getenv( "BXTOOLS_STATE_DIR" );
    ASSERT_EQ( 0, chmod( strFolder.c_str(), 0755 ) );
    ASSERT_EQ( 0, chmod( std::filesystem::path( strFolder ).parent_path().c_str(), 0755 ) );
    {
        const TestKey aKey( "Shown" );
        ASSERT_EQ( 0, SetBytes( aKey, "n", "1" ) );
        struct stat aStatus;
        ASSERT_EQ( 0, stat( StoreFile( ".changes" ).c_str(), &aStatus ) );
        EXPECT_EQ( 0644u, aStatus.st_mode & 0777 );
        SecondProcess aReader( "registry_reader", {} );
        EXPECT_EQ( "1", aReader.ReadLine() );
        // With the page, and without one that can be used.
        ASSERT_EQ( 0, SetBytes( aKey, "n", "2" ) );
        aReader.WriteLine( "go on" );
        EXPECT_EQ( "2", aReader.ReadLine() );
        EXPECT_EQ( geteuid() == 0 ? 0 : 2, aReader.Wait() );
    }
    // Modes count for root, too.
    ASSERT_EQ( 0, chmod( StoreFile( ".bxreg" ).c_str(), 0444 ) );
    EXPECT_EQ( 5, SetBytes( TestKey( "Shown" ), "n", "3" ) );
    ASSERT_EQ( 0, chmod( StoreFile( ".bxreg" ).c_str(), 0644 ) );
    // The page is gone, or is no page.
    for ( const char* pPage : { "", "no page" } )
    {
        std::filesystem::remove( StoreFile( ".changes" ) );
        if ( *pPage != '\0' )
            WriteBytes( StoreFile( ".changes" ), pPage );
        ForgetRegistryForTest();
        const TestKey aKey( "Shown" );
        EXPECT_EQ( "2", GetBytes( aKey, "n" ) );
        EXPECT_EQ( 0, RunInRole( "registry_adder", { "page", "1" } ) );
        EXPECT_EQ( 0, OpenError( "Both\\page0" ) );
        EXPECT_EQ( "2", GetBytes( aKey, "n" ) );
    }
}

// What others may write is not mapped; what was replaced is not kept; a folder that is put back is noticed.
TEST( Registry, FilesMayChangeBelow )
{
    std::vector<std::unique_ptr<TestKey>> aKeys;
    for ( int i = 0; i < 20; ++i )
    {
        aKeys.push_back( std::make_unique<TestKey>( "Files" ) );
        ASSERT_EQ( 0, SetBytes( *aKeys.back(), "n", std::to_string( i ) ) );
        ASSERT_EQ( std::to_string( i ), GetBytes( *aKeys.back(), "n" ) );
    }
    const std::string strMaps = ReadBytes( "/proc/self/maps" );
    EXPECT_NE( std::string::npos, strMaps.find( "local_machine.bxreg\n" ) );
    EXPECT_EQ( std::string::npos, strMaps.find( "local_machine.bxreg (deleted)" ) );
    EXPECT_EQ( std::string::npos, strMaps.find( "local_machine.previous" ) );

    const TestKey& rKey = *aKeys.front();
    for ( const char* pEnding : { ".bxreg", ".changes" } )
        std::filesystem::copy_file( StoreFile( pEnding ), StoreFile( pEnding ) + ".kept" );
    ASSERT_EQ( 0, SetBytes( rKey, "n", "new" ) );
    for ( const char* pEnding : { ".bxreg", ".changes" } )
        std::filesystem::rename( StoreFile( pEnding ) + ".kept", StoreFile( pEnding ) );
    const auto aEnd = std::chrono::steady_clock::now() + std::chrono::seconds( 10 );
    while ( GetBytes( rKey, "n" ) == "new" && std::chrono::steady_clock::now() < aEnd )
        std::this_thread::sleep_for( std::chrono::milliseconds( 50 ) );
    EXPECT_EQ( "19", GetBytes( rKey, "n" ) );

    ASSERT_EQ( 0, chmod( StoreFile( ".bxreg" ).c_str(), 0666 ) );
    ForgetRegistryForTest();
    ASSERT_EQ( "19", GetBytes( rKey, "n" ) );
    const std::string strBytes = ReadBytes( StoreFile( ".bxreg" ) );
    ASSERT_EQ( 0, truncate( StoreFile( ".bxreg" ).c_str(), 0 ) );
    EXPECT_EQ( "19", GetBytes( rKey, "n" ) );
    WriteBytes( StoreFile( ".bxreg" ), strBytes );
    EXPECT_EQ( 0, chmod( StoreFile( ".bxreg" ).c_str(), 0644 ) );
}

// The children live on, with copies of all descriptors that they were not rid of.
TEST( Registry, ForksDoNotKeepTheLock )
{
    std::atomic<bool> fEnough{ false };
    std::thread aWriter(
        [&]
        {
            const TestKey aKey( "Forked" );
            while ( !fEnough )
                SetBytes( aKey, "n", "x" );
        } );
    std::vector<pid_t> aChildren;
    for ( int i = 0; i < 50; ++i )
    {
        aChildren.push_back( fork() );
        if ( aChildren.back() == 0 )
        {
            pause();
            _exit( 0 );
        }
        std::this_thread::sleep_for( std::chrono::microseconds( 40 * i ) );
    }
    fEnough = true;
    aWriter.join();
    EXPECT_EQ( 0, SetBytes( HKEY_LOCAL_MACHINE, "n", "after" ) );
    for ( const pid_t nChild : aChildren )
    {
        kill( nChild, SIGKILL );
        waitpid( nChild, nullptr, 0 );
    }
}

TEST( Registry, DeletedKeysStayDeleted )
{
    const TestKey aParent( "Gone" );
    const TestKey aOld( "Gone\\Key" );
    ASSERT_EQ( 0, SetBytes( aOld, "n", "old" ) );
    const TestKey aBelow( "Gone\\Key\\Below" );
    EXPECT_EQ( 5, RegDeleteKeyA( aParent, "Key" ) );
    EXPECT_EQ( 0, RegDeleteKeyA( aBelow, "" ) );
    EXPECT_EQ( 0, RegDeleteKeyA( aParent, "KEY" ) );
    const TestKey aNew( "Gone\\Key" );
    EXPECT_EQ( REG_CREATED_NEW_KEY, aNew.dwDisposition );
    for ( const HKEY hGone : { aOld.hKey, aBelow.hKey } )
    {
        EXPECT_EQ( "error 1018", GetBytes( hGone, "n" ) );
        EXPECT_EQ( 1018, SetBytes( hGone, "n", "x" ) );
        EXPECT_EQ( 1018, TestKey( "Child", 0, hGone ).lError );
        EXPECT_EQ( 1018, RegDeleteKeyA( hGone, "" ) );
    }
    EXPECT_EQ( "error 2", GetBytes( aNew, "n" ) );
}

TEST( Registry, LargestAndDeepest )
{
    std::string strPath = "Deep";
    for ( int i = 1; i < 300; ++i )
        strPath += "\\" + std::to_string( i );
    EXPECT_EQ( REG_CREATED_NEW_KEY, TestKey( strPath ).dwDisposition );
    EXPECT_EQ( 0, SetBytes( TestKey( strPath ), "n", "deep" ) );
    EXPECT_EQ( "deep", GetBytes( TestKey( strPath ), "n" ) );
    EXPECT_EQ( 87, TestKey( strPath + strPath.substr( 4 ) ).lError );
    EXPECT_EQ( 2, OpenError( strPath + "\\1" ) );

    const TestKey aKey( "Large" );
    std::string strLarge( 100'000'000, 'x' );
    for ( size_t i = 0; i < strLarge.size(); i += 4096 )
        strLarge[i] = static_cast<char>( i >> 12 );
    EXPECT_EQ( 0, SetBytes( aKey, "large", strLarge ) );
    EXPECT_EQ( 0, SetBytes( aKey, "", "" ) );
    EXPECT_TRUE( strLarge == GetBytes( aKey, "LARGE" ) );
    EXPECT_EQ( "", GetBytes( aKey, NULL ) );
    EXPECT_EQ( 0, RegDeleteValueA( aKey, "large" ) );
    EXPECT_LT( std::filesystem::file_size( StoreFile( ".bxreg" ) ), 1'000'000u );

    // Enough names for the tables, in the order in which they came.
    RegistryBatch aBatch;
    ASSERT_EQ( 0, aBatch.Begin( aKey ) );
    for ( int i = 0; i < 5000; ++i )
        ASSERT_EQ( 0, SetBytes( aKey, std::to_string( i ).c_str(), std::to_string( i * 7 ) ) );
    ASSERT_EQ( 0, RegDeleteValueA( aKey, "100" ) );
    ASSERT_EQ( 0, SetBytes( aKey, "100", "again" ) );
    ASSERT_EQ( 0, aBatch.Commit() );
    EXPECT_EQ( "again", GetBytes( aKey, "100" ) );
    EXPECT_EQ( std::to_string( 4999 * 7 ), GetBytes( aKey, "4999" ) );
    EXPECT_EQ( "error 2", GetBytes( aKey, "5000" ) );
    char aName[16];
    DWORD dwName = sizeof( aName );
    EXPECT_EQ( 0, RegEnumValueA( aKey, 5000, aName, &dwName, NULL, NULL, NULL, NULL ) );
    EXPECT_STREQ( "100", aName );
}

TEST( Registry, BatchIsOneChange )
{
    const TestKey aKey( "Batch" );
    ASSERT_EQ( 0, SetBytes( aKey, "n", "before" ) );
    const auto SeenOutside = [&]
    {
        std::string strSeen;
        std::thread( [&] { strSeen = GetBytes( aKey, "n" ); } ).join();
        return strSeen;
    };
    {
        RegistryBatch aBatch;
        ASSERT_EQ( 0, aBatch.Begin( aKey ) );
        const TestKey aNew( "Batch\\New" );
        EXPECT_EQ( 0, SetBytes( aNew, "n", "inside" ) );
        EXPECT_EQ( 0, SetBytes( aKey, "n", "inside" ) );
        EXPECT_EQ( "inside", GetBytes( aKey, "n" ) );
        EXPECT_EQ( "inside", GetBytes( TestKey( "Batch\\New" ), "n" ) );
        EXPECT_EQ( "before", SeenOutside() );
        EXPECT_EQ( 170, SetBytes( HKEY_CURRENT_USER, "n", "x" ) );
        // In the child there is no lock, and so no batch; the parent's is untouched.
        EXPECT_EQ( 0, InChild(
                          [&] {
                              return aBatch.Commit() == 6 && SetBytes( HKEY_CURRENT_USER, "n", "child" ) == 0
                                         ? 0
                                         : 1;
                          } ) );
    }
    EXPECT_EQ( "before", GetBytes( aKey, "n" ) );
    EXPECT_EQ( 2, OpenError( "Batch\\New" ) );
    EXPECT_EQ( "child", GetBytes( HKEY_CURRENT_USER, "n" ) );
    RegistryBatch aBatch;
    ASSERT_EQ( 0, aBatch.Begin( aKey ) );
    EXPECT_EQ( 0, SetBytes( aKey, "n", "after" ) );
    EXPECT_EQ( 0, aBatch.Commit() );
    EXPECT_EQ( "after", SeenOutside() );
}

// So many that a step of work for each pair of keys would take minutes.
TEST( Registry, LargeBatchOfKeys )
{
    constexpr unsigned KEYS = 20'000;
    const TestKey aParent( "Many" );
    RegistryBatch aBatch;
    ASSERT_EQ( 0, aBatch.Begin( aParent ) );
    const auto NameOf = []( unsigned i ) { return std::to_string( i * 7919 % KEYS + 100'000 ); };
    for ( unsigned i = 0; i < KEYS; ++i )
        ASSERT_EQ( REG_CREATED_NEW_KEY, TestKey( NameOf( i ), 0, aParent ).dwDisposition );
    for ( unsigned i = 0; i < KEYS; ++i )
    {
        const LONG lError = i % 4 == 0 ? 0 : RegDeleteKeyA( aParent, NameOf( i ).c_str() );
        ASSERT_EQ( 0, lError );
    }
    EXPECT_EQ( 2, RegDeleteKeyA( aParent, NameOf( 1 ).c_str() ) );
    EXPECT_EQ( REG_CREATED_NEW_KEY, TestKey( NameOf( 1 ), 0, aParent ).dwDisposition );
    EXPECT_EQ( REG_OPENED_EXISTING_KEY, TestKey( NameOf( 4 ), 0, aParent ).dwDisposition );
    ASSERT_EQ( 0, aBatch.Commit() );
    ASSERT_EQ( KEYS / 4 + 1, CountKeys( aParent ) );
    std::string strBefore;
    for ( DWORD i = 0; i <= KEYS / 4; ++i )
    {
        char szName[16];
        ASSERT_EQ( 0, RegEnumKeyA( aParent, i, szName, sizeof( szName ) ) );
        ASSERT_LT( strBefore, szName );
        strBefore = szName;
    }
}

TEST( Registry, OutOfMemoryChangesNothing )
{
    const TestKey aKey( "Memory" );
    ASSERT_EQ( 0, SetBytes( aKey, "n", "0" ) );
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            HKEY hNew = NULL;
            rFault.Arm();
            const LONG lSet =
                RegSetValueExA( aKey, "n", 0, REG_BINARY, reinterpret_cast<const BYTE*>( "1" ), 1 );
            const LONG lMade =
                lSet != 0 ? 8 : RegCreateKeyExA( aKey, "a\\b", 0, NULL, 0, KEY_READ, NULL, &hNew, NULL );
            rFault.Disarm();
            EXPECT_EQ( rFault.Hit() ? 8 : 0, lMade );
            EXPECT_EQ( lSet == 0 ? "1" : "0", GetBytes( aKey, "n" ) );
            RegCloseKey( hNew );
            RegDeleteKeyA( aKey, "a\\b" );
            RegDeleteKeyA( aKey, "a" );
            SetBytes( aKey, "n", "0" );
        } );
}

// ---- notification ---------------------------------------------------------------------------------------------------

// Changes the registry as it is told: what, key.
BX_ROLE( registry_changer )
{
    for ( std::string strWhat = WaitForTest(); !strWhat.empty(); strWhat = WaitForTest() )
    {
        const std::string strKey = WaitForTest();
        if ( strWhat == "value" )
            SetBytes( TestKey( strKey ), "n", "x" );
        else if ( strWhat == "key" )
            TestKey( strKey + "\\New" );
        else
            RegDeleteKeyA( HKEY_LOCAL_MACHINE, strKey.c_str() );
        TellTest( "done" );
    }
    return 0;
}

TEST( Registry, WatchesSeeWhatTheyAskFor )
{
    const TestKey aOuter( "Outer" );
    const TestKey aInner( "Outer\\Inner" );
    const TestKey aOther( "Outer2" );
    SecondProcess aChanger( "registry_changer", {} );
    const HANDLE hEvent = CreateEventA( NULL, FALSE, FALSE, NULL );
    const auto Change = [&]( const char* pWhat, const char* pKey )
    {
        aChanger.WriteLine( pWhat );
        aChanger.WriteLine( pKey );
        aChanger.ReadLine();
    };
    const auto IsSet = [&] { return WaitForSingleObject( hEvent, 0 ) == WAIT_OBJECT_0; };
    const auto Arm = [&]( HKEY hKey, BOOL fSubtree, DWORD dwFilter )
    { return RegNotifyChangeKeyValue( hKey, fSubtree, dwFilter, hEvent, TRUE ); };
    struct Case
    {
        BOOL fSubtree;
        DWORD dwFilter;
        const char* pWhat;
        const char* pKey;
        bool fNoticed;
    };
    for ( const Case& rCase : {
              Case{ FALSE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer", true },
              Case{ FALSE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer\\Inner", false },
              Case{ TRUE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer\\Inner", true },
              Case{ TRUE, REG_NOTIFY_CHANGE_LAST_SET, "value", "Outer2", false },
              Case{ TRUE, REG_NOTIFY_CHANGE_LAST_SET, "key", "Outer", false },
              Case{ FALSE, REG_NOTIFY_CHANGE_NAME, "value", "Outer", false },
              Case{ FALSE, REG_NOTIFY_CHANGE_NAME, "delete", "Outer\\New", true },
              Case{ FALSE, REG_NOTIFY_CHANGE_NAME, "key", "Outer\\Inner", false },
              Case{ TRUE, REG_NOTIFY_CHANGE_NAME, "delete", "Outer\\Inner\\New", true },
          } )
    {
        TestKey aWatched( "Outer" );
        ASSERT_EQ( 0, Arm( aWatched, rCase.fSubtree, rCase.dwFilter ) );
        EXPECT_FALSE( IsSet() );
        Change( rCase.pWhat, rCase.pKey );
        EXPECT_EQ( rCase.fNoticed, IsSet() ) << rCase.pWhat << ' ' << rCase.pKey;
        // Once; and what has not been noticed yet is told when the key is closed.
        Change( "value", "Outer" );
        EXPECT_EQ( !rCase.fNoticed && rCase.dwFilter == REG_NOTIFY_CHANGE_LAST_SET, IsSet() );
        RegCloseKey( std::exchange( aWatched.hKey, nullptr ) );
        EXPECT_EQ( !rCase.fNoticed && rCase.dwFilter == REG_NOTIFY_CHANGE_NAME, IsSet() );
    }
    // A wait that sleeps meanwhile; a call that does not come back before; a key that is deleted.
    ASSERT_EQ( 0, Arm( aInner, FALSE, REG_NOTIFY_CHANGE_LAST_SET ) );
    aChanger.WriteLine( "value" );
    aChanger.WriteLine( "Outer\\Inner" );
    EXPECT_EQ( WAIT_OBJECT_0, WaitForSingleObject( hEvent, 20000 ) );
    aChanger.ReadLine();
    std::atomic<bool> fBack{ false };
    std::thread aWaiter(
        [&]
        {
            EXPECT_EQ( 0, RegNotifyChangeKeyValue( aInner, FALSE, REG_NOTIFY_CHANGE_LAST_SET, NULL, FALSE ) );
            fBack = true;
        } );
    while ( !fBack )
        Change( "value", "Outer\\Inner" );
    aWaiter.join();
    ASSERT_EQ( 0, Arm( aInner, FALSE, REG_NOTIFY_CHANGE_LAST_SET ) );
    Change( "delete", "Outer\\Inner" );
    EXPECT_TRUE( IsSet() );
    // What a batch holds back is still to come.
    {
        RegistryBatch aBatch;
        ASSERT_EQ( 0, aBatch.Begin( aOuter ) );
        ASSERT_EQ( 0, SetBytes( aOuter, "n", "x" ) );
        ASSERT_EQ( 0, Arm( aOuter, FALSE, REG_NOTIFY_CHANGE_LAST_SET ) );
        EXPECT_FALSE( IsSet() );
        ASSERT_EQ( 0, aBatch.Commit() );
        EXPECT_TRUE( IsSet() );
    }
    CloseHandle( hEvent );
    aChanger.WriteLine( "" );
    aChanger.Wait();
}

// Whenever the key is closed, nobody waits for it any longer.
TEST( Registry, CloseEndsEveryWait )
{
    for ( int i = 0; i < 150; ++i )
    {
        TestKey aKey( "Closed" );
        std::atomic<bool> fReady{ false };
        std::thread aWaiter(
            [&, hKey = aKey.hKey]
            {
                fReady = true;
                RegNotifyChangeKeyValue( hKey, FALSE, REG_NOTIFY_CHANGE_LAST_SET, NULL, FALSE );
            } );
        while ( !fReady )
            std::this_thread::yield();
        std::this_thread::sleep_for( std::chrono::microseconds( i % 50 ) );
        RegCloseKey( std::exchange( aKey.hKey, nullptr ) );
        aWaiter.join();
    }
}
