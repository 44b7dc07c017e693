#include "support/failnew.h"
#include "support/recorder.h"
#include "support/scratchfolder.h"

#include <bxtools/btree.h>

#include <gtest/gtest.h>

namespace
{
constexpr char INIT[] =
    "From DLL_EXPORT_MOD LPVOID DLL_EXPORT BTreeOnDiskInit( MYLPCSTR pFile, unsigned MaxKeyLength, MYLPCSTR pMode, BOOL bDebugMessage )";
constexpr char READ[] =
    "From DATABUFTYPE NlsBTreeOnDisk::ReadKeyStringPairFromFile( MYLPCSTR pKey, int& nFound, LPCTSTR pPartialKey )";
constexpr char WRITE[] =
    "From BOOL NlsBTreeOnDisk::WriteKeyStringPairToFile( MYLPCSTR pKey, LPCTSTR pValue )";
constexpr char NULL_HANDLE[] = " Error: ( pObj = ConvertToBTreeOnDisk( lValue ) ) == NULL";

struct Found
{
    std::string strText;
    int nFound;
    bool operator==( const Found& ) const = default;
};

Found Read( LPVOID hTree, const char* pKey, const char* pPartialKey )
{
    int nFound = -1;
    const char* const pText = BTreeOnDiskReadKeyStringPairFromFile( hTree, pKey, &nFound, pPartialKey );
    return { pText, nFound };
}
} // namespace

TEST( BTree, InitRefusesArgumentsInTheirOrder )
{
    const ScratchFolder aFolder;
    const std::string strMissing = aFolder.Path( "missing" );
    const std::string strOther = aFolder.Path( "other" );
    WriteBytes( strOther, "no tree" );
    struct
    {
        const char* pFile;
        unsigned uKeyLength;
        const char* pMode;
        const char* pText;
    } const aCases[] = {
        { NULL, 0, NULL, " Error: pFile == NULL" },
        { "", 5, NULL, " Error: STRLEN( pFile ) == 0" },
        { strOther.c_str(), 0, NULL, " Error: pMode == NULL" },
        { strOther.c_str(), 5, "", " Error: STRLEN( pMode ) == 0" },
        { strMissing.c_str(), 0, "rb", " Error: !pObj->IsStatusOk()" },
        { strOther.c_str(), 0, "rb", " Error: !pObj->IsStatusOk()" },
        { strOther.c_str(), 5, "rb", " Error: !pObj->IsStatusOk()" },
    };
    DebugRecorder aDebug;
    for ( const auto& rCase : aCases )
    {
        EXPECT_EQ( NULL, BTreeOnDiskInit( rCase.pFile, rCase.uKeyLength, rCase.pMode, FALSE ) );
        EXPECT_TRUE( aDebug.OnlyReport( INIT, rCase.pText ) );
    }
    EXPECT_EQ( "no tree", ReadBytes( strOther ) );
}

TEST( BTree, HandlesWriteAndReadAndSayWhatTheyCannot )
{
    const ScratchFolder aFolder;
    // Either delimiter divides a path.
    const std::string strPath = aFolder.Path() + "\\texts";
    DebugRecorder aDebug;
    LPVOID hTree = BTreeOnDiskInit( strPath.c_str(), 8, "not used", FALSE );
    ASSERT_TRUE( hTree != NULL );
    EXPECT_TRUE( BTreeOnDiskIsStatusOk( hTree ) );
    EXPECT_TRUE( BTreeOnDiskWriteKeyStringPairToFile( hTree, "key", "first" ) );
    EXPECT_TRUE( BTreeOnDiskWriteKeyStringPairToFile( hTree, "key", "second" ) );
    EXPECT_TRUE( BTreeOnDiskWriteKeyStringPairToFile( hTree, "a key that is longer than eight", "" ) );
    EXPECT_TRUE( BTreeOnDiskWriteKeyStringPairToFile( hTree, NULL, NULL ) );
    for ( const bool fReopened : { false, true } )
    {
        EXPECT_EQ( ( Found{ "first", 1 } ), Read( hTree, "key", "none" ) ) << fReopened;
        EXPECT_EQ( ( Found{ "", 1 } ), Read( hTree, "a key that is longer than eight", "none" ) );
        EXPECT_EQ( ( Found{ "", 1 } ), Read( hTree, "", "none" ) );
        EXPECT_EQ( ( Found{ "none", 0 } ), Read( hTree, "a key that is longer", "none" ) );
        EXPECT_STREQ( "", BTreeOnDiskReadKeyStringPairFromFile( hTree, "absent", NULL, NULL ) );
        if ( fReopened )
            break;
        BTreeOnDiskDelete( hTree );
        hTree = BTreeOnDiskInit( strPath.c_str(), 0, "rb", FALSE );
        ASSERT_TRUE( hTree != NULL );
    }
    BTreeOnDiskDelete( hTree );
    BTreeOnDiskDelete( NULL );
    EXPECT_TRUE( aDebug.Silent() ) << "an object without a hook reports to nobody";

    EXPECT_FALSE( BTreeOnDiskIsStatusOk( NULL ) );
    EXPECT_TRUE( aDebug.OnlyReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskIsStatusOk( LPVOID lValue )", NULL_HANDLE ) );
    EXPECT_FALSE( BTreeOnDiskWriteKeyStringPairToFile( NULL, "key", "text" ) );
    EXPECT_TRUE( aDebug.OnlyReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskWriteKeyStringPairToFile( LPVOID lValue, MYLPCSTR pKey, LPCTSTR pValue )",
        NULL_HANDLE ) );
    int nFound = 1;
    EXPECT_EQ( NULL, BTreeOnDiskReadKeyStringPairFromFile( NULL, "key", &nFound, "none" ) );
    EXPECT_EQ( 0, nFound );
    EXPECT_TRUE( aDebug.OnlyReport(
        "From DLL_EXPORT_MOD DATABUFTYPE DLL_EXPORT BTreeOnDiskReadKeyStringPairFromFile( LPVOID lValue, MYLPCSTR pKey, int* pnFound, LPCTSTR pPartialKey )",
        NULL_HANDLE ) );
}

TEST( BTree, ObjectsReportToTheirHook )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "texts" );
    HookRecorder aHook;
    DebugRecorder aDebug;
    {
        NlsBTreeOnDisk aTree( strPath.c_str(), 20, "rb", TRUE );
        aTree.SetDbgFunc( &HookRecorder::Debug );
        aTree.Init(); // open already
        int nFound = 1;
        EXPECT_TRUE( aTree.WriteKeyStringPairToFile( "key", "text" ) );
        EXPECT_STREQ( "text", aTree.ReadKeyStringPairFromFile( "key", nFound, "none" ) );
        EXPECT_TRUE( aHook.Silent() );
        // The text of the last read may serve for the next one.
        EXPECT_STREQ( "text", aTree.ReadKeyStringPairFromFile(
                                  "absent", nFound, aTree.ReadKeyStringPairFromFile( "key", nFound, "" ) ) );
        EXPECT_EQ( 0, nFound );
        EXPECT_TRUE( aHook.OnlyReport( READ, " Error: m_loc == RWNIL" ) );

        NlsBTreeOnDisk aReader( strPath.c_str(), 0, "rb", FALSE );
        aReader.SetDbgFunc( &HookRecorder::Debug );
        // The status is the result, whatever became of the pair.
        EXPECT_TRUE( aReader.WriteKeyStringPairToFile( "new", "text" ) );
        EXPECT_TRUE( aHook.OnlyReport( WRITE, "RWFile: the file was opened to be read\r\nm_stKey = new" ) );
        EXPECT_TRUE( aTree.Close() );
        EXPECT_STREQ( "text", aReader.ReadKeyStringPairFromFile( "key", nFound, "none" ) );

        NlsBTreeOnDisk aSecond( strPath.c_str(), 20, "rb", FALSE );
        EXPECT_FALSE( aSecond.IsStatusOk() ) << "one process writes at a time";
        aSecond.SetDbgFunc( &HookRecorder::Debug );
        aSecond.Init();
        EXPECT_FALSE( aSecond.WriteKeyStringPairToFile( "key", "text" ) );
        EXPECT_STREQ( "none", aSecond.ReadKeyStringPairFromFile( "key", nFound, "none" ) );
        EXPECT_TRUE(
            aHook.OnlyReports( { { WRITE, " Error: !m_bStatusOk" }, { READ, " Error: !m_bStatusOk" } } ) );
        EXPECT_TRUE( aDebug.Silent() );
    }
    EXPECT_EQ( "BXTOOLS.DLL -> Object NlsBTreeOnDisk removed\r\n", aDebug.Take() );

    std::string strBytes = ReadBytes( strPath );
    strBytes[strBytes.find( "text" )] = 'T';
    WriteBytes( strPath, strBytes );
    NlsBTreeOnDisk aDamaged( strPath.c_str(), 0, "rb", FALSE );
    aDamaged.SetDbgFunc( &HookRecorder::Debug );
    int nFound = 1;
    EXPECT_STREQ( "none", aDamaged.ReadKeyStringPairFromFile( "key", nFound, "none" ) );
    EXPECT_TRUE( aHook.OnlyReport( READ, "RWBTreeOnDisk: a text of the file is damaged\r\nm_stKey = key" ) );
}

TEST( OutOfMemory, TreeFilesLoseNothingThatWasComplete )
{
    const ScratchFolder aFolder;
    DebugRecorder aDebug;
    const long lBefore = NewOutstanding();
    unsigned long ulFailing = 1;
    for ( bool fHit = true; fHit; ++ulFailing )
    {
        ASSERT_GT( 500u, ulFailing );
        const std::string strPath = aFolder.Path( std::to_string( ulFailing ) );
        NewFault aFault( ulFailing );
        aFault.Arm();
        const LPVOID hTree = BTreeOnDiskInit( strPath.c_str(), 16, "rb", FALSE );
        BTreeOnDiskWriteKeyStringPairToFile( hTree, "key", "text" );
        BTreeOnDiskWriteKeyStringPairToFile( hTree, "a key that goes on", "text" );
        BTreeOnDiskDelete( hTree );
        aFault.Disarm();
        fHit = aFault.Hit();
        aDebug.Take();
        const LPVOID hReader = BTreeOnDiskInit( strPath.c_str(), 16, "rb", FALSE );
        const Found aFound = Read( hReader, "key", "none" );
        EXPECT_TRUE( aFound == ( Found{ "text", 1 } ) || ( fHit && aFound == ( Found{ "none", 0 } ) ) );
        BTreeOnDiskDelete( hReader );
    }
    EXPECT_LT( 10u, ulFailing );
    EXPECT_EQ( lBefore, NewOutstanding() );
}
