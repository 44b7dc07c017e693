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

// Whether there is such a text, blank, the text or "none".
std::string Read( LPVOID hTree, const char* pKey )
{
    int nFound = -1;
    const char* const pText = BTreeOnDiskReadKeyStringPairFromFile( hTree, pKey, &nFound, "none" );
    return std::to_string( nFound ) + " " + pText;
}
} // namespace

TEST( BTree, InitRefusesArgumentsInTheirOrder )
{
    const ScratchFolder aFolder;
    const std::string strMissing = aFolder.Path( "missing" );
    const std::string strOther = aFolder.Path( "other" );
    WriteBytes( strOther, "no tree" );
    const std::tuple<const char*, unsigned, const char*, const char*> aCases[] = {
        { NULL, 0, NULL, " Error: pFile == NULL" },
        { "", 5, NULL, " Error: STRLEN( pFile ) == 0" },
        { strOther.c_str(), 0, NULL, " Error: pMode == NULL" },
        { strOther.c_str(), 5, "", " Error: STRLEN( pMode ) == 0" },
        { strMissing.c_str(), 0, "rb", " Error: !pObj->IsStatusOk()" },
        { strOther.c_str(), 0, "rb", " Error: !pObj->IsStatusOk()" },
        { strOther.c_str(), 5, "rb", " Error: !pObj->IsStatusOk()" },
    };
    DebugRecorder aDebug;
    for ( const auto& [pFile, uKeyLength, pMode, pText] : aCases )
    {
        EXPECT_EQ( NULL, BTreeOnDiskInit( pFile, uKeyLength, pMode, FALSE ) );
        EXPECT_TRUE( aDebug.OnlyReport( INIT, pText ) );
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
        EXPECT_EQ( "1 first", Read( hTree, "key" ) ) << fReopened;
        EXPECT_EQ( "1 ", Read( hTree, "a key that is longer than eight" ) );
        EXPECT_EQ( "1 ", Read( hTree, "" ) );
        EXPECT_EQ( "0 none", Read( hTree, "a key that is longer" ) );
        EXPECT_STREQ( "", BTreeOnDiskReadKeyStringPairFromFile( hTree, "absent", NULL, NULL ) );
        if ( fReopened )
            break;
        BTreeOnDiskDelete( hTree );
        hTree = BTreeOnDiskInit( strPath.c_str(), 0, "rb", FALSE );
        ASSERT_TRUE( hTree != NULL );
    }
    BTreeOnDiskDelete( hTree );
    BTreeOnDiskDelete( NULL );
    int nFound = 1;
    EXPECT_FALSE( BTreeOnDiskIsStatusOk( NULL ) ||
                  BTreeOnDiskWriteKeyStringPairToFile( NULL, "key", "text" ) );
    EXPECT_EQ( NULL, BTreeOnDiskReadKeyStringPairFromFile( NULL, "key", &nFound, "none" ) );
    EXPECT_EQ( 0, nFound );
    EXPECT_TRUE( aDebug.OnlyReports(
        { { "From DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskIsStatusOk( LPVOID lValue )", NULL_HANDLE },
          { "From DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskWriteKeyStringPairToFile( LPVOID lValue, MYLPCSTR pKey, LPCTSTR pValue )",
            NULL_HANDLE },
          { "From DLL_EXPORT_MOD DATABUFTYPE DLL_EXPORT BTreeOnDiskReadKeyStringPairFromFile( LPVOID lValue, MYLPCSTR pKey, int* pnFound, LPCTSTR pPartialKey )",
            NULL_HANDLE } } ) );
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
        // The text of the last read may serve for the next one.
        EXPECT_STREQ( "text", aTree.ReadKeyStringPairFromFile(
                                  "absent", nFound, aTree.ReadKeyStringPairFromFile( "key", nFound, "" ) ) );
        EXPECT_EQ( 0, nFound );

        NlsBTreeOnDisk aReader( strPath.c_str(), 0, "rb", FALSE );
        aReader.SetDbgFunc( &HookRecorder::Debug );
        // The status is the result, whatever became of the pair.
        EXPECT_TRUE( aReader.WriteKeyStringPairToFile( "new", "text" ) );
        EXPECT_TRUE( aTree.Close() );
        EXPECT_STREQ( "text", aReader.ReadKeyStringPairFromFile( "key", nFound, "none" ) );

        NlsBTreeOnDisk aSecond( strPath.c_str(), 20, "rb", FALSE );
        EXPECT_FALSE( aSecond.IsStatusOk() ) << "one process writes at a time";
        aSecond.SetDbgFunc( &HookRecorder::Debug );
        aSecond.Init();
        EXPECT_FALSE( aSecond.WriteKeyStringPairToFile( "key", "text" ) );
        EXPECT_STREQ( "none", aSecond.ReadKeyStringPairFromFile( "key", nFound, "none" ) );
    }
    EXPECT_EQ( "BXTOOLS.DLL -> Object NlsBTreeOnDisk removed\r\n", aDebug.Take() );

    std::string strBytes = ReadBytes( strPath );
    strBytes[strBytes.find( "text" )] = 'T';
    WriteBytes( strPath, strBytes );
    NlsBTreeOnDisk aDamaged( strPath.c_str(), 0, "rb", FALSE );
    aDamaged.SetDbgFunc( &HookRecorder::Debug );
    int nFound = 1;
    EXPECT_STREQ( "none", aDamaged.ReadKeyStringPairFromFile( "key", nFound, "none" ) );
    EXPECT_TRUE(
        aHook.OnlyReports( { { READ, " Error: m_loc == RWNIL" },
                             { WRITE, "RWFile: the file was opened to be read\r\nm_stKey = new" },
                             { WRITE, " Error: !m_bStatusOk" },
                             { READ, " Error: !m_bStatusOk" },
                             { READ, "RWBTreeOnDisk: a text of the file is damaged\r\nm_stKey = key" } } ) );
}

TEST( OutOfMemory, TreeFilesLoseNothingThatWasComplete )
{
    const ScratchFolder aFolder;
    DebugRecorder aDebug;
    const long lBefore = NewOutstanding();
    unsigned long ulTree = 0;
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            const std::string strPath = aFolder.Path( std::to_string( ++ulTree ) );
            rFault.Arm();
            const LPVOID hTree = BTreeOnDiskInit( strPath.c_str(), 16, "rb", FALSE );
            BTreeOnDiskWriteKeyStringPairToFile( hTree, "key", "text" );
            BTreeOnDiskWriteKeyStringPairToFile( hTree, "a key that goes on", "text" );
            BTreeOnDiskDelete( hTree );
            rFault.Disarm();
            aDebug.Take();
            const LPVOID hReader = BTreeOnDiskInit( strPath.c_str(), 16, "rb", FALSE );
            const std::string strFound = Read( hReader, "key" );
            EXPECT_TRUE( strFound == "1 text" || ( rFault.Hit() && strFound == "0 none" ) ) << strFound;
            BTreeOnDiskDelete( hReader );
        } );
    EXPECT_LT( 10u, ulTree );
    EXPECT_EQ( lBefore, NewOutstanding() );
}
