// The file of keys and texts: 100,000 texts, 14.4 MB with their keys, beside other stores of that kind with the same content.
#include "measure.h"

#include <bxtools/btree.h>

#include <algorithm>
#include <cdb.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gdbm.h>
#include <lmdb.h>
#include <memory>
#include <numeric>
#include <random>
#include <tkrzw_dbm_hash.h>
#include <unistd.h>
#include <vector>

namespace
{
constexpr int TEXTS = 100000;
constexpr int PROBES = 1000;
constexpr unsigned KEY_LENGTH = 64;
constexpr size_t MAP_SIZE = size_t{ 1 } << 28;

void Expect( bool fGood, const char* pWhat )
{
    if ( fGood )
        return;
    std::fprintf( stderr, "tree: %s failed\n", pWhat );
    std::exit( 1 );
}

struct Pair
{
    std::string strKey;
    std::string strText;
};
using Pairs = std::vector<Pair>;

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

// ---- the stores: made from pairs, opened to be read, asked --------------------------------------------------------------

class OurStore
{
public:
    static constexpr char NAME[] = "bxtools";
    static void Make( const std::string& strPath, const Pairs& aPairs )
    {
        const LPVOID pTree = BTreeOnDiskInit( strPath.c_str(), KEY_LENGTH, "rb+", FALSE );
        for ( const Pair& rPair : aPairs )
            BTreeOnDiskWriteKeyStringPairToFile( pTree, rPair.strKey.c_str(), rPair.strText.c_str() );
        BTreeOnDiskDelete( pTree );
    }
    explicit OurStore( const std::string& strPath )
        : m_pTree( BTreeOnDiskInit( strPath.c_str(), 0, "rb", FALSE ) )
    {
    }
    ~OurStore() { BTreeOnDiskDelete( m_pTree ); }
    const char* Get( const std::string& strKey )
    {
        int nFound = 0;
        const char* const pText =
            BTreeOnDiskReadKeyStringPairFromFile( m_pTree, strKey.c_str(), &nFound, "" );
        return nFound != 0 ? pText : nullptr;
    }

private:
    LPVOID m_pTree;
};

// What a peer found, as a text of its own.
const char* Kept( std::string& rKept, const void* pText, size_t nLength )
{
    rKept.assign( static_cast<const char*>( pText ), nLength );
    return rKept.c_str();
}

MDB_val Bytes( const std::string& strText )
{
    return { strText.size(), const_cast<char*>( strText.data() ) };
}

class LmdbStore
{
public:
    static constexpr char NAME[] = "LMDB";
    static void Make( const std::string& strPath, const Pairs& aPairs )
    {
        MDB_env* pEnvironment = Open( strPath, 0 );
        MDB_txn* pTransaction = NULL;
        MDB_dbi uBase = 0;
        mdb_txn_begin( pEnvironment, NULL, 0, &pTransaction );
        mdb_dbi_open( pTransaction, NULL, 0, &uBase );
        for ( const Pair& rPair : aPairs )
        {
            MDB_val aKey = Bytes( rPair.strKey );
            MDB_val aText = Bytes( rPair.strText );
            mdb_put( pTransaction, uBase, &aKey, &aText, MDB_NOOVERWRITE );
        }
        Expect( mdb_txn_commit( pTransaction ) == 0, "LMDB's commit" );
        mdb_env_close( pEnvironment );
    }
    explicit LmdbStore( const std::string& strPath ) : m_pEnvironment( Open( strPath, MDB_RDONLY ) )
    {
        mdb_txn_begin( m_pEnvironment, NULL, MDB_RDONLY, &m_pTransaction );
        mdb_dbi_open( m_pTransaction, NULL, 0, &m_uBase );
    }
    ~LmdbStore()
    {
        mdb_txn_abort( m_pTransaction );
        mdb_env_close( m_pEnvironment );
    }
    const char* Get( const std::string& strKey )
    {
        MDB_val aKey = Bytes( strKey );
        MDB_val aText{};
        return mdb_get( m_pTransaction, m_uBase, &aKey, &aText ) == 0
                   ? Kept( m_strText, aText.mv_data, aText.mv_size )
                   : nullptr;
    }

private:
    static MDB_env* Open( const std::string& strPath, unsigned uFlags )
    {
        MDB_env* pEnvironment = NULL;
        mdb_env_create( &pEnvironment );
        mdb_env_set_mapsize( pEnvironment, MAP_SIZE );
        Expect( mdb_env_open( pEnvironment, strPath.c_str(), uFlags | MDB_NOSUBDIR, 0600 ) == 0,
                "LMDB's open" );
        return pEnvironment;
    }
    MDB_env* m_pEnvironment;
    MDB_txn* m_pTransaction = NULL;
    MDB_dbi m_uBase = 0;
    std::string m_strText;
};

datum DatumOf( const std::string& strText )
{
    return { const_cast<char*>( strText.data() ), static_cast<int>( strText.size() ) };
}

class GdbmStore
{
public:
    static constexpr char NAME[] = "GDBM";
    static void Make( const std::string& strPath, const Pairs& aPairs )
    {
        const GDBM_FILE pFile = gdbm_open( strPath.c_str(), 0, GDBM_NEWDB, 0600, NULL );
        for ( const Pair& rPair : aPairs )
            gdbm_store( pFile, DatumOf( rPair.strKey ), DatumOf( rPair.strText ), GDBM_INSERT );
        gdbm_close( pFile );
    }
    explicit GdbmStore( const std::string& strPath )
        : m_pFile( gdbm_open( strPath.c_str(), 0, GDBM_READER, 0, NULL ) )
    {
    }
    ~GdbmStore() { gdbm_close( m_pFile ); }
    const char* Get( const std::string& strKey )
    {
        const datum aText = gdbm_fetch( m_pFile, DatumOf( strKey ) );
        const std::unique_ptr<char, decltype( &std::free )> pOwned( aText.dptr, &std::free );
        return aText.dptr != NULL ? Kept( m_strText, aText.dptr, static_cast<size_t>( aText.dsize ) )
                                  : nullptr;
    }

private:
    GDBM_FILE m_pFile;
    std::string m_strText;
};

class CdbStore
{
public:
    static constexpr char NAME[] = "cdb";
    static void Make( const std::string& strPath, const Pairs& aPairs )
    {
        const int nFile = open( strPath.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600 );
        cdb_make aMake;
        cdb_make_start( &aMake, nFile );
        for ( const Pair& rPair : aPairs )
            cdb_make_add( &aMake, rPair.strKey.data(), static_cast<unsigned>( rPair.strKey.size() ),
                          rPair.strText.data(), static_cast<unsigned>( rPair.strText.size() ) );
        Expect( cdb_make_finish( &aMake ) == 0, "cdb's end" );
        close( nFile );
    }
    explicit CdbStore( const std::string& strPath ) : m_nFile( open( strPath.c_str(), O_RDONLY ) )
    {
        Expect( cdb_init( &m_aBase, m_nFile ) == 0, "cdb's open" );
    }
    ~CdbStore()
    {
        cdb_free( &m_aBase );
        close( m_nFile );
    }
    const char* Get( const std::string& strKey )
    {
        if ( cdb_find( &m_aBase, strKey.data(), static_cast<unsigned>( strKey.size() ) ) <= 0 )
            return nullptr;
        const unsigned uLength = cdb_datalen( &m_aBase );
        return Kept( m_strText, cdb_getdata( &m_aBase ), uLength );
    }

private:
    int m_nFile;
    cdb m_aBase{};
    std::string m_strText;
};

class TkrzwStore
{
public:
    static constexpr char NAME[] = "tkrzw";
    static void Make( const std::string& strPath, const Pairs& aPairs )
    {
        tkrzw::HashDBM aBase;
        aBase.Open( strPath, true, tkrzw::File::OPEN_TRUNCATE );
        for ( const Pair& rPair : aPairs )
            aBase.Set( rPair.strKey, rPair.strText );
        Expect( aBase.Close().IsOK(), "tkrzw's end" );
    }
    explicit TkrzwStore( const std::string& strPath )
    {
        Expect( m_aBase.Open( strPath, false ).IsOK(), "tkrzw's open" );
    }
    const char* Get( const std::string& strKey )
    {
        return m_aBase.Get( strKey, &m_strText ).IsOK() ? m_strText.c_str() : nullptr;
    }

private:
    tkrzw::HashDBM m_aBase;
    std::string m_strText;
};

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
