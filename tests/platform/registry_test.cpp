// The registry between processes: nothing is lost, and nothing half-made is seen.

#include "platform/registry/regbatch.h"
#include "platform/registry/regstore.h"
#include "platform/registrysupport.h"
#include "support/failnew.h"
#include "support/forked.h"
#include "support/limit.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
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
    const SharedMemory<std::atomic<int>> aDone;
    std::atomic<int>& rnDone = *aDone.pObject;
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
                _exit( 1 );
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
        while ( i % 2 != 0 && rnDone == nBefore && waitpid( nWriter, nullptr, WNOHANG ) == 0 )
            std::this_thread::yield();
        std::this_thread::sleep_for( aLongest * ( aRandom() % 1000 ) / 1000 );
        ASSERT_TRUE( KillAndWait( nWriter ) );
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
}

// The nearest to a full disk that needs no rights: files may not grow.
TEST( Registry, FullDiskChangesNothing )
{
    const TestKey aKey( "Full" );
    ASSERT_EQ( 0, SetBytes( aKey, "n", "old" ) );
    const auto SetInVain = []
    {
        signal( SIGXFSZ, SIG_IGN );
        {
            const Limit aLimit( RLIMIT_FSIZE, 100 );
            const TestKey aInChild( "Full" );
            if ( SetBytes( aInChild, "n", "new" ) != 112 || TestKey( "Full\\New" ).lError != 112 ||
                 SetBytes( HKEY_CURRENT_USER, "n", "new" ) != 112 || GetBytes( aInChild, "n" ) != "old" )
                return 1;
        }
        const bool fLeft = std::filesystem::exists( StoreFile( ".next" ) );
        return !fLeft && SetBytes( HKEY_CURRENT_USER, "n", "new" ) == 0 ? 0 : 2;
    };
    EXPECT_EQ( 0, InChild( SetInVain ) );
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
    std::deque<TestKey> aKeys;
    for ( int i = 0; i < 20; ++i )
    {
        const TestKey& rKey = aKeys.emplace_back( "Files" );
        ASSERT_EQ( 0, SetBytes( rKey, "n", std::to_string( i ) ) );
        ASSERT_EQ( std::to_string( i ), GetBytes( rKey, "n" ) );
    }
    const std::string strMaps = ReadBytes( "/proc/self/maps" );
    EXPECT_NE( std::string::npos, strMaps.find( "local_machine.bxreg\n" ) );
    EXPECT_EQ( std::string::npos, strMaps.find( "local_machine.bxreg (deleted)" ) );
    EXPECT_EQ( std::string::npos, strMaps.find( "local_machine.previous" ) );

    const TestKey& rKey = aKeys.back();
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
    const auto Write = [&]
    {
        const TestKey aKey( "Forked" );
        while ( !fEnough )
            SetBytes( aKey, "n", "x" );
    };
    std::thread aWriter( Write );
    std::vector<pid_t> aChildren;
    for ( int i = 0; i < 50; ++i )
    {
        aChildren.push_back( fork() );
        if ( aChildren.back() == 0 )
            _exit( pause() );
        std::this_thread::sleep_for( std::chrono::microseconds( 40 * i ) );
    }
    fEnough = true;
    aWriter.join();
    EXPECT_EQ( 0, SetBytes( HKEY_LOCAL_MACHINE, "n", "after" ) );
    for ( const pid_t nChild : aChildren )
        KillAndWait( nChild );
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
        OnOtherThread( [&] { strSeen = GetBytes( aKey, "n" ); } );
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
        const auto Commit = [&]
        { return aBatch.Commit() != 6 || SetBytes( HKEY_CURRENT_USER, "n", "child" ) != 0; };
        EXPECT_EQ( 0, InChild( Commit ) );
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
            rFault.Arm();
            const LONG lSet =
                RegSetValueExA( aKey, "n", 0, REG_BINARY, reinterpret_cast<const BYTE*>( "1" ), 1 );
            TestKey aNew;
            const LONG lMade =
                lSet != 0 ? 8 : RegCreateKeyExA( aKey, "a\\b", 0, NULL, 0, KEY_READ, NULL, &aNew.hKey, NULL );
            rFault.Disarm();
            EXPECT_EQ( rFault.Hit() ? 8 : 0, lMade );
            EXPECT_EQ( lSet == 0 ? "1" : "0", GetBytes( aKey, "n" ) );
            RegDeleteKeyA( aKey, "a\\b" );
            RegDeleteKeyA( aKey, "a" );
            SetBytes( aKey, "n", "0" );
        } );
}
