// A tree file whose writer fails or is killed at each of its writes, and one that other processes read meanwhile.
#include "runtime/treefile.h"
#include "runtime/treefilesystem.h"
#include "support/sanitizer.h"
#include "support/secondprocess.h"

#include <algorithm>

namespace
{
using TreeFileFaults = TreeFileTest;

constexpr int KEYS = 2500;

std::string Key( int nState, int nKey )
{
    return "key of state " + std::to_string( nState ) + " " + std::to_string( nKey * 7919 % KEYS );
}

std::string Text( int nState )
{
    return std::string( 200, static_cast<char>( 'a' + nState ) );
}

void PutState( TreeFile& rTree, int nState )
{
    for ( int i = 0; i < KEYS; ++i )
        rTree.Put( Key( nState, i ), Text( nState ) );
    rTree.aTree.Flush();
}

// Result: the first state whose keys are not there; -1 when those of one state are there in part.
int FindFirstMissing( TreeFile& rTree, int nStates )
{
    int nPresent = 0;
    for ( int nState = 0; nState < nStates; ++nState )
    {
        const auto aExpected = rTree.Get( Key( nState, 0 ) );
        if ( aExpected && ( nPresent++ != nState || *aExpected != Text( nState ) ) )
            return -1;
        for ( int i = 0; i < KEYS; i += nState % 2 == 0 ? 1 : 13 )
            if ( rTree.Get( Key( nState, i ) ) != aExpected )
                return -1;
    }
    return nPresent;
}
} // namespace

// Adds a state to a file and is killed at a write.
BX_ROLE( tree_killed_writer )
{
    TreeFile aTree( Arguments[0] );
    FailFromWrite( std::stoi( Arguments[1] ), true );
    PutState( aTree, 1 );
    return 0;
}

TEST_F( TreeFileFaults, AWriterThatIsKilledOrFailsLeavesTheLastCompleteState )
{
    const std::string strFirst = m_aFolder.Path( "first" );
    {
        TreeFile aTree( strFirst );
        PutState( aTree, 0 );
    }
    // Whether the writer came to its end.
    const auto Write = [&]( int nLastWrite )
    {
        TreeFile aTree( m_strPath );
        FailFromWrite( nLastWrite );
        try
        {
            PutState( aTree, 1 );
            FailFromWrite( 0 );
            return true;
        }
        catch ( const RWFileErr& )
        {
            // With room again, what is left of the state is completed by the end of the object, or later.
            FailFromWrite( 1 );
            return false;
        }
    };
    for ( const bool fKill : { true, false } )
    {
        bool fWritten = false;
        for ( int nWrite = 1; !fWritten; ++nWrite )
        {
            ASSERT_LT( nWrite, 50 );
            WriteBytes( m_strPath, ReadBytes( strFirst ) );
            fWritten = fKill ? RunInRole( "tree_killed_writer", { m_strPath, std::to_string( nWrite ) } ) == 0
                             : Write( nWrite );
            FailFromWrite( 0 );
            TreeFile aReader( m_strPath, "rb" );
            // The last write may be the flush behind the new root.
            const int nFound = FindFirstMissing( aReader, 2 );
            ASSERT_TRUE( nFound == 2 || ( nFound == 1 && !fWritten ) ) << nWrite << " " << nFound;
            // The next writer goes on.
            TreeFile aNext( m_strPath );
            PutState( aNext, nFound );
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
                if ( aTree.Get( Key( nState, i ) ) != Text( nState ) )
                    return 1;
        }
    }
    return 0;
}

TEST_F( TreeFileFaults, TwoProcessesReadWhileOneWrites )
{
    TreeFile aWriter( m_strPath );
    SecondProcess aFirst( "tree_reader", { m_strPath } );
    SecondProcess aSecond( "tree_reader", { m_strPath } );
    EXPECT_EQ( "reads", aFirst.ReadLine() );
    EXPECT_EQ( "reads", aSecond.ReadLine() );
    for ( int nState = 0; nState < 6; ++nState )
        PutState( aWriter, nState );
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
    TellTest( std::to_string( PeakMegabytes() ) );
    TreeFile aReader( Arguments[0], "rb" );
    if ( aReader.aFile.GetStates().GetRoot()->aHead.ullKeys != TEXTS )
        return 1;
    for ( int i = 0; i < TEXTS; i += 101 )
        if ( aReader.Get( BigKey( i ) ) != "text " + std::to_string( i ) )
            return 2;
    return 0;
}

TEST_F( TreeFileFaults, BuildingAMillionTextsTakesLittleMemory )
{
    SecondProcess aBuilder( "tree_big_builder", { m_strPath } );
    const int nMegabytes = std::stoi( "0" + aBuilder.ReadLine() );
    EXPECT_EQ( 0, aBuilder.Wait() );
    RecordProperty( "megabytes", nMegabytes );
    // A sanitizer's own memory is counted, too.
    EXPECT_TRUE( ADDRESS_SANITIZER || THREAD_SANITIZER || nMegabytes < 200 ) << nMegabytes;
}
