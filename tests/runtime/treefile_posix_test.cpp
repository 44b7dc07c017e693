// A tree file whose writer fails or is killed at each of its writes, and one that other processes read meanwhile.
#include "runtime/treefile.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
// The write that does not come about, counted from one; 0: all do.
int g_nLastWrite = 0;
bool g_fKill = false;

bool IsLastWrite()
{
    if ( g_nLastWrite == 0 || --g_nLastWrite != 0 )
        return false;
    if ( g_fKill )
        std::raise( SIGKILL );
    g_nLastWrite = 1; // nor do those that follow
    errno = ENOSPC;
    return true;
}

constexpr int KEYS = 2500;

std::string Key( int nState, int nKey )
{
    return "key of state " + std::to_string( nState ) + " " + std::to_string( nKey * 7919 % KEYS );
}

// Half of a write that is to be stopped may have reached the file.
void PutState( TreeFile& rTree, int nState )
{
    for ( int i = 0; i < KEYS; ++i )
        rTree.Put( Key( nState, i ), std::string( 200, static_cast<char>( 'a' + nState ) ) );
}

// Result: the first state whose keys are not there; -1 when those of one state are there in part.
int FindFirstMissing( TreeFile& rTree, int nStates )
{
    int nPresent = 0;
    for ( int nState = 0; nState < nStates; ++nState )
    {
        int nKeys = 0;
        for ( int i = 0; i < KEYS; i += nState % 2 == 0 ? 1 : 13 )
        {
            const auto aFound = rTree.Get( Key( nState, i ) );
            if ( aFound.has_value() != rTree.Get( Key( nState, 0 ) ).has_value() ||
                 ( aFound && *aFound != std::string( 200, static_cast<char>( 'a' + nState ) ) ) )
                return -1;
            nKeys += aFound.has_value();
        }
        if ( nKeys != 0 && nPresent != nState )
            return -1;
        nPresent += nKeys != 0;
    }
    return nPresent;
}
} // namespace

// The library's own writes go through these.
extern "C" ssize_t pwrite( int nFile, const void* pBytes, size_t nSize, off_t nPlace )
{
    if ( IsLastWrite() )
    {
        // As much of it as the disk still has room for.
        syscall( SYS_pwrite64, nFile, pBytes, nSize / 2, nPlace );
        errno = ENOSPC;
        return -1;
    }
    return syscall( SYS_pwrite64, nFile, pBytes, nSize, nPlace );
}

extern "C" int fdatasync( int nFile )
{
    return IsLastWrite() ? -1 : static_cast<int>( syscall( SYS_fdatasync, nFile ) );
}

// Adds a state to a file and is killed at a write.
BX_ROLE( tree_killed_writer )
{
    TreeFile aTree( Arguments[0] );
    g_fKill = true;
    g_nLastWrite = std::stoi( Arguments[1] );
    PutState( aTree, 1 );
    aTree.aTree.Flush();
    return 0;
}

TEST( TreeFileFaults, AWriterThatIsKilledOrFailsLeavesTheLastCompleteState )
{
    const ScratchFolder aFolder;
    const std::string strFirst = aFolder.Path( "first" );
    const std::string strPath = aFolder.Path( "tree" );
    {
        TreeFile aTree( strFirst );
        PutState( aTree, 0 );
    }
    for ( const bool fKill : { true, false } )
    {
        int nStates = 1;
        for ( int nWrite = 1; nStates == 1; ++nWrite )
        {
            ASSERT_LT( nWrite, 50 );
            std::filesystem::copy_file( strFirst, strPath,
                                        std::filesystem::copy_options::overwrite_existing );
            if ( fKill )
                nStates =
                    RunInRole( "tree_killed_writer", { strPath, std::to_string( nWrite ) } ) == 0 ? 2 : 1;
            else
            {
                TreeFile aTree( strPath );
                g_nLastWrite = nWrite;
                try
                {
                    PutState( aTree, 1 );
                    aTree.aTree.Flush();
                    nStates = 2;
                }
                catch ( const RWFileErr& )
                {
                    // With room again, what is left of the state is completed by the end of the object, or later.
                    g_nLastWrite = 1;
                }
                g_nLastWrite = nStates == 2 ? 0 : g_nLastWrite;
            }
            g_nLastWrite = 0;
            TreeFile aReader( strPath, "rb" );
            // The last write may be the flush behind the new root.
            const int nFound = FindFirstMissing( aReader, 2 );
            ASSERT_TRUE( nFound == nStates || nFound == 2 ) << nWrite << " " << nFound;
            // The next writer goes on.
            TreeFile aNext( strPath );
            PutState( aNext, nFound );
            aNext.aTree.Flush();
            ASSERT_EQ( nFound + 1, FindFirstMissing( aNext, 3 ) ) << nWrite;
        }
    }
}

// Looks until the last state is there; each look finds whole states only.
BX_ROLE( tree_reader )
{
    TreeFile aTree( Arguments[0], "rb" );
    TellTest( "reads" );
    for ( int nSeen = 0; nSeen < 6; )
    {
        // A look spans several lookups, between which a state may come; the newest key first.
        for ( int nState = 5; nState >= 0; --nState )
        {
            if ( !aTree.Get( Key( nState, 3 ) ) )
                continue;
            nSeen = std::max( nSeen, nState + 1 );
            for ( int i = 0; i < KEYS; i += 97 )
            {
                if ( aTree.Get( Key( nState, i ) ) != std::string( 200, static_cast<char>( 'a' + nState ) ) )
                    return 1;
            }
        }
    }
    return 0;
}

TEST( TreeFileFaults, TwoProcessesReadWhileOneWrites )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "tree" );
    TreeFile aWriter( strPath );
    SecondProcess aFirst( "tree_reader", { strPath } );
    SecondProcess aSecond( "tree_reader", { strPath } );
    EXPECT_EQ( "reads", aFirst.ReadLine() );
    EXPECT_EQ( "reads", aSecond.ReadLine() );
    for ( int nState = 0; nState < 6; ++nState )
    {
        PutState( aWriter, nState );
        aWriter.aTree.Flush();
    }
    EXPECT_EQ( 0, aFirst.Wait() );
    EXPECT_EQ( 0, aSecond.Wait() );
}

// Builds a file of a million texts, half of them in their order.
BX_ROLE( tree_big_builder )
{
    constexpr int TEXTS = 1000000;
    const auto BigKey = []( int nKey )
    {
        const long lPart = nKey % 2 == 0 ? nKey : static_cast<long>( nKey ) * 7919 % TEXTS;
        return ( nKey % 2 == 0 ? "049MODULE.ORDERED.KEY" : "049MODULE.SHUFFLED.KEY" ) +
               std::to_string( 1000000 + lPart );
    };
    {
        TreeFile aTree( Arguments[0], nullptr, 40 );
        for ( int i = 0; i < TEXTS; ++i )
            aTree.Put( BigKey( i ), "text " + std::to_string( i ) );
    }
    rusage aUsage{};
    getrusage( RUSAGE_SELF, &aUsage );
    TellTest( std::to_string( aUsage.ru_maxrss / 1024 ) );
    TreeFile aReader( Arguments[0], "rb" );
    if ( aReader.aFile.GetStates().GetRoot()->aHead.ullKeys != TEXTS )
        return 1;
    for ( int i = 0; i < TEXTS; i += 101 )
    {
        if ( aReader.Get( BigKey( i ) ) != "text " + std::to_string( i ) )
            return 2;
    }
    return 0;
}

TEST( TreeFileFaults, BuildingAMillionTextsTakesLittleMemory )
{
    const ScratchFolder aFolder;
    SecondProcess aBuilder( "tree_big_builder", { aFolder.Path( "tree" ) } );
    const int nMegabytes = std::stoi( "0" + aBuilder.ReadLine() );
    EXPECT_EQ( 0, aBuilder.Wait() );
    RecordProperty( "megabytes", nMegabytes );
#if !defined( __SANITIZE_ADDRESS__ ) && !defined( __SANITIZE_THREAD__ )
    EXPECT_GT( 200, nMegabytes );
#endif
}

// Windows replaces no file that somebody has mapped.
TEST( TreeFileFaults, ANewFileTakesThePlaceOfOneThatIsRead )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "tree" );
    EXPECT_TRUE( TreeFile( strPath ).Put( "old", "text" ) );
    TreeFile aReader( strPath, "rb" );
    for ( int i = 0; i < 20; ++i )
        ASSERT_EQ( "text", aReader.Get( "old" ) ) << "before it is mapped and afterwards";
    EXPECT_TRUE( TreeFile( strPath, "w+" ).Put( "new", "text" ) );
    EXPECT_FALSE( TreeFile( strPath, "rb" ).Get( "old" ) );
    EXPECT_EQ( "text", aReader.Get( "old" ) );
}
