// The registry: 10,000 values below 100 keys, beside LMDB with the same names and GSettings on a key file with the same
// content. What is written is on the disk when the call comes back, with the peers, too.
#include "measure.h"
#include "platform/registry/regbatch.h"
#include "processes.h"

#include <bxtools/platform.h>
#include <bxtools/registry.h>

#define G_SETTINGS_ENABLE_BACKEND
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gio/gio.h>
#include <gio/gsettingsbackend.h>
#include <lmdb.h>
#include <numeric>
#include <vector>

static constexpr int KEYS = 100;
static constexpr int VALUES = 100; // of each of them
static constexpr char BENCH_KEY[] = "Software\\Brindlex\\Bench";

static void Expect( bool fGood, const char* pWhat )
{
    if ( fGood )
        return;
    std::fprintf( stderr, "registry: %s failed\n", pWhat );
    std::exit( 1 );
}

static std::string KeyName( int nKey )
{
    return std::string( BENCH_KEY ) + "\\key" + std::to_string( nKey );
}

static std::string ValueName( int nValue )
{
    return "value number " + std::to_string( nValue );
}

static std::string ValueText( int nKey, int nValue )
{
    return "the value " + std::to_string( nKey ) + "/" + std::to_string( nValue ) + " of the measurement";
}

static std::string OwnFolder( const char* pName )
{
    const std::string strFolder = std::string( std::getenv( "BXTOOLS_OBJECT_DIR" ) ) + "/" + pName;
    std::filesystem::create_directories( strFolder );
    return strFolder;
}

// ---- the stores -----------------------------------------------------------------------------------------------------

static HKEY OpenKey( int nKey )
{
    HKEY hKey = NULL;
    Expect( RegCreateKeyExA( HKEY_LOCAL_MACHINE, KeyName( nKey ).c_str(), 0, NULL, 0, KEY_ALL_ACCESS, NULL,
                             &hKey, NULL ) == 0,
            "a key" );
    return hKey;
}

static void SetText( HKEY hKey, const std::string& strName, const std::string& strText )
{
    Expect( RegSetValueExA( hKey, strName.c_str(), 0, REG_SZ,
                            reinterpret_cast<const BYTE*>( strText.c_str() ),
                            static_cast<DWORD>( strText.size() + 1 ) ) == 0,
            "a value" );
}

static void FillRegistry()
{
    RegistryBatch aBatch;
    Expect( aBatch.Begin( HKEY_LOCAL_MACHINE ) == 0, "a batch" );
    for ( int nKey = 0; nKey < KEYS; ++nKey )
    {
        const HKEY hKey = OpenKey( nKey );
        for ( int nValue = 0; nValue < VALUES; ++nValue )
            SetText( hKey, ValueName( nValue ), ValueText( nKey, nValue ) );
        RegCloseKey( hKey );
    }
    Expect( aBatch.Commit() == 0, "the batch" );
}

class LmdbStore
{
public:
    explicit LmdbStore( const char* pName, unsigned uFlags = 0 )
    {
        Expect( mdb_env_create( &m_pEnvironment ) == 0, "LMDB" );
        mdb_env_set_mapsize( m_pEnvironment, 64 << 20 );
        Expect( mdb_env_open( m_pEnvironment, OwnFolder( pName ).c_str(), uFlags, 0600 ) == 0,
                "LMDB's open" );
    }
    ~LmdbStore() { mdb_env_close( m_pEnvironment ); }
    LmdbStore( const LmdbStore& ) = delete;
    LmdbStore& operator=( const LmdbStore& ) = delete;
    MDB_env* Get() const { return m_pEnvironment; }

private:
    MDB_env* m_pEnvironment = NULL;
};

static MDB_val Bytes( const std::string& strText )
{
    return { strText.size(), const_cast<char*>( strText.data() ) };
}

static std::string PathOfValue( int nKey, int nValue )
{
    return KeyName( nKey ) + "\\" + ValueName( nValue );
}

// One for each way of use: LMDB must not open a store twice in a process.
static void FillLmdb( const char* pName )
{
    const LmdbStore aStore( pName );
    MDB_txn* pTransaction = NULL;
    MDB_dbi uBase = 0;
    mdb_txn_begin( aStore.Get(), NULL, 0, &pTransaction );
    mdb_dbi_open( pTransaction, NULL, 0, &uBase );
    for ( int i = 0; i < KEYS * VALUES; ++i )
    {
        const std::string strPath = PathOfValue( i / VALUES, i % VALUES );
        const std::string strText = ValueText( i / VALUES, i % VALUES );
        MDB_val aPath = Bytes( strPath );
        MDB_val aText = Bytes( strText );
        Expect( mdb_put( pTransaction, uBase, &aPath, &aText, 0 ) == 0, "LMDB's put" );
    }
    Expect( mdb_txn_commit( pTransaction ) == 0, "LMDB's commit" );
}

static void FillKeyFile( const std::string& strPath )
{
    std::ofstream aFile( strPath );
    for ( int nKey = 0; nKey < KEYS; ++nKey )
    {
        aFile << "[brindlex/key" << nKey << "]\n";
        for ( int nValue = 0; nValue < VALUES; ++nValue )
            aFile << "value-number-" << nValue << "='" << ValueText( nKey, nValue ) << "'\n";
    }
}

static GSettings* OpenGSettings()
{
    const std::string strFolder = OwnFolder( "gsettings" );
    std::ofstream( strFolder + "/bench.gschema.xml" )
        << "<schemalist><schema id=\"brindlex.bench\"><key name=\"number\" type=\"i\"><default>0</default></key>"
           "</schema></schemalist>";
    Expect( std::system( ( "glib-compile-schemas " + strFolder ).c_str() ) == 0, "glib-compile-schemas" );
    FillKeyFile( strFolder + "/keys" );
    GSettingsSchemaSource* const pSource =
        g_settings_schema_source_new_from_directory( strFolder.c_str(), NULL, TRUE, NULL );
    GSettingsSchema* const pSchema = g_settings_schema_source_lookup( pSource, "brindlex.bench", FALSE );
    GSettingsBackend* const pBackend =
        g_keyfile_settings_backend_new( ( strFolder + "/keys" ).c_str(), "/", NULL );
    return g_settings_new_full( pSchema, pBackend, "/brindlex/key50/" );
}

// ---- what is measured -----------------------------------------------------------------------------------------------

static void RegisterOpening()
{
    const std::string strExpected = ValueText( 33, 9 ) + "\n";
    Measure( "registry/open-read-close/bxtools", strExpected,
             []( auto& rUse )
             {
                 CRegistry aRegistry;
                 MString aText;
                 aRegistry.Connect( (HKEY)CRegistry::keyLocalMachine );
                 aRegistry.Open( "Software\\Brindlex\\Bench\\key33", CRegistry::permissionRead );
                 aRegistry.GetValue( "value number 9", aText );
                 rUse( aText.data() );
             } );
    Measure( "registry/open-read-close/LMDB", strExpected,
             []( auto& rUse )
             {
                 const LmdbStore aStore( "lmdb-opened", MDB_RDONLY );
                 MDB_txn* pTransaction = NULL;
                 MDB_dbi uBase = 0;
                 mdb_txn_begin( aStore.Get(), NULL, MDB_RDONLY, &pTransaction );
                 mdb_dbi_open( pTransaction, NULL, 0, &uBase );
                 const std::string strPath = PathOfValue( 33, 9 );
                 MDB_val aPath = Bytes( strPath );
                 MDB_val aText{};
                 mdb_get( pTransaction, uBase, &aPath, &aText );
                 rUse( std::string( static_cast<const char*>( aText.mv_data ), aText.mv_size ) );
                 mdb_txn_abort( pTransaction );
             } );
}

// Each run reads the hundred values of one key.
static void RegisterReading()
{
    std::string strExpected;
    std::vector<std::string> aNames;
    std::vector<std::string> aPaths;
    for ( int i = 0; i < VALUES; ++i )
    {
        strExpected += ValueText( 50, i ) + "\n";
        aNames.push_back( ValueName( i ) );
        aPaths.push_back( PathOfValue( 50, i ) );
    }
    Measure(
        "registry/read/bxtools", strExpected,
        [aNames, hKey = OpenKey( 50 )]( auto& rUse )
        {
            std::array<char, 256> aText;
            for ( const std::string& strName : aNames )
            {
                DWORD dwSize = aText.size();
                RegQueryValueExA( hKey, strName.c_str(), NULL, NULL, reinterpret_cast<BYTE*>( aText.data() ),
                                  &dwSize );
                rUse( static_cast<const char*>( aText.data() ) );
            }
        },
        VALUES );
    LmdbStore* const pStore = new LmdbStore( "lmdb-open", MDB_RDONLY );
    MDB_txn* pTransaction = NULL;
    MDB_dbi uBase = 0;
    mdb_txn_begin( pStore->Get(), NULL, MDB_RDONLY, &pTransaction );
    mdb_dbi_open( pTransaction, NULL, 0, &uBase );
    mdb_txn_reset( pTransaction );
    Measure(
        "registry/read/LMDB", strExpected,
        [aPaths, pTransaction, uBase]( auto& rUse )
        {
            std::array<char, 256> aCopy;
            for ( const std::string& strPath : aPaths )
            {
                MDB_val aPath = Bytes( strPath );
                MDB_val aText{};
                // Sees what was written last, as the registry does.
                Expect( mdb_txn_renew( pTransaction ) == 0 &&
                            mdb_get( pTransaction, uBase, &aPath, &aText ) == 0,
                        "LMDB's get" );
                std::memcpy( aCopy.data(), aText.mv_data, aText.mv_size );
                aCopy[aText.mv_size] = '\0';
                mdb_txn_reset( pTransaction );
                rUse( static_cast<const char*>( aCopy.data() ) );
            }
        },
        VALUES );
}

// The processor's time of a read, when this many processes read at once.
static void RegisterReaders( const char* pName, int nProcesses )
{
    constexpr long READS = 200000;
    double* const pdSeconds = static_cast<double*>( MakeSharedMemory( 8 * sizeof( double ) ) );
    const auto Read = [pdSeconds]( int nProcess, StartGate& rGate )
    {
        const HKEY hKey = OpenKey( nProcess );
        rGate.Pass();
        timespec aBefore{};
        timespec aAfter{};
        clock_gettime( CLOCK_PROCESS_CPUTIME_ID, &aBefore );
        LONG lErrors = 0;
        for ( long i = 0; i < READS; ++i )
        {
            std::array<BYTE, 256> aText;
            DWORD dwSize = aText.size();
            lErrors |= RegQueryValueExA( hKey, "value number 9", NULL, NULL, aText.data(), &dwSize );
        }
        clock_gettime( CLOCK_PROCESS_CPUTIME_ID, &aAfter );
        pdSeconds[nProcess] = static_cast<double>( aAfter.tv_sec - aBefore.tv_sec ) +
                              static_cast<double>( aAfter.tv_nsec - aBefore.tv_nsec ) / 1e9;
        return lErrors == 0;
    };
    benchmark::RegisterBenchmark( pName,
                                  [=]( benchmark::State& rState )
                                  {
                                      while ( rState.KeepRunningBatch( READS ) )
                                      {
                                          TimeOfProcesses( pName, nProcesses, Read );
                                          rState.SetIterationTime(
                                              std::accumulate( pdSeconds, pdSeconds + nProcesses, 0.0 ) /
                                              nProcesses );
                                      }
                                  } )
        ->UseManualTime();
}

static void RegisterWriting()
{
    GSettings* const pSettings = OpenGSettings();
    const HKEY hKey = OpenKey( 50 );
    const auto SetOne = [hKey]( auto& rUse )
    {
        static DWORD dwNumber = 0;
        ++dwNumber;
        rUse( RegSetValueExA( hKey, "number", 0, REG_DWORD, reinterpret_cast<const BYTE*>( &dwNumber ), 4 ) );
    };
    Measure( "registry/set/bxtools", "0\n", SetOne );
    Measure( "registry/set/GSettings", "1\n",
             [pSettings]( auto& rUse )
             {
                 static int nNumber = 0;
                 rUse( g_settings_set_int( pSettings, "number", ++nNumber ) );
                 g_settings_sync();
             } );
    constexpr int AT_ONCE = 1000;
    Measure(
        "registry/set1000/bxtools", "0\n",
        [hKey]( auto& rUse )
        {
            static DWORD dwNumber = 0;
            RegistryBatch aBatch;
            aBatch.Begin( hKey );
            for ( int i = 0; i < AT_ONCE; ++i, ++dwNumber )
                RegSetValueExA( hKey, std::to_string( i ).c_str(), 0, REG_DWORD,
                                reinterpret_cast<const BYTE*>( &dwNumber ), 4 );
            rUse( aBatch.Commit() );
        },
        AT_ONCE );
    Measure( "registry/set1000/singly", "0\n", SetOne );
}

void RegisterRegistryMeasurements()
{
    FillRegistry();
    FillLmdb( "lmdb-opened" );
    FillLmdb( "lmdb-open" );
    RegisterOpening();
    RegisterReading();
    RegisterReaders( "registry/four-readers/bxtools", 4 );
    RegisterReaders( "registry/four-readers/one-reader", 1 );
    RegisterWriting();
}
