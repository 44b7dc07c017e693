// The file of keys and texts: 100,000 texts, 14.4 MB with their keys, beside other stores of that kind with the same content.
#include "measure.h"
#include "textstores.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <numeric>
#include <random>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int TEXTS = 100000;
constexpr int PROBES = 1000;

std::string Number( int nNumber, int nDigits )
{
    std::string strNumber = std::to_string( nNumber );
    return std::string( static_cast<size_t>( nDigits ) - strNumber.size(), '0' ) + strNumber;
}

// The numbers of all pairs as they are asked for, one after the other.
const std::vector<int>& AskedOrder()
{
    static const std::vector<int> aOrder = []
    {
        std::vector<int> aNumbers( TEXTS );
        std::iota( aNumbers.begin(), aNumbers.end(), 0 );
        std::shuffle( aNumbers.begin(), aNumbers.end(), std::mt19937( 1 ) );
        return aNumbers;
    }();
    return aOrder;
}

// In the order of their keys. A text begins with the place in the order of asking of the one to be asked for next.
Pairs MakePairs()
{
    Pairs aPairs( TEXTS );
    for ( int i = 0; i < TEXTS; ++i )
    {
        aPairs[static_cast<size_t>( i )].strKey = "049MODULE" + Number( i / 5000, 2 ) + ".DIALOG_SECTION" +
                                                  Number( i / 100 % 50, 2 ) + "TEXT_" + Number( i % 100, 4 );
        const int nNext = ( i + 1 ) % TEXTS;
        aPairs[static_cast<size_t>( AskedOrder()[static_cast<size_t>( i )] )].strText =
            Number( nNext, 6 ) + std::string( static_cast<size_t>( 51 + nNext % 100 ), 't' );
    }
    return aPairs;
}

// The same with their characters one behind the other in memory, as somebody has them who has just read them.
Pairs Copied( const Pairs& aPairs )
{
    return Pairs( aPairs.begin(), aPairs.end() );
}

const Pairs& InOrder()
{
    static const Pairs aPairs = Copied( MakePairs() );
    return aPairs;
}

const Pairs& Shuffled()
{
    static const Pairs aPairs = []
    {
        Pairs aShuffled = InOrder();
        std::shuffle( aShuffled.begin(), aShuffled.end(), std::mt19937( 2 ) );
        return Copied( aShuffled );
    }();
    return aPairs;
}

std::string PathOf( const std::string& strName )
{
    return std::string( std::getenv( "BXTOOLS_OBJECT_DIR" ) ) + "/" + strName;
}

// ---- what is measured ---------------------------------------------------------------------------------------------------

template <class Store>
std::string NameOf( const char* pCase )
{
    return std::string( "tree/" ) + pCase + "/" + Store::NAME;
}

// A file for each use, as LMDB must not open one twice in a process.
template <class Store>
std::string MakeStore( const char* pUse, const Pairs& aPairs = InOrder() )
{
    const std::string strPath = PathOf( std::string( "tree-" ) + pUse + "-" + Store::NAME );
    std::filesystem::remove( strPath );
    Store::Make( strPath, aPairs );
    return strPath;
}

// Keys in the order of asking, so that to come to them costs next to nothing beside the lookup.
std::vector<std::string> AskedKeys( const std::string& strEnd )
{
    std::vector<std::string> aKeys;
    for ( const int nPair : AskedOrder() )
        aKeys.push_back( InOrder()[static_cast<size_t>( nPair )].strKey + strEnd );
    return aKeys;
}

// Each lookup waits for the text of the one before, and its key lies anywhere in the file.
template <class Store>
void RegisterLookups()
{
    Store* const pStore = new Store( MakeStore<Store>( "open" ) );
    Measure(
        NameOf<Store>( "hit" ).c_str(), std::to_string( PROBES ) + "\n",
        [pStore, aKeys = AskedKeys( "" ), nProbe = size_t{ 0 }]( auto& rUse ) mutable
        {
            for ( int i = 0; i < PROBES; ++i )
            {
                const char* const pText = pStore->Get( aKeys[nProbe] );
                nProbe = 0;
                for ( int nDigit = 0; nDigit < 6; ++nDigit )
                    nProbe = nProbe * 10 + static_cast<size_t>( pText[nDigit] - '0' );
            }
            rUse( static_cast<long>( nProbe ) );
        },
        PROBES );
    Measure(
        NameOf<Store>( "miss" ).c_str(), "0\n",
        [pStore, aKeys = AskedKeys( "!" ), nNext = size_t{ 0 }]( auto& rUse ) mutable
        {
            long lFound = 0;
            for ( int i = 0; i < PROBES; ++i )
            {
                lFound += pStore->Get( aKeys[nNext] ) != nullptr;
                nNext = ( nNext + static_cast<size_t>( 1 + lFound ) ) % TEXTS;
            }
            rUse( lFound );
        },
        PROBES );
}

template <class Store>
void RegisterOpening()
{
    Measure( NameOf<Store>( "open-read-close" ).c_str(), InOrder()[77777].strText + "\n",
             [strPath = MakeStore<Store>( "opened" )]( auto& rUse )
             {
                 Store aStore( strPath );
                 rUse( aStore.Get( InOrder()[77777].strKey ) );
             } );
}

// The time on the wall of the same, with nothing of the file in memory.
template <class Store>
void RegisterColdOpening()
{
    const auto ReadCold = [strPath = MakeStore<Store>( "cold" )]
    {
        static size_t nProbe = 0;
        nProbe = ( nProbe + 7919 ) % TEXTS;
        const int nFile = open( strPath.c_str(), O_RDONLY );
        fsync( nFile );
        posix_fadvise( nFile, 0, 0, POSIX_FADV_DONTNEED );
        close( nFile );
        const auto aStart = std::chrono::steady_clock::now();
        {
            Store aStore( strPath );
            Expect( aStore.Get( InOrder()[nProbe].strKey ) == InOrder()[nProbe].strText, "a cold lookup" );
        }
        return std::chrono::duration<double>( std::chrono::steady_clock::now() - aStart ).count();
    };
    benchmark::RegisterBenchmark( NameOf<Store>( "cold-read" ).c_str(),
                                  [ReadCold]( benchmark::State& rState )
                                  {
                                      for ( [[maybe_unused]] auto aRun : rState )
                                          rState.SetIterationTime( ReadCold() );
                                  } )
        ->UseManualTime();
}

// The file is on the disk when it is made, with LMDB, too.
template <class Store>
void RegisterMaking( const char* pCase, const Pairs& aPairs )
{
    Measure(
        NameOf<Store>( pCase ).c_str(), InOrder()[4711].strText + "\n",
        [pCase, &aPairs]( auto& rUse )
        {
            const std::string strPath = MakeStore<Store>( pCase, aPairs );
            rUse( Store( strPath ).Get( InOrder()[4711].strKey ) );
        },
        TEXTS );
}

// Bytes for each text, where others have nanoseconds.
void RegisterSize( const std::string& strName, double dBytes )
{
    benchmark::RegisterBenchmark( strName.c_str(),
                                  [dBytes]( benchmark::State& rState )
                                  {
                                      for ( [[maybe_unused]] auto aRun : rState )
                                          rState.SetIterationTime( dBytes / TEXTS * 1e-9 );
                                  } )
        ->UseManualTime()
        ->Iterations( 1 );
}

template <class Store>
void RegisterSizeOf( const Pairs& aPairs )
{
    RegisterSize( NameOf<Store>( "size" ),
                  static_cast<double>( std::filesystem::file_size( MakeStore<Store>( "size", aPairs ) ) ) );
}
} // namespace

void RegisterTreeMeasurements()
{
    RegisterLookups<OurStore>();
    RegisterLookups<LmdbStore>();
    RegisterLookups<GdbmStore>();
    RegisterLookups<CdbStore>();
    RegisterLookups<TkrzwStore>();
    RegisterOpening<OurStore>();
    RegisterOpening<LmdbStore>();
    RegisterOpening<GdbmStore>();
    RegisterOpening<CdbStore>();
    RegisterOpening<TkrzwStore>();
    RegisterColdOpening<OurStore>();
    RegisterColdOpening<TkrzwStore>();
    RegisterMaking<OurStore>( "insert", InOrder() );
    RegisterMaking<LmdbStore>( "insert", InOrder() );
    RegisterMaking<OurStore>( "insert-shuffled", Shuffled() );
    RegisterMaking<LmdbStore>( "insert-shuffled", Shuffled() );
    RegisterSizeOf<OurStore>( Shuffled() );
    RegisterSizeOf<LmdbStore>( Shuffled() );
    double dText = 0;
    for ( const Pair& rPair : InOrder() )
        dText += static_cast<double>( rPair.strKey.size() + rPair.strText.size() );
    RegisterSize( "tree/size/text", dText );
}
