// What only this system's files can do to the file classes: limits, pipes, links, other programs.
#include "file/filetest.h"
#include "support/limit.h"
#include "support/secondprocess.h"

#include <bxtools/path.h>

#include <csignal>
#include <filesystem>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

std::string OnlyText( HookRecorder& rRecorder )
{
    const auto aReports = rRecorder.TakeReports();
    return aReports.size() == 1 ? aReports[0].second : std::to_string( aReports.size() ) + " reports";
}

using FullDisk = FileTest;
using Folders = FileTest;
using StrangeFiles = FileTest;
using FileLines = FileTest;

} // namespace

TEST_F( FullDisk, FailsAtEveryByteWithItsText )
{
    std::signal( SIGXFSZ, SIG_IGN );
    TestFile aFile( Path( "file" ), MFileWrapper::modeCreate | MFileWrapper::modeReadWrite );
    const auto Write = [&]( const std::string& strBytes, const std::string& strOsError )
    {
        const Limit aLimit( RLIMIT_FSIZE, 5 );
        return Failed( aFile.MyWrite( strBytes.data(), static_cast<UINT>( strBytes.size() ) ),
                       "From BOOL MFileWrapper::MyWrite( MCPTR pData, UINT uCount )",
                       " Error: m_pFileInterface->Write( pData, uCount ), FileName = " + Path( "file" ) +
                           "\r\n ->  Error: The disk is full. OsError = " + strOsError );
    };
    EXPECT_TRUE( Write( "12345678", "-1" ) );
    EXPECT_TRUE( Write( "678", "112" ) );
    EXPECT_TRUE( aFile.MySetLength( 95 ) );
    aFile.SetCopyBuffSize( 10 );
    for ( rlim_t nRoom = 0; nRoom <= 95; nRoom += 19 )
    {
        BOOL fCopied = FALSE;
        {
            const Limit aLimit( RLIMIT_FSIZE, nRoom );
            fCopied = aFile.CopyTo( Path( "copy" ).c_str() );
        }
        EXPECT_EQ( nRoom == 95, fCopied != FALSE ) << nRoom;
        EXPECT_EQ( nRoom, std::filesystem::file_size( Path( "copy" ) ) );
        EXPECT_EQ( fCopied ? "0 reports" : " Error: !aDst.MyWrite( m_pCopyBuff, uTransferred )",
                   OnlyText( m_aRecorder ) );
    }
}

// In this process every descriptor's end says what a file system on the network can say.
BX_ROLE( closes_without_room )
{
    HookRecorder aRecorder;
    TestFile aFile( Arguments[0], MFileWrapper::modeCreate | MFileWrapper::modeWrite );
    sock_filter aSteps[] = { BPF_STMT( BPF_LD | BPF_W | BPF_ABS, offsetof( seccomp_data, nr ) ),
                             BPF_JUMP( BPF_JMP | BPF_JEQ | BPF_K, SYS_close, 0, 1 ),
                             BPF_STMT( BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EDQUOT ),
                             BPF_STMT( BPF_RET | BPF_K, SECCOMP_RET_ALLOW ) };
    const sock_fprog aFilter{ 4, aSteps };
    if ( prctl( PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0 ) != 0 ||
         prctl( PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &aFilter ) != 0 )
        return 2;
    const BOOL fClosed = aFile.MyWrite( "1", 1 ) && aFile.MyClose();
    return !fClosed && OnlyText( aRecorder ).ends_with( "The disk is full. OsError = 112" ) ? 0 : 3;
}

TEST_F( FullDisk, IsSaidAlsoWhenItShowsAtTheEndOnly )
{
    EXPECT_EQ( 0, RunInRole( "closes_without_room", { Path( "file" ) } ) );
}

// Not even root may list the folder meanwhile; the file in it can be found all the same.
TEST_F( Folders, NeedNotBeReadableForAPathInThem )
{
    DebugRecorder aRecorder;
    WriteBytes( Path( "file" ), "" );
    ASSERT_EQ( 0, chmod( m_aFolder.Path().c_str(), S_IXUSR | S_IXGRP | S_IXOTH ) );
    const uid_t nUser = geteuid();
    ASSERT_EQ( 0, seteuid( nUser != 0 ? nUser : 65534 ) );
    char szPath[_MAX_PATH];
    const BOOL fFound = ShortPath2Long( Path( "file" ).c_str(), szPath, sizeof( szPath ) );
    ASSERT_EQ( 0, seteuid( nUser ) );
    EXPECT_TRUE( fFound && Path( "file" ) == szPath );
    EXPECT_EQ( 0, chmod( m_aFolder.Path().c_str(), S_IRWXU ) );

    // A backslash divides in the beginning of a name as well, and is not left in one that no call finds.
    EXPECT_FALSE( CreateTempFile( m_aFolder.Path().c_str(), "a\\b", NULL, szPath, sizeof( szPath ) ) );
    EXPECT_TRUE( aRecorder.OnlyReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT CreateTempFile( LPCTSTR szDstDir, LPCTSTR pName, LPCTSTR szExt, LPTSTR pFullFileName, USHORT usSize )",
        " Error: GetTempFileName( aFullPath, pName, 0, pStr ) == 0" ) );
}

TEST_F( StrangeFiles, AreRefusedWithTheNearestTextAndWithoutWaiting )
{
    TestFile aFile;
    ASSERT_EQ( 0, mkfifo( Path( "pipe" ).c_str(), 0600 ) );
    ASSERT_EQ( 0, symlink( "loop", Path( "loop" ).c_str() ) );
    WriteBytes( Path( "read-only" ), "1" );
    ASSERT_EQ( 0, chmod( Path( "read-only" ).c_str(), 0444 ) );
    const auto Refusal = [&]( const std::string& strPath, UINT uOpenFlags )
    {
        EXPECT_FALSE( aFile.MyOpen( strPath.c_str(), uOpenFlags ) );
        const std::string strText = OnlyText( m_aRecorder );
        return strText.substr( strText.rfind( "Error: " ) + 7 );
    };
    const std::tuple<std::string, UINT, const char*> aCases[] = {
        { Path( "pipe" ), MFileWrapper::modeRead, "The file could not be accessed. OsError = 5" },
        { "/dev/full", MFileWrapper::modeWrite, "The file could not be accessed. OsError = 5" },
        { Path( "read-only" ), MFileWrapper::modeWrite, "The file could not be accessed. OsError = 5" },
        { Path( "loop" ), MFileWrapper::modeRead, "All or part of the path is invalid. OsError = 161" },
        { Path( std::string( 300, 'n' ) ), MFileWrapper::modeCreate | MFileWrapper::modeWrite,
          "All or part of the path is invalid. OsError = 206" },
    };
    for ( const auto& [strPath, uOpenFlags, pText] : aCases )
        EXPECT_EQ( pText, Refusal( strPath, uOpenFlags ) );
    const Limit aLimit( RLIMIT_NOFILE, 0 );
    EXPECT_EQ( "The permitted number of open files was exceeded. OsError = 4",
               Refusal( Path( "read-only" ), MFileWrapper::modeRead ) );
}

// Sharing keeps no other program away.
TEST_F( FileLines, OfAFileThatAnotherProgramCutsAreNotInvented )
{
    WriteBytes( Path( "log" ), "one\ntwo\nthr" );
    TestFile aFile( Path( "log" ), MFileWrapper::shareDenyWrite );
    EXPECT_EQ( "one\n", aFile.Line() );
    EXPECT_EQ( "two\n", aFile.Line() );
    EXPECT_EQ( "", aFile.Line() );
    WriteBytes( Path( "log" ), "one\ntwo\nthree\n" );
    EXPECT_EQ( "three\n", aFile.Line() );
    ASSERT_EQ( 0, truncate( Path( "log" ).c_str(), 6 ) );
    EXPECT_EQ( "", aFile.Line() );
    EXPECT_EQ( " Error: dwFileSize < dwCurrent", OnlyText( m_aRecorder ) );
}
