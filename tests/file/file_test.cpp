// The file classes: what they report, lines, copies, and sharing between processes.
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"
#include "support/virtualslots.h"

#include <bxtools/file.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>

namespace
{

using File = MFileWrapper;

// A wrapper that reports to the hook recorder.
class TestFile : public File
{
public:
    explicit TestFile( int nType = FILE_TYPE_CFILE ) : File( nType, &HookRecorder::Debug, NULL ) {}
    TestFile( const std::string& strPath, UINT uOpenFlags ) : TestFile()
    {
        EXPECT_TRUE( MyOpen( strPath.c_str(), uOpenFlags ) ) << strPath;
    }
    DWORD Position()
    {
        DWORD dwPosition = 0;
        EXPECT_TRUE( MyGetPosition( &dwPosition ) );
        return dwPosition;
    }
};

std::string Details( const std::string& strName, const std::string& strCause, int nOsError )
{
    return ", FileName = " + strName + "\r\n ->  Error: " + strCause +
           " OsError = " + std::to_string( nOsError );
}

std::string OpenReport( const std::string& strName, const std::string& strCause, int nOsError )
{
    return " Error: m_pFileInterface->Open( lpszFileName, uOpenFlags, &e ) " +
           Details( strName, strCause, nOsError );
}

constexpr char NO_FILE[] = ", FileName = \r\n ->  Error: The file could not be located. OsError = 6";
constexpr char OPEN_HEADER[] = "From BOOL MFileWrapper::MyOpen( LPCTSTR lpszFileName, UINT uOpenFlags )";
constexpr char GET_LINE_HEADER[] =
    "From BOOL MFileWrapper::MyGetLine( LPTSTR pData, UINT* punCharCount, TCHAR cDelim )";
constexpr char COPY_HEADER[] = "From BOOL MFileWrapper::CopyTo( LPCTSTR lpszDst )";

// Cause and error number that a throwing operation throws; "" when it does not.
std::string Thrown( const std::function<void()>& aOperation )
{
    try
    {
        aOperation();
    }
    catch ( CException* pCaught )
    {
        const std::unique_ptr<CException> pException( pCaught );
        const auto& rException = dynamic_cast<const CFileException&>( *pCaught );
        return std::to_string( rException.m_lCause ) + " " + std::to_string( rException.m_lOsError ) + " " +
               rException.m_aFileName.data();
    }
    return "";
}

} // namespace

TEST( FileReports, OperationsWithoutAFileSayWhatFailed )
{
    HookRecorder aRecorder;
    TestFile aClosed;
    // As in the header, as in the text, and the call itself.
    const auto Check = [&]( BOOL fDone, const std::string& strName, const std::string& strCall )
    {
        EXPECT_FALSE( fDone ) << strName;
        EXPECT_TRUE( aRecorder.OnlyReport( "From BOOL MFileWrapper::" + strName,
                                           " Error: m_pFileInterface->" + strCall + NO_FILE ) );
    };
    char aBytes[4] = {};
    Check( aClosed.MySeek( 1, 0, NULL ), "MySeek( LONG lOff, UINT uFrom, LONG* plCurrent )",
           "Seek( lOff, uFrom )" );
    Check( aClosed.MySeekToEnd( NULL ), "MySeekToEnd( DWORD* pdwSize )", "SeekToEnd()" );
    Check( aClosed.MySeekToBegin(), "MySeekToBegin()", "SeekToBegin()" );
    Check( aClosed.MyGetPosition( NULL ), "MyGetPosition( DWORD* pdwPos )", "GetPosition()" );
    Check( aClosed.MyGetLength( NULL ), "MyGetLength( DWORD* pdwFileLength )", "GetLength()" );
    Check( aClosed.MyWrite( aBytes, 1 ), "MyWrite( MCPTR pData, UINT uCount )", "Write( pData, uCount )" );
    Check( aClosed.MyRead( aBytes, 1, NULL ), "MyRead( MPTR lpBuf, UINT uCount, UINT* puTransferred )",
           "Read( lpBuf, uCount )" );
    Check( aClosed.MySetLength( 5 ), "MySetLength( DWORD dwNewFileLength )", "SetLength( dwNewFileLength )" );
    Check( aClosed.MyLockRange( 0, 1 ), "MyLockRange( DWORD dwPos, DWORD dwCount )",
           "LockRange( dwPos, dwCount )" );
    Check( aClosed.MyUnlockRange( 0, 1 ), "MyUnLockRange( DWORD dwPos, DWORD dwCount )",
           "UnlockRange( dwPos, dwCount )" );
    // What does nothing needs no file.
    EXPECT_TRUE( aClosed.MyClose() && aClosed.MyFlush() && aClosed.MyRead( NULL, 0, NULL ) &&
                 aClosed.MyWrite( NULL, 0 ) && aClosed.MyWriteStr( NULL ) );
    EXPECT_TRUE( aRecorder.Silent() );

    // A type that there is not: each operation says so.
    TestFile aMemory( FILE_TYPE_CMEMFILE );
    EXPECT_TRUE( aRecorder.OnlyReports(
        { { "From BOOL MFileWrapper::OnInit(...)",
            " Error: wrong constructor initialization -> switch( nType ) default" },
          { "From MFileWrapper::MFileWrapper(...)",
            " Error: !OnInit( nType, hFile, 1024, NULL, 0, 0, pMyDbgFunc, pMyLogFunc )" } } ) );
    const Report aFailed( "From BOOL MFileWrapper::MyWriteStr( LPCTSTR pData )",
                          " Error: m_pFileInterface == NULL -> constructor failed" );
    EXPECT_FALSE( aMemory.MyWriteStr( "a" ) );
    EXPECT_TRUE( aRecorder.OnlyReports(
        { { "From BOOL MFileWrapper::MyWrite( MCPTR pData, UINT uCount )", aFailed.second }, aFailed } ) );
    EXPECT_FALSE( aMemory.MyClose() || aMemory.MyFlush() || aMemory.MyOpen( "a", 0 ) ||
                  aMemory.MyGetLine( NULL, NULL, 'a' ) || aMemory.CopyTo( "a" ) );
}

TEST( FileReports, OpeningTellsNameCauseAndError )
{
    const ScratchFolder aFolder;
    HookRecorder aRecorder;
    TestFile aFile;
    WriteBytes( aFolder.Path( "there" ), "12345" );
    const struct
    {
        std::string strName;
        UINT uOpenFlags;
        const char* pCause;
        int nOsError;
    } aCases[] = {
        { aFolder.Path( "missing" ), File::modeRead, "The file could not be located.", 2 },
        { aFolder.Path( "missing/file" ), File::modeCreate, "All or part of the path is invalid.", 3 },
        { "", File::modeRead, "All or part of the path is invalid.", 3 },
        { aFolder.Path(), File::modeRead | File::shareDenyNone, "The file could not be accessed.", 5 },
        { aFolder.Path( "there" ), 0x0003, "An unspecified error occurred.", 87 },
        { aFolder.Path( "there" ), 0x0050 | File::modeCreate, "An unspecified error occurred.", 87 },
        { aFolder.Path( "there" ), 0x4000 | File::modeCreate, "An unspecified error occurred.", 87 },
    };
    for ( const auto& rCase : aCases )
    {
        EXPECT_FALSE( aFile.MyOpen( rCase.strName.c_str(), rCase.uOpenFlags ) );
        EXPECT_TRUE(
            aRecorder.OnlyReport( OPEN_HEADER, OpenReport( rCase.strName, rCase.pCause, rCase.nOsError ) ) );
    }
    EXPECT_EQ( "12345", ReadBytes( aFolder.Path( "there" ) ) ) << "what is refused empties nothing";
    EXPECT_FALSE( aFile.MyOpen( NULL, File::modeRead ) );
    EXPECT_TRUE(
        aRecorder.OnlyReport( OPEN_HEADER, OpenReport( "", "All or part of the path is invalid.", 3 ) ) );

    // Opening another file closes the one before.
    EXPECT_TRUE( aFile.MyOpen( aFolder.Path( "there" ).c_str(), File::modeRead ) );
    EXPECT_TRUE( aFile.MyOpen( aFolder.Path( "new" ).c_str(), File::modeCreate | File::modeWrite ) );
    DebugRecorder aLibrary;
    EXPECT_TRUE( File::Remove( aFolder.Path( "there" ).c_str() ) );
    EXPECT_TRUE( aLibrary.Silent() );
    EXPECT_FALSE( File::Rename( aFolder.Path( "new" ).c_str(), aFolder.Path( "newer" ).c_str() ) );
    EXPECT_TRUE( aLibrary.OnlyReport(
        "From BOOL PASCAL MFileWrapper::Rename( LPCTSTR lpszOldName, LPCTSTR lpszNewName )",
        " Error: BaseFile::Rename( lpszOldName, lpszNewName )" +
            Details( "", "SHARE.EXE was not loaded, or a shared region was locked.", 32 ) ) );
    for ( const auto& [lError, lCause] : std::initializer_list<std::pair<LONG, LONG>>{
              { 0, 0 }, { -1, 1 }, { 268, 1 }, { 267, 3 }, { 994, 1 }, { 998, 1 }, { 999, 5 }, { 1000, 1 } } )
        EXPECT_EQ( lCause, CFileException::CauseOf( lError ) ) << lError;
}

TEST( BaseFile, ThrowsAndLeavesOtherPeoplesHandlesOpen )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "file" );
    BaseFile aFile( strPath.c_str(), File::modeCreate | File::modeReadWrite | File::shareDenyNone );
    aFile.Write( "0123456789", 10 );
    const std::unique_ptr<BaseFile> pDuplicate( aFile.Duplicate() );
    EXPECT_EQ( 4, aFile.Seek( -6, File::end ) );
    EXPECT_EQ( 4u, pDuplicate->GetPosition() ) << "one position";
    EXPECT_EQ( 10u, aFile.GetLength() );
    EXPECT_EQ( "9 131 ", Thrown( [&] { aFile.Seek( -1, File::begin ); } ) );
    aFile.SetLength( 0x90000000 );
    EXPECT_EQ( 0x90000000u, aFile.GetPosition() );
    EXPECT_EQ( 0x90000000u, aFile.GetLength() );
    EXPECT_EQ( 0x90000000u, aFile.GetPosition() ) << "beyond 2 GB the position is kept, too";
    aFile.SetLength( 3 );

    {
        BaseFile aAdopted( static_cast<int>( *pDuplicate ) );
        BaseFile aAssigned;
        aAssigned = aFile;
        EXPECT_TRUE( aAssigned.GetLength() == 3 && aAdopted.GetLength() == 3 );
    }
    EXPECT_EQ( 3u, pDuplicate->GetPosition() ) << "an adopted handle outlives its object";
    BaseFile aReader( strPath.c_str(), File::modeRead | File::shareDenyNone );
    char aFullPath[MAX_PATH];
    ASSERT_NE( 0u, GetFullPathNameA( strPath.c_str(), sizeof( aFullPath ), aFullPath, NULL ) );
    EXPECT_EQ( std::string( "5 5 " ) + aFullPath, Thrown( [&] { aReader.Write( "a", 1 ); } ) );
    EXPECT_EQ( "2 6 ", Thrown( [] { BaseFile().Duplicate(); } ) );
    EXPECT_EQ( "2 2 " + aFolder.Path( "none" ),
               Thrown( [&] { BaseFile( aFolder.Path( "none" ).c_str(), 0 ); } ) );

    const int nHandle = aReader;
    BaseFile( nHandle ).Close();
    EXPECT_EQ( "2 6 ", Thrown( [&] { aReader.Close(); } ) );
    EXPECT_EQ( -1, static_cast<int>( aReader ) ) << "no file after a failed close, either";
    EXPECT_EQ( "", Thrown( [&] { aReader.Close(), aReader.Flush(), aReader.Abort(); } ) );
}

TEST( BaseFile, SlotsOfTheTableStandInTheirOrder )
{
    using B = BaseFile;
    const std::vector<size_t> aSlots =
        SlotsOf( &B::GetPosition, &B::SetFilePath, &B::Open, &B::Duplicate, &B::Seek, &B::SetLength,
                 &B::GetLength, &B::Read, &B::Write, &B::LockRange, &B::UnlockRange, &B::Abort, &B::Flush,
                 &B::Close, &B::GetBufferPtr );
    for ( size_t i = 0; i < aSlots.size(); ++i )
        EXPECT_EQ( i < 14 ? i : i + 2, aSlots[i] ) << "the destructor has two slots of this compiler's";
}

TEST( FileLines, NeedTheirDelimiterAndRoom )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "lines" );
    WriteBytes( strPath, "ab\ncd" );
    HookRecorder aRecorder;
    for ( const UINT uShare : { File::shareDenyWrite, File::shareDenyNone } )
    {
        TestFile aFile( strPath, uShare );
        char aLine[10] = "xxxxxxxxx";
        UINT unSize = 3;
        EXPECT_FALSE( aFile.MyGetLine( aLine, &unSize, '\n' ) ) << "no room for the zero";
        EXPECT_EQ( 0u, aFile.Position() );
        unSize = 10;
        EXPECT_TRUE( aFile.MyGetLine( aLine, &unSize, '\n' ) );
        EXPECT_STREQ( "ab\n", aLine );
        EXPECT_EQ( 3u, aFile.Position() );
        EXPECT_FALSE( aFile.MyGetLine( aLine, &unSize, '\n' ) );
        EXPECT_STREQ( "", aLine );
        EXPECT_EQ( 3u, aFile.Position() );
        EXPECT_EQ( 10u, unSize );
        EXPECT_TRUE( aFile.MySeek( 9, File::begin, NULL ) && aRecorder.Silent() );
        EXPECT_FALSE( aFile.MyGetLine( aLine, &unSize, '\n' ) );
        EXPECT_TRUE( aRecorder.OnlyReport( GET_LINE_HEADER, " Error: dwFileSize < dwCurrent" ) );
        EXPECT_FALSE( aFile.MyGetLine( aLine, NULL, '\n' ) );
        EXPECT_TRUE(
            aRecorder.OnlyReport( GET_LINE_HEADER, " Error: pData == NULL || punCharCount == NULL" ) );
        unSize = 0;
        EXPECT_FALSE( aFile.MyGetLine( aLine, &unSize, '\n' ) );
        EXPECT_TRUE( aRecorder.OnlyReport( GET_LINE_HEADER, " Error: *punCharCount < sizeof( TCHAR )" ) );
    }
}

// Every line of a text is expected as the text alone says it, at the edges of what is read ahead (65,536 bytes) and of the
// caller's buffer, with other operations in between.
TEST( FileLines, AreThoseOfTheTextAtEveryEdge )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "lines" );
    std::string strText;
    for ( const size_t uLength : { 65535u, 1u, 65534u, 65536u, 2u, 65533u, 3u, 65537u, 70000u, 131072u } )
    {
        strText += std::string( uLength - 1, static_cast<char>( 'a' + uLength % 26 ) ) + "\n";
        for ( size_t i = 0; i < 30; ++i )
            strText += std::string( i * i, 'x' ) + std::string( i % 3, '\0' ) + "\n";
    }
    WriteBytes( strPath, strText + "rest" );
    HookRecorder aRecorder;
    for ( const UINT uShare : { File::shareDenyWrite, File::shareExclusive, File::shareDenyNone } )
    {
        for ( const UINT unRoom : { 2u, 1000u, 65535u, 65536u, 65537u, 65538u, 200000u } )
        {
            TestFile aFile( strPath, uShare );
            const auto pLine = std::make_unique<char[]>( unRoom + 1 );
            pLine[unRoom] = '#';
            UINT unSize = unRoom;
            size_t uCalls = 0;
            for ( size_t uPosition = 0; uPosition < strText.size(); ++uCalls )
            {
                const std::string strLine =
                    strText.substr( uPosition, strText.find( '\n', uPosition ) + 1 - uPosition );
                const BOOL fFits = strLine.size() < unRoom;
                ASSERT_EQ( fFits, aFile.MyGetLine( pLine.get(), &unSize, '\n' ) )
                    << uPosition << " " << unRoom;
                ASSERT_EQ( std::string( fFits ? strLine : "" ).append( 1, '\0' ),
                           std::string( pLine.get(), fFits ? strLine.size() + 1 : 1 ) );
                uPosition += strLine.size();
                if ( !fFits || uCalls % 7 == 0 )
                {
                    ASSERT_TRUE( aFile.MySeek( fFits ? 0 : static_cast<LONG>( strLine.size() ), File::current,
                                               NULL ) );
                }
                if ( uCalls % 5 == 0 )
                {
                    ASSERT_EQ( uPosition, aFile.Position() );
                }
            }
            EXPECT_FALSE( aFile.MyGetLine( pLine.get(), &unSize, '\n' ) );
            EXPECT_EQ( '#', pLine[unRoom] );
            char aRest[8] = {};
            EXPECT_TRUE( aFile.MyReadStr( aRest, 7, NULL ) );
            EXPECT_STREQ( "rest", aRest );
        }
    }
    EXPECT_TRUE( aRecorder.Silent() );
}

TEST( FileCopy, IsWholeAtEveryMultipleOfTheChunk )
{
    const ScratchFolder aFolder;
    const std::string strSource = aFolder.Path( "source" );
    const std::string strCopy = aFolder.Path( "copy" );
    HookRecorder aRecorder;
    for ( const size_t uLength : { 0u, 1u, 999u, 1000u, 1001u, 2999u, 3000u, 3001u } )
    {
        std::string strBytes( uLength, 'a' );
        for ( size_t i = 0; i < uLength; ++i )
            strBytes[i] = static_cast<char>( i * 7 / 3 );
        WriteBytes( strSource, strBytes );
        WriteBytes( strCopy, std::string( 5000, 'o' ) );
        TestFile aFile( strSource, File::shareDenyWrite );
        EXPECT_TRUE( aFile.MySeek( 1, File::begin, NULL ) );
        for ( const DWORD dwChunk : { 1000u, 700u, 5000u } )
        {
            EXPECT_TRUE( aFile.SetCopyBuffSize( dwChunk ) && aFile.CopyTo( strCopy.c_str() ) );
            EXPECT_EQ( strBytes, ReadBytes( strCopy ) ) << uLength << " by " << dwChunk;
            EXPECT_EQ( 1u, aFile.Position() );
        }
    }
    EXPECT_TRUE( aRecorder.Silent() );

    TestFile aFile( strSource, File::shareDenyNone );
    EXPECT_TRUE( aFile.MySetFilePath( "another path" ) );
    EXPECT_FALSE( aFile.CopyTo( aFolder.Path( "./source" ).c_str() ) );
    EXPECT_TRUE( aRecorder.OnlyReport(
        COPY_HEADER,
        " Error: !aDst.MyOpen( lpszDst, MFileWrapper::modeCreate | MFileWrapper::modeReadWrite | MFileWrapper::shareDenyWrite )" ) );
    EXPECT_EQ( 3001u, ReadBytes( strSource ).size() ) << "a copy onto itself empties nothing";
    aFile.SetCopyBuffSize( 0 );
    EXPECT_FALSE( aFile.CopyTo( strCopy.c_str() ) );
    EXPECT_TRUE( aRecorder.OnlyReport( COPY_HEADER,
                                       " Error: ( m_pCopyBuff = MyTCHARFactory( m_dwBuffSize ) ) == NULL" ) );
    EXPECT_FALSE( aFile.CopyTo( NULL ) );
    EXPECT_TRUE( aRecorder.OnlyReport( COPY_HEADER, " Error: lpszDst == NULL" ) );
}

// Opens, locks and says what came of it: flags, or a range.
BX_ROLE( file_user )
{
    TestFile aFile;
    for ( std::string strLine; !( strLine = WaitForTest() ).empty(); )
    {
        const UINT uNumber = static_cast<UINT>( std::stoul( strLine.substr( 1 ) ) );
        const BOOL fDone = strLine[0] == 'o' ? aFile.MyOpen( Arguments[0].c_str(), uNumber )
                                             : aFile.MyLockRange( uNumber, 10 );
        TellTest( fDone ? "yes" : "no" );
    }
    return 0;
}

TEST( FileSharing, IsKeptBetweenProcessesUntilTheOtherIsKilled )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "shared" );
    WriteBytes( strPath, std::string( 100, 'a' ) );
    HookRecorder aRecorder;
    SecondProcess aOther( "file_user", { strPath } );
    const auto Tell = [&]( const std::string& strLine )
    {
        aOther.WriteLine( strLine );
        return aOther.ReadLine() == "yes";
    };
    // Access and what is left to others: bit 0 for reading, bit 1 for writing.
    const auto Flags = []( UINT uAccess, UINT uShare ) { return ( uAccess - 1 ) | ( ( uShare + 1 ) << 4 ); };
    for ( UINT uCase = 0; uCase < 3 * 4 * 3 * 4; ++uCase )
    {
        const UINT uAccess = uCase / 48 + 1;
        const UINT uShare = uCase / 12 % 4;
        const UINT uOwnAccess = uCase / 4 % 3 + 1;
        const UINT uOwnShare = uCase % 4;
        if ( uCase % 12 == 0 )
        {
            ASSERT_TRUE( Tell( "o" + std::to_string( Flags( uAccess, uShare ) ) ) );
        }
        EXPECT_EQ( ( uAccess & ~uOwnShare ) == 0 && ( uOwnAccess & ~uShare ) == 0,
                   TestFile().MyOpen( strPath.c_str(), Flags( uOwnAccess, uOwnShare ) ) != FALSE )
            << uAccess << uShare << uOwnAccess << uOwnShare;
    }
    ASSERT_TRUE( Tell( "o" + std::to_string( UINT( File::modeReadWrite | File::shareDenyNone ) ) ) );
    TestFile aFile( strPath, File::modeReadWrite | File::shareDenyNone );
    EXPECT_TRUE( Tell( "l20" ) );
    EXPECT_TRUE( aFile.MyLockRange( 30, 10 ) );
    EXPECT_FALSE( Tell( "l25" ) );
    aRecorder.TakeReports();
    EXPECT_FALSE( aFile.MyLockRange( 29, 1 ) );
    EXPECT_TRUE( aRecorder.OnlyReport(
        "From BOOL MFileWrapper::MyLockRange( DWORD dwPos, DWORD dwCount )",
        " Error: m_pFileInterface->LockRange( dwPos, dwCount )" +
            Details( "", "There was an attempt to lock a region that was already locked.", 33 ) ) );
    EXPECT_FALSE( File::Remove( strPath.c_str() ) );
    aOther.Kill();
    aOther.Wait();
    EXPECT_TRUE( aFile.MyLockRange( 20, 10 ) && aFile.MyClose() );
    EXPECT_TRUE( aFile.MyOpen( strPath.c_str(), File::shareExclusive ) && aFile.MyClose() );
    EXPECT_TRUE( File::Remove( strPath.c_str() ) );
    EXPECT_TRUE( aRecorder.Silent() );
}

TEST( OutOfMemory, FileOperationsFailOrSucceedAndLoseNothing )
{
    const ScratchFolder aFolder;
    const std::string strSource = aFolder.Path( "source" );
    const std::string strCopy = aFolder.Path( "copy" );
    const std::string strNone = aFolder.Path( "none" );
    WriteBytes( strSource, "line\n" + std::string( 100, 'x' ) );
    const auto Use = [&]( BOOL& rfLine ) -> BOOL
    {
        File aFile( FILE_TYPE_CFILE, &HookRecorder::Debug, NULL );
        char aLine[10];
        UINT unSize = sizeof( aLine );
        if ( !aFile.MyOpen( strSource.c_str(), File::shareDenyWrite ) )
            return FALSE;
        rfLine = aFile.MyGetLine( aLine, &unSize, '\n' );
        aFile.MyOpen( strNone.c_str(), File::modeRead );
        return aFile.MyOpen( strSource.c_str(), File::shareDenyWrite ) && aFile.CopyTo( strCopy.c_str() );
    };
    BOOL fLine = FALSE;
    EXPECT_TRUE( Use( fLine ) );
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            HookRecorder aRecorder;
            const long lBefore = NewOutstanding();
            fLine = TRUE;
            const BOOL fDone = rFault.During( [&] { return Use( fLine ); } );
            EXPECT_TRUE( fLine ) << "lines need no memory";
            EXPECT_TRUE( !fDone || ReadBytes( strCopy ) == ReadBytes( strSource ) );
            EXPECT_EQ( lBefore, NewOutstanding() );
        } );
}
