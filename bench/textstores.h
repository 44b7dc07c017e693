// Stores of keys and texts, ours and its peers', all used in the same way: made from pairs, opened to be read, asked. A text
// that is found is one of the store's own, until the next is asked for.
#pragma once

#include <bxtools/btree.h>

#include <cdb.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gdbm.h>
#include <lmdb.h>
#include <memory>
#include <string>
#include <tkrzw_dbm_hash.h>
#include <unistd.h>
#include <vector>

constexpr unsigned KEY_LENGTH = 64;
constexpr size_t MAP_SIZE = size_t{ 1 } << 28;

inline void Expect( bool fGood, const char* pWhat )
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
inline const char* Kept( std::string& rKept, const void* pText, size_t nLength )
{
    rKept.assign( static_cast<const char*>( pText ), nLength );
    return rKept.c_str();
}

inline MDB_val Bytes( const std::string& strText )
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

inline datum DatumOf( const std::string& strText )
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
