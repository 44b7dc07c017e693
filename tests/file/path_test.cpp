// Files and folders by their paths, in a scratch folder that a file keeps from being removed. Paths are given with '\', which
// divides on both systems.
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"
#include "support/threads.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace
{

const std::string HEADERS[] = {
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT FileExists( LPCTSTR szPath, int nMode, LPTSTR szFullPath, USHORT uSize )",
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT BuildFilePath( LPTSTR szFullPath, USHORT uSize, int nMode, LPCTSTR szFName, LPCTSTR szExt )",
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT CreatePathAndFile( LPCTSTR szPath )",
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT RemoveFileAndPath( LPCTSTR szPath )",
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT CreateTempFile( LPCTSTR szDstDir, LPCTSTR pName, LPCTSTR szExt, LPTSTR pFullFileName, USHORT usSize )",
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT ShortPath2Long( LPCTSTR pFullPath, LPTSTR pLongPath, USHORT uSize )",
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT ShortPath2Long1( const MString& aFullPath, MString& aLongPath )",
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT LongPath2Short( const MString& aLongPath, MString& aShortPath )",
    "From static BOOL IsValidDir( LPCTSTR szDstDir, MString& aFullPath )",
    "From static BOOL ReplaceExtensionAndCreateZeroFile( MString& aCheckOutFileName, LPCTSTR szNewExt )",
    "From BOOL InternalShortToLong( MString& aShortFileName, MString& aLongFileName )",
    "From BOOL InternalTokenNameShortToLong( MString&  aShortName )",
    "From BOOL SafeCopy( LPTSTR pDest, LPCTSTR pSource, LONG lDestSize )",
};
const std::string CUT =
    "SafeCopy| Warning: lLenSource > ( lDestSize - 1 ) -> destination buffer is too small";

std::string Divided( std::string strPath, char cDelimiter = MYCH_DELIMDIR )
{
    for ( char& c : strPath )
        c = c == '/' || c == '\\' ? cDelimiter : c;
    return strPath;
}

class Paths : public ::testing::Test
{
protected:
    Paths() { WriteBytes( m_aFolder.Path( "keep" ), "kept" ); }

    const char* Given( const std::string& strName )
    {
        m_aGiven.push_back( std::make_unique<std::string>( Divided( m_aFolder.Path( strName ), '\\' ) ) );
        return m_aGiven.back()->c_str();
    }
    std::string Made( const std::string& strName ) const { return Divided( m_aFolder.Path( strName ) ); }
    auto Files() const { return std::distance( fs::directory_iterator( m_aFolder.Path() ), {} ); }
    // Each report as the function's name, '|' and what it said.
    auto Reported( const std::vector<std::string>& aExpected )
    {
        std::vector<Report> aReports;
        for ( const std::string& rReport : aExpected )
            for ( const std::string& rHeader : HEADERS )
                if ( const size_t n = rReport.find( '|' );
                     rHeader.find( rReport.substr( 0, n ) + "( " ) != rHeader.npos )
                    aReports.emplace_back( rHeader, rReport.substr( n + 1 ) );
        return m_aRecorder.OnlyReports( aReports );
    }

    ScratchFolder m_aFolder;
    DebugRecorder m_aRecorder;
    std::vector<std::unique_ptr<std::string>> m_aGiven;
    TCHAR m_szPath[_MAX_PATH] = "unchanged";
};

} // namespace

TEST_F( Paths, FileExistsTestsWhatItHasCopied )
{
    for ( const int nMode :
          { FILE_ACCESS_EXISTS, FILE_ACCESS_READ, FILE_ACCESS_WRITE, FILE_ACCESS_READWRITE } )
    {
        fs::permissions( m_aFolder.Path( "keep" ), fs::perms::owner_all );
        EXPECT_TRUE( FileExists( Given( "keep" ), nMode, NULL, 9 ) &&
                     FileExists( Given( "" ), nMode, m_szPath, 0 ) );
        EXPECT_FALSE( FileExists( Given( "no" ), nMode, NULL, 0 ) || FileExists( "", nMode, m_szPath, 1 ) );
        EXPECT_FALSE( FileExists( std::string( 10000, 'x' ).c_str(), nMode, NULL, 0 ) );
        fs::permissions( m_aFolder.Path( "keep" ), fs::perms::owner_read );
        EXPECT_EQ( nMode <= FILE_ACCESS_READ, FileExists( Given( "keep" ), nMode, NULL, 0 ) != FALSE );
    }
    EXPECT_STREQ( "unchanged", m_szPath );
    // Cut to the folder's name, without a zero behind it.
    const USHORT usFolder = static_cast<USHORT>( m_aFolder.Path().size() );
    std::fill_n( m_szPath, usFolder + 1, '!' );
    EXPECT_TRUE( FileExists( Given( "no" ), FILE_ACCESS_EXISTS, m_szPath, usFolder ) );
    EXPECT_EQ( 0, strncmp( m_szPath, Given( "no" ), usFolder ) );
    EXPECT_EQ( '!', m_szPath[usFolder] );

    EXPECT_FALSE( FileExists( NULL, 0, NULL, 0 ) || FileExists( "a", 4, m_szPath, 9 ) ||
                  FileExists( "a", -1, NULL, 0 ) );
    EXPECT_STREQ( "a", m_szPath );
    const std::string strUndefined = " Error: undefined access mode -> not supported";
    EXPECT_TRUE( Reported( { "FileExists| Error: szPath == NULL", "FileExists|" + strUndefined,
                             "FileExists|" + strUndefined } ) );
}

TEST_F( Paths, BuildFilePathCutsWhatDoesNotFit )
{
    TCHAR szFolder[_MAX_PATH];
    GetModuleFileNameA( NULL, szFolder, _MAX_PATH );
    *strrchr( szFolder, MYCH_DELIMDIR ) = '\0';
    EXPECT_TRUE( BuildFilePath( m_szPath, _MAX_PATH, PATH_MODULE_DIR, "sub\\name", "e.x" ) );
    EXPECT_EQ( szFolder + Divided( "/sub/name.e.x" ), m_szPath );
    GetWindowsDirectoryA( szFolder, _MAX_PATH );
    EXPECT_TRUE( BuildFilePath( m_szPath, _MAX_PATH, PATH_WINDOWS_DIR, "n", "" ) );
    EXPECT_EQ( szFolder + Divided( "/n." ), m_szPath );
    GetSystemDirectoryA( szFolder, _MAX_PATH );
    EXPECT_TRUE( BuildFilePath( m_szPath, 5, PATH_SYSTEM_DIR, std::string( 10000, 'x' ).c_str(), NULL ) );
    EXPECT_EQ( std::string( szFolder, 4 ), m_szPath );

    EXPECT_FALSE( BuildFilePath( m_szPath, 5, PATH_SYSTEM_DIR, NULL, NULL ) );
    EXPECT_STRNE( "", m_szPath );
    EXPECT_FALSE( BuildFilePath( m_szPath, 5, 3, "n", NULL ) );
    EXPECT_STREQ( "", m_szPath );
    EXPECT_TRUE( Reported( { "BuildFilePath| Error: szFullPath == NULL || szFName == NULL || uSize == 0",
                             "BuildFilePath| Error: unknown mode switch ( nMode ) -> default" } ) );
}

TEST_F( Paths, FoldersAreMadeForAFileAndGoWithIt )
{
    EXPECT_TRUE( CreatePathAndFile( Given( "a/b/c/file" ) ) );
    WriteBytes( m_aFolder.Path( "a/b/c/file" ), "content" );
    EXPECT_TRUE( CreatePathAndFile( Given( "a/b/c/file" ) ) );
    EXPECT_EQ( 0u, fs::file_size( m_aFolder.Path( "a/b/c/file" ) ) );
    EXPECT_TRUE( CreatePathAndFile( Given( "a/b/only/" ) ) );
    EXPECT_TRUE( fs::is_empty( m_aFolder.Path( "a/b/only" ) ) );
    EXPECT_FALSE( CreatePathAndFile( Given( "a/b" ) ) );
    EXPECT_FALSE( CreatePathAndFile( Given( "keep/sub/file" ) ) );
    EXPECT_FALSE( CreatePathAndFile( "bxtools-no-folder\\sub\\file" ) );
    EXPECT_FALSE( RemoveFileAndPath( Given( "a/b/c/file" ) ) );
    EXPECT_FALSE( fs::exists( m_aFolder.Path( "a/b/c" ) ) );
    EXPECT_FALSE( RemoveFileAndPath( Given( "a/b/only/" ) ) );
    EXPECT_EQ( 1, Files() );
    EXPECT_FALSE( RemoveFileAndPath( Given( "a/" ) ) || RemoveFileAndPath( Given( "no" ) ) );
    const std::string strMake = " Error: MKDIR( aTempDir ) != 0\r\n aTempDir = ";
    const std::string strRemove = " Error: RMDIR( stReleaseFile ) != 0\r\n stReleaseFile = ";
    const std::string strOpen =
        " Error: ( hFile = CreateFile(...) ) == INVALID_HANDLE_VALUE\r\n stReleaseFile = ";
    EXPECT_TRUE(
        Reported( { "CreatePathAndFile|" + strOpen + Made( "a/b\r\n" ),
                    "CreatePathAndFile|" + strMake + Made( "keep/sub\r\n" ),
                    "CreatePathAndFile|" + strMake + Divided( "bxtools-no-folder/sub\r\n" ),
                    "RemoveFileAndPath|" + strRemove + Made( "a/b\r\n" ),
                    "RemoveFileAndPath|" + strRemove + Divided( m_aFolder.Path() ) + "\r\n",
                    "RemoveFileAndPath| Error: !FileExists( stReleaseFile, FILE_ACCESS_EXISTS, NULL, 0 )\r\n",
                    "RemoveFileAndPath| Error: REMOVE( stReleaseFile ) != 0" } ) );

    const std::string strWraps = Divided( "/" + std::string( 65538, 'x' ) );
    EXPECT_FALSE( CreatePathAndFile( NULL ) || CreatePathAndFile( strWraps.c_str() ) ||
                  RemoveFileAndPath( "abcd" ) );
    const std::string strShort =
        "CreatePathAndFile| Error: ( uLen = stReleaseFile.GetLength() ) <= 3\r\n stReleaseFile = ";
    EXPECT_TRUE( Reported(
        { strShort + "\r\n", strShort + strWraps + "\r\n",
          "RemoveFileAndPath| Error: ( nIndex = stReleaseFile.ReverseFind( MYCH_DELIMDIR ) ) == MY_STRINGNOTFOUND\r\n stReleaseFile = abcd\r\n" } ) );
}

TEST_F( Paths, ManyMakeTheSameFoldersAtOnce )
{
    std::vector<const char*> aFolders;
    for ( int i = 0; i < 30; ++i )
        aFolders.push_back( Given( "r" + std::to_string( i ) + "/a/b/c/" ) );
    const auto Make = [&] { return std::all_of( aFolders.begin(), aFolders.end(), CreatePathAndFile ); };
    OnThreads( 4, [&] { EXPECT_TRUE( Make() ); } );
    EXPECT_TRUE( m_aRecorder.Silent() );
}

TEST_F( Paths, TemporaryFilesHaveTheirExtension )
{
    const auto Make = [&]( const char* pFolder, const char* pExtension, USHORT usSize = _MAX_PATH )
    { return CreateTempFile( pFolder, "prefix", pExtension, m_szPath, usSize ); };
    const std::string strFolder = Divided( m_aFolder.Path(), '\\' );
    for ( const char* pExtension : { (const char*)NULL, "tMp", "CFG", "" } )
    {
        EXPECT_TRUE( Make( strFolder.c_str(), pExtension ) );
        const bool fOwn = pExtension != NULL && pExtension[0] != 't';
        EXPECT_TRUE( std::string_view( m_szPath ).ends_with( fOwn ? "."s + pExtension : ".tmp" ) )
            << m_szPath;
        EXPECT_EQ( 0, strncmp( m_szPath, Made( "pre" ).c_str(), Made( "pre" ).size() ) );
        EXPECT_TRUE( Files() == 2 && fs::is_empty( m_szPath ) && fs::remove( m_szPath ) );
    }
    EXPECT_TRUE( Make( strFolder.c_str(), "CFG", 4 ) );
    EXPECT_EQ( Made( "" ).substr( 0, 3 ), m_szPath );
    EXPECT_TRUE( Reported( { CUT } ) );

    EXPECT_FALSE( Make( strFolder.c_str(), "no/folder" ) );
    std::vector<std::string> aReports(
        20, "ReplaceExtensionAndCreateZeroFile| Error: !::CreateZeroFile( aCheckOutFileName )" );
    aReports.push_back( "CreateTempFile| Error: cannot create file with desired extension" );
    EXPECT_TRUE( Reported( aReports ) );
    EXPECT_EQ( 2, Files() );

    EXPECT_FALSE( Make( "", NULL ) || Make( Given( "keep" ), NULL ) ||
                  Make( std::string( 300, 'x' ).c_str(), NULL ) );
    const std::string strNoFolder = "CreateTempFile| Error: !IsValidDir( szDstDir, aFullPath ), szDstDir = ";
    EXPECT_TRUE( Reported(
        { "IsValidDir| Error: STRLEN( szDstDir ) == 0", strNoFolder,
          "CreateTempFile| Error: GetTempFileName( aFullPath, pName, 0, pStr ) == 0",
          "IsValidDir| Error: !FileExists( szDstDir, FILE_ACCESS_READWRITE, aFullPath.GetBuffer( _MAX_PATH ), _MAX_PATH )",
          strNoFolder + std::string( 300, 'x' ) } ) );
}

BX_ROLE( makes_temporary_files )
{
    TCHAR szPath[_MAX_PATH];
    for ( int i = 0; i < 200; ++i )
    {
        if ( !CreateTempFile( Arguments[0].c_str(), "t", "CFG", szPath, _MAX_PATH ) )
            return 1;
        WriteBytes( szPath, ReadBytes( szPath ) + szPath );
    }
    return 0;
}

// Of 800 numbers out of 65,535 some five come twice.
TEST_F( Paths, TemporaryFilesOfManyProcessesAreTheirOwn )
{
    std::vector<std::unique_ptr<SecondProcess>> aMakers( 4 );
    for ( auto& rMaker : aMakers )
        rMaker = std::make_unique<SecondProcess>( "makes_temporary_files", std::vector{ m_aFolder.Path() } );
    for ( auto& rMaker : aMakers )
        EXPECT_EQ( 0, rMaker->Wait() );
    EXPECT_EQ( 801, Files() );
    fs::remove( m_aFolder.Path( "keep" ) );
    for ( const auto& rFile : fs::directory_iterator( m_aFolder.Path() ) )
        EXPECT_EQ( Divided( rFile.path().string() ), Divided( ReadBytes( rFile.path().string() ) ) );
}

TEST_F( Paths, LongFormsAreLookedUpPieceByPiece )
{
    ASSERT_TRUE( CreatePathAndFile( Given( "Folder name/file" ) ) );
    EXPECT_TRUE( ShortPath2Long( Given( "Folder name/file/" ), m_szPath, _MAX_PATH ) );
    EXPECT_EQ( Made( "Folder name/file" ), m_szPath );
    MString aPath( Given( "Folder name/./../keep" ) );
    EXPECT_TRUE( ShortPath2Long1( aPath, aPath ) );
    EXPECT_EQ( Made( "Folder name/./../keep" ), aPath.data() );
    EXPECT_TRUE( LongPath2Short( aPath, aPath ) && ShortPath2Long1( aPath, aPath ) );

    const MString aOld( aPath );
    EXPECT_FALSE( ShortPath2Long1( Given( "k*p/x" ), aPath ) || ShortPath2Long( "piece\\", m_szPath, 1 ) );
    EXPECT_FALSE( ShortPath2Long( "\\\\server\\share", m_szPath, 1 ) || LongPath2Short( "no-file", aPath ) );
    EXPECT_EQ( aOld, aPath );
    EXPECT_FALSE( ShortPath2Long( Given( "keep" ), m_szPath, 4 ) );
    EXPECT_EQ( Made( "" ).substr( 0, 3 ), m_szPath );
    const std::string strNotLong =
        "ShortPath2Long| Error: !InternalShortToLong( aShortFileName, aLongFileName )";
    EXPECT_TRUE( Reported(
        { "InternalTokenNameShortToLong| Error: FindFirstFile failed: " + Made( "k*p" ),
          "InternalShortToLong| Error: !InternalTokenNameShortToLong( aLongFileName )",
          "ShortPath2Long1| Error: !InternalShortToLong( aShortFileName, aLongPath )",
          "InternalShortToLong| Error: aShortFileName.GetTokenCount( MYCH_DELIMDIR ) <= 1, aShortFileName = piece, MYCH_DELIMDIR = "s +
              MYCH_DELIMDIR,
          strNotLong,
          "InternalShortToLong| Error: aShortFileName.GetToken( 0, MYCH_DELIMDIR ).GetLength() == 0",
          strNotLong, "LongPath2Short|GetShortPathName failed: aLongPath = no-file", CUT,
          "ShortPath2Long| Error: Destination buffer pLongPath too small" } ) );
}

TEST( OutOfMemory, TemporaryFilesAreMadeOrNot )
{
    ScratchFolder aFolder;
    DebugRecorder aRecorder;
    TCHAR szPath[_MAX_PATH] = "no-file";
    const auto Make = [&] { return CreateTempFile( aFolder.Path().c_str(), "p", "CFG", szPath, _MAX_PATH ); };
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            const BOOL fDone = rFault.During( Make );
            EXPECT_TRUE( fDone || ( rFault.Hit() && !aRecorder.Take().empty() ) );
            EXPECT_EQ( fDone != FALSE, fs::remove( szPath ) );
            EXPECT_TRUE( fs::is_empty( aFolder.Path() ) );
        } );
    aRecorder.Take();
}
