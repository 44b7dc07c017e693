// The file classes: what they report, lines, copies, and sharing between processes.
#include "file/filetest.h"
#include "support/failnew.h"
#include "support/secondprocess.h"
#include "support/virtualslots.h"

#include <bxtools/platform.h>

#include <functional>
#include <memory>

namespace
{

using File = MFileWrapper;
using FileReports = FileTest;
using ThrowingFile = FileTest;
using FileLines = FileTest;
using FileCopy = FileTest;
using FileSharing = FileTest;

std::string Details( const std::string& strName, const std::string& strCause, int nOsError )
{
    return ", FileName = " + strName + "\r\n ->  Error: " + strCause +
           " OsError = " + std::to_string( nOsError );
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

TEST_F( FileReports, OperationsWithoutAFileSayWhatFailed )
{
    TestFile aClosed;
    char aBytes[4] = {};
    // As in the header, and as in the text.
    const std::tuple<BOOL, std::string, std::string> aCalls[] = {
        { aClosed.MySeek( 1, 0, NULL ), "MySeek( LONG lOff, UINT uFrom, LONG* plCurrent )",
          "Seek( lOff, uFrom )" },
        { aClosed.MySeekToEnd( NULL ), "MySeekToEnd( DWORD* pdwSize )", "SeekToEnd()" },
        { aClosed.MySeekToBegin(), "MySeekToBegin()", "SeekToBegin()" },
        { aClosed.MyGetPosition( NULL ), "MyGetPosition( DWORD* pdwPos )", "GetPosition()" },
        { aClosed.MyGetLength( NULL ), "MyGetLength( DWORD* pdwFileLength )", "GetLength()" },
        { aClosed.MyWrite( aBytes, 1 ), "MyWrite( MCPTR pData, UINT uCount )", "Write( pData, uCount )" },
        { aClosed.MyRead( aBytes, 1, NULL ), "MyRead( MPTR lpBuf, UINT uCount, UINT* puTransferred )",
          "Read( lpBuf, uCount )" },
        { aClosed.MySetLength( 5 ), "MySetLength( DWORD dwNewFileLength )", "SetLength( dwNewFileLength )" },
        { aClosed.MyLockRange( 0, 1 ), "MyLockRange( DWORD dwPos, DWORD dwCount )",
          "LockRange( dwPos, dwCount )" },
        { aClosed.MyUnlockRange( 0, 1 ), "MyUnLockRange( DWORD dwPos, DWORD dwCount )",
          "UnlockRange( dwPos, dwCount )" },
    };
    std::vector<Report> aReports;
    for ( const auto& [fDone, strName, strCall] : aCalls )
    {
        EXPECT_FALSE( fDone ) << strName;
        aReports.emplace_back( "From BOOL MFileWrapper::" + strName,
                               " Error: m_pFileInterface->" + strCall + NO_FILE );
    }
    EXPECT_TRUE( m_aRecorder.OnlyReports( aReports ) );
    // What does nothing needs no file.
    EXPECT_TRUE( aClosed.MyClose() && aClosed.MyFlush() && aClosed.MyRead( NULL, 0, NULL ) &&
                 aClosed.MyWrite( NULL, 0 ) && aClosed.MyWriteStr( NULL ) );

    // A type that there is not: each operation says so.
    TestFile aMemory( FILE_TYPE_CMEMFILE );
    EXPECT_FALSE( aMemory.MyWriteStr( "a" ) );
    const char* const pFailed = " Error: m_pFileInterface == NULL -> constructor failed";
    EXPECT_TRUE( m_aRecorder.OnlyReports(
        { { "From BOOL MFileWrapper::OnInit(...)",
            " Error: wrong constructor initialization -> switch( nType ) default" },
          { "From MFileWrapper::MFileWrapper(...)",
            " Error: !OnInit( nType, hFile, 1024, NULL, 0, 0, pMyDbgFunc, pMyLogFunc )" },
          { "From BOOL MFileWrapper::MyWrite( MCPTR pData, UINT uCount )", pFailed },
          { "From BOOL MFileWrapper::MyWriteStr( LPCTSTR pData )", pFailed } } ) );
    EXPECT_FALSE( aMemory.MyClose() || aMemory.MyFlush() || aMemory.MyOpen( "a", 0 ) ||
                  aMemory.MyGetLine( NULL, NULL, 'a' ) || aMemory.CopyTo( "a" ) );
    m_aRecorder.TakeReports();
}

TEST_F( FileReports, OpeningTellsNameCauseAndError )
{
    TestFile aFile;
    WriteBytes( Path( "there" ), "12345" );
    constexpr char LOST[] = "The file could not be located.";
    constexpr char BAD_PATH[] = "All or part of the path is invalid.";
    constexpr char UNSPECIFIED[] = "An unspecified error occurred.";
    const std::tuple<std::string, UINT, const char*, int> aCases[] = {
        { Path( "missing" ), File::modeRead, LOST, 2 },
        { Path( "missing/file" ), File::modeCreate, BAD_PATH, 3 },
        { "", File::modeRead, BAD_PATH, 3 },
        { m_aFolder.Path(), File::modeRead | File::shareDenyNone, "The file could not be accessed.", 5 },
        { Path( "there" ), 0x0003, UNSPECIFIED, 87 },
        { Path( "there" ), 0x0050 | File::modeCreate, UNSPECIFIED, 87 },
        { Path( "there" ), 0x4000 | File::modeCreate, UNSPECIFIED, 87 },
    };
    for ( const auto& [strName, uOpenFlags, pCause, nOsError] : aCases )
    {
        const std::string strText = " Error: m_pFileInterface->Open( lpszFileName, uOpenFlags, &e ) " +
                                    Details( strName, pCause, nOsError );
        // No name at all is an empty one.
        for ( const char* const pName : { strName.empty() ? NULL : strName.c_str(), strName.c_str() } )
            EXPECT_TRUE( Failed( aFile.MyOpen( pName, uOpenFlags ), OPEN_HEADER, strText ) ) << strName;
    }
    EXPECT_EQ( "12345", ReadBytes( Path( "there" ) ) ) << "what is refused empties nothing";

    // Opening another file closes the one before.
    EXPECT_TRUE( aFile.MyOpen( Path( "there" ).c_str(), File::modeRead ) );
    EXPECT_TRUE( aFile.MyOpen( Path( "new" ).c_str(), File::modeCreate | File::modeWrite ) );
    DebugRecorder aLibrary;
    EXPECT_TRUE( File::Remove( Path( "there" ).c_str() ) );
    EXPECT_FALSE( File::Rename( Path( "new" ).c_str(), Path( "newer" ).c_str() ) );
    EXPECT_TRUE( aLibrary.OnlyReport(
        "From BOOL PASCAL MFileWrapper::Rename( LPCTSTR lpszOldName, LPCTSTR lpszNewName )",
        " Error: BaseFile::Rename( lpszOldName, lpszNewName )" +
            Details( "", "SHARE.EXE was not loaded, or a shared region was locked.", 32 ) ) );
    for ( const auto& [lError, lCause] : std::initializer_list<std::pair<LONG, LONG>>{
              { 0, 0 }, { -1, 1 }, { 268, 1 }, { 267, 3 }, { 994, 1 }, { 998, 1 }, { 999, 5 }, { 1000, 1 } } )
        EXPECT_EQ( lCause, CFileException::CauseOf( lError ) ) << lError;
}

TEST_F( ThrowingFile, SaysWhyAndLeavesOtherPeoplesHandlesOpen )
{
    const std::string strPath = Path( "file" );
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
    EXPECT_EQ( "2 2 " + Path( "none" ), Thrown( [&] { BaseFile( Path( "none" ).c_str(), 0 ); } ) );

    const int nHandle = aReader;
    BaseFile( nHandle ).Close();
    EXPECT_EQ( "2 6 ", Thrown( [&] { aReader.Close(); } ) );
    EXPECT_EQ( -1, static_cast<int>( aReader ) ) << "no file after a failed close, either";
    EXPECT_EQ( "", Thrown( [&] { aReader.Close(), aReader.Flush(), aReader.Abort(); } ) );
}

TEST_F( ThrowingFile, SlotsOfTheTableStandInTheirOrder )
{
    using B = BaseFile;
    // The destructor has two slots of this compiler's.
    EXPECT_EQ( ( std::vector<size_t>{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 16 } ),
               SlotsOf( &B::GetPosition, &B::SetFilePath, &B::Open, &B::Duplicate, &B::Seek, &B::SetLength,
                        &B::GetLength, &B::Read, &B::Write, &B::LockRange, &B::UnlockRange, &B::Abort,
                        &B::Flush, &B::Close, &B::GetBufferPtr ) );
}

TEST_F( FileLines, NeedTheirDelimiterAndRoom )
{
    WriteBytes( Path( "lines" ), "ab\ncd" );
    for ( const UINT uShare : { File::shareDenyWrite, File::shareDenyNone } )
    {
        TestFile aFile( Path( "lines" ), uShare );
        EXPECT_EQ( "", aFile.Line( 3 ) ) << "no room for the zero";
        EXPECT_EQ( 0u, aFile.Position() );
        EXPECT_EQ( "ab\n", aFile.Line( 10 ) );
        EXPECT_EQ( 3u, aFile.Position() );
        EXPECT_EQ( "", aFile.Line( 10 ) );
        EXPECT_EQ( 3u, aFile.Position() );
        EXPECT_TRUE( aFile.MySeek( 9, File::begin, NULL ) );
        EXPECT_EQ( "", aFile.Line() );
        EXPECT_TRUE( m_aRecorder.OnlyReport( GET_LINE_HEADER, " Error: dwFileSize < dwCurrent" ) );
        char aLine[1];
        UINT unSize = 0;
        EXPECT_TRUE( Failed( aFile.MyGetLine( aLine, NULL, '\n' ), GET_LINE_HEADER,
                             " Error: pData == NULL || punCharCount == NULL" ) );
        EXPECT_TRUE( Failed( aFile.MyGetLine( aLine, &unSize, '\n' ), GET_LINE_HEADER,
                             " Error: *punCharCount < sizeof( TCHAR )" ) );
    }
}

// Every line of a text is expected as the text alone says it, at the edges of what is read ahead (65,536 bytes) and of the
// caller's buffer, with other operations in between.
TEST_F( FileLines, AreThoseOfTheTextAtEveryEdge )
{
    std::string strText;
    for ( const size_t uLength : { 65535u, 1u, 65534u, 65536u, 2u, 65533u, 3u, 65537u, 70000u, 131072u } )
    {
        strText += std::string( uLength - 1, static_cast<char>( 'a' + uLength % 26 ) ) + "\n";
        for ( size_t i = 0; i < 30; ++i )
            strText += std::string( i * i, 'x' ) + std::string( i % 3, '\0' ) + "\n";
    }
    WriteBytes( Path( "lines" ), strText + "rest" );
    for ( const UINT uShare : { File::shareDenyWrite, File::shareExclusive, File::shareDenyNone } )
    {
        for ( const UINT unRoom : { 2u, 1000u, 65535u, 65536u, 65537u, 65538u, 200000u } )
        {
            TestFile aFile( Path( "lines" ), uShare );
            size_t uCalls = 0;
            for ( size_t uPosition = 0; uPosition < strText.size(); ++uCalls )
            {
                const std::string strLine =
                    strText.substr( uPosition, strText.find( '\n', uPosition ) + 1 - uPosition );
                const bool fFits = strLine.size() < unRoom;
                ASSERT_EQ( fFits ? strLine : "", aFile.Line( unRoom ) ) << uPosition << " " << unRoom;
                uPosition += strLine.size();
                const LONG lLeft = fFits ? 0 : static_cast<LONG>( strLine.size() );
                ASSERT_TRUE( ( fFits && uCalls % 7 != 0 ) || aFile.MySeek( lLeft, File::current, NULL ) );
                ASSERT_TRUE( uCalls % 5 != 0 || aFile.Position() == uPosition );
            }
            EXPECT_EQ( "", aFile.Line( unRoom ) );
            char aRest[8] = {};
            EXPECT_TRUE( aFile.MyReadStr( aRest, 7, NULL ) );
            EXPECT_STREQ( "rest", aRest );
        }
    }
}

TEST_F( FileCopy, IsWholeAtEveryMultipleOfTheChunk )
{
    const std::string strSource = Path( "source" );
    const std::string strCopy = Path( "copy" );
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
    TestFile aFile( strSource, File::shareDenyNone );
    EXPECT_TRUE( aFile.MySetFilePath( "another path" ) );
    EXPECT_TRUE( Failed(
        aFile.CopyTo( Path( "./source" ).c_str() ), COPY_HEADER,
        " Error: !aDst.MyOpen( lpszDst, MFileWrapper::modeCreate | MFileWrapper::modeReadWrite | MFileWrapper::shareDenyWrite )" ) );
    EXPECT_EQ( 3001u, ReadBytes( strSource ).size() ) << "a copy onto itself empties nothing";
    aFile.SetCopyBuffSize( 0 );
    EXPECT_TRUE( Failed( aFile.CopyTo( strCopy.c_str() ), COPY_HEADER,
                         " Error: ( m_pCopyBuff = MyTCHARFactory( m_dwBuffSize ) ) == NULL" ) );
    EXPECT_TRUE( Failed( aFile.CopyTo( NULL ), COPY_HEADER, " Error: lpszDst == NULL" ) );
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

TEST_F( FileSharing, IsKeptBetweenProcessesUntilTheOtherIsKilled )
{
    const std::string strPath = Path( "shared" );
    WriteBytes( strPath, std::string( 100, 'a' ) );
    SecondProcess aOther( "file_user", { strPath } );
    const auto Tell = [&]( char cWhat, UINT uNumber )
    {
        aOther.WriteLine( cWhat + std::to_string( uNumber ) );
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
        ASSERT_TRUE( uCase % 12 != 0 || Tell( 'o', Flags( uAccess, uShare ) ) );
        EXPECT_EQ( ( uAccess & ~uOwnShare ) == 0 && ( uOwnAccess & ~uShare ) == 0,
                   TestFile().MyOpen( strPath.c_str(), Flags( uOwnAccess, uOwnShare ) ) != FALSE )
            << uAccess << uShare << uOwnAccess << uOwnShare;
    }
    m_aRecorder.TakeReports();
    ASSERT_TRUE( Tell( 'o', File::modeReadWrite | File::shareDenyNone ) );
    TestFile aFile( strPath, File::modeReadWrite | File::shareDenyNone );
    EXPECT_TRUE( Tell( 'l', 20 ) && aFile.MyLockRange( 30, 10 ) );
    EXPECT_FALSE( Tell( 'l', 25 ) );
    EXPECT_TRUE( Failed(
        aFile.MyLockRange( 29, 1 ), "From BOOL MFileWrapper::MyLockRange( DWORD dwPos, DWORD dwCount )",
        " Error: m_pFileInterface->LockRange( dwPos, dwCount )" +
            Details( "", "There was an attempt to lock a region that was already locked.", 33 ) ) );
    EXPECT_FALSE( File::Remove( strPath.c_str() ) );
    aOther.Kill();
    aOther.Wait();
    EXPECT_TRUE( aFile.MyLockRange( 20, 10 ) && aFile.MyClose() );
    EXPECT_TRUE( aFile.MyOpen( strPath.c_str(), File::shareExclusive ) && aFile.MyClose() );
    EXPECT_TRUE( File::Remove( strPath.c_str() ) );
}

TEST( OutOfMemory, FileOperationsFailOrSucceedAndLoseNothing )
{
    const ScratchFolder aFolder;
    const std::string strSource = aFolder.Path( "source" );
    const std::string strCopy = aFolder.Path( "copy" );
    const std::string strNone = aFolder.Path( "none" );
    WriteBytes( strSource, "line\n" + std::string( 100, 'x' ) );
    BOOL fLine = TRUE;
    const auto Use = [&]() -> BOOL
    {
        TestFile aFile;
        char aLine[10];
        UINT unSize = sizeof( aLine );
        if ( !aFile.MyOpen( strSource.c_str(), File::shareDenyWrite ) )
            return FALSE;
        fLine = aFile.MyGetLine( aLine, &unSize, '\n' );
        aFile.MyOpen( strNone.c_str(), File::modeRead );
        return aFile.MyOpen( strSource.c_str(), File::shareDenyWrite ) && aFile.CopyTo( strCopy.c_str() );
    };
    EXPECT_TRUE( Use() );
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            HookRecorder aRecorder;
            const long lBefore = NewOutstanding();
            const BOOL fDone = rFault.During( Use );
            EXPECT_TRUE( fLine ) << "lines need no memory";
            EXPECT_TRUE( !fDone || ReadBytes( strCopy ) == ReadBytes( strSource ) );
            EXPECT_EQ( lBefore, NewOutstanding() );
            aRecorder.TakeReports();
        } );
}
