// What only this system's files can do to the file classes: limits, pipes, links, other programs.
#include "support/recorder.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"

#include <bxtools/file.h>
#include <bxtools/path.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

// A limit of the process, for a scope.
class Limit
{
public:
    Limit( __rlimit_resource_t eResource, rlim_t nValue ) : m_eResource( eResource )
    {
        getrlimit( m_eResource, &m_aBefore );
        const rlimit aNow{ nValue, m_aBefore.rlim_max };
        setrlimit( m_eResource, &aNow );
    }
    ~Limit() { setrlimit( m_eResource, &m_aBefore ); }
    Limit( const Limit& ) = delete;
    Limit& operator=( const Limit& ) = delete;

private:
    __rlimit_resource_t m_eResource;
    rlimit m_aBefore{};
};

std::string OnlyText( HookRecorder& rRecorder )
{
    const auto aReports = rRecorder.TakeReports();
    return aReports.size() == 1 ? aReports[0].second : std::to_string( aReports.size() ) + " reports";
}

bool EndsWith( const std::string& strText, const std::string& strEnd )
{
    return strText.size() >= strEnd.size() &&
           strText.compare( strText.size() - strEnd.size(), strEnd.size(), strEnd ) == 0;
}

} // namespace

TEST( FullDisk, FailsAtEveryByteWithItsText )
{
    std::signal( SIGXFSZ, SIG_IGN );
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "file" );
    HookRecorder aRecorder;
    MFileWrapper aFile( FILE_TYPE_CFILE, &HookRecorder::Debug, NULL );
    ASSERT_TRUE( aFile.MyOpen( strPath.c_str(), MFileWrapper::modeCreate | MFileWrapper::modeReadWrite ) );
    {
        const Limit aLimit( RLIMIT_FSIZE, 5 );
        EXPECT_FALSE( aFile.MyWrite( "12345678", 8 ) );
        EXPECT_TRUE( aRecorder.OnlyReport( "From BOOL MFileWrapper::MyWrite( MCPTR pData, UINT uCount )",
                                           " Error: m_pFileInterface->Write( pData, uCount ), FileName = " +
                                               strPath + "\r\n ->  Error: The disk is full. OsError = -1" ) );
        EXPECT_FALSE( aFile.MyWrite( "678", 3 ) );
        EXPECT_TRUE(
            EndsWith( OnlyText( aRecorder ), strPath + "\r\n ->  Error: The disk is full. OsError = 112" ) );
    }
    EXPECT_TRUE( aFile.MySetLength( 95 ) );
    aFile.SetCopyBuffSize( 10 );
    for ( rlim_t nRoom = 0; nRoom <= 95; nRoom += 19 )
    {
        BOOL fCopied = FALSE;
        {
            const Limit aLimit( RLIMIT_FSIZE, nRoom );
            fCopied = aFile.CopyTo( aFolder.Path( "copy" ).c_str() );
        }
        EXPECT_EQ( nRoom == 95, fCopied != FALSE ) << nRoom;
        EXPECT_EQ( nRoom, std::filesystem::file_size( aFolder.Path( "copy" ) ) );
        if ( !fCopied )
        {
            EXPECT_EQ( " Error: !aDst.MyWrite( m_pCopyBuff, uTransferred )", OnlyText( aRecorder ) );
        }
    }
    EXPECT_TRUE( aRecorder.Silent() );
}

// In this process every descriptor's end says what a file system on the network can say.
BX_ROLE( closes_without_room )
{
    HookRecorder aRecorder;
    MFileWrapper aFile( FILE_TYPE_CFILE, &HookRecorder::Debug, NULL );
    if ( !aFile.MyOpen( Arguments[0].c_str(), MFileWrapper::modeCreate | MFileWrapper::modeWrite ) )
        return 1;
    sock_filter aSteps[] = { BPF_STMT( BPF_LD | BPF_W | BPF_ABS, offsetof( seccomp_data, nr ) ),
                             BPF_JUMP( BPF_JMP | BPF_JEQ | BPF_K, SYS_close, 0, 1 ),
                             BPF_STMT( BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EDQUOT ),
                             BPF_STMT( BPF_RET | BPF_K, SECCOMP_RET_ALLOW ) };
    const sock_fprog aFilter{ 4, aSteps };
    if ( prctl( PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0 ) != 0 ||
         prctl( PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &aFilter ) != 0 )
        return 2;
    const BOOL fClosed = aFile.MyWrite( "1", 1 ) && aFile.MyClose();
    return !fClosed && EndsWith( OnlyText( aRecorder ), "The disk is full. OsError = 112" ) ? 0 : 3;
}

TEST( FullDisk, IsSaidAlsoWhenItShowsAtTheEndOnly )
{
    const ScratchFolder aFolder;
    EXPECT_EQ( 0, RunInRole( "closes_without_room", { aFolder.Path( "file" ) } ) );
}

// Not even root may list the folder meanwhile; the file in it can be found all the same.
TEST( Folders, NeedNotBeReadableForAPathInThem )
{
    const ScratchFolder aFolder;
    DebugRecorder aRecorder;
    WriteBytes( aFolder.Path( "file" ), "" );
    ASSERT_EQ( 0, chmod( aFolder.Path().c_str(), S_IXUSR | S_IXGRP | S_IXOTH ) );
    const uid_t nUser = geteuid();
    ASSERT_EQ( 0, seteuid( nUser != 0 ? nUser : 65534 ) );
    char szPath[_MAX_PATH];
    const BOOL fFound = ShortPath2Long( aFolder.Path( "file" ).c_str(), szPath, sizeof( szPath ) );
    ASSERT_EQ( 0, seteuid( nUser ) );
    EXPECT_TRUE( fFound && aFolder.Path( "file" ) == szPath );
    EXPECT_EQ( 0, chmod( aFolder.Path().c_str(), S_IRWXU ) );

    // A backslash divides in the beginning of a name as well, and is not left in one that no call finds.
    EXPECT_TRUE( aRecorder.Silent() );
    EXPECT_FALSE( CreateTempFile( aFolder.Path().c_str(), "a\\b", NULL, szPath, sizeof( szPath ) ) );
    EXPECT_TRUE( aRecorder.OnlyReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT CreateTempFile( LPCTSTR szDstDir, LPCTSTR pName, LPCTSTR szExt, LPTSTR pFullFileName, USHORT usSize )",
        " Error: GetTempFileName( aFullPath, pName, 0, pStr ) == 0" ) );
}

TEST( StrangeFiles, AreRefusedWithTheNearestTextAndWithoutWaiting )
{
    const ScratchFolder aFolder;
    HookRecorder aRecorder;
    MFileWrapper aFile( FILE_TYPE_CFILE, &HookRecorder::Debug, NULL );
    ASSERT_EQ( 0, mkfifo( aFolder.Path( "pipe" ).c_str(), 0600 ) );
    ASSERT_EQ( 0, symlink( "loop", aFolder.Path( "loop" ).c_str() ) );
    WriteBytes( aFolder.Path( "read-only" ), "1" );
    ASSERT_EQ( 0, chmod( aFolder.Path( "read-only" ).c_str(), 0444 ) );
    const struct
    {
        std::string strPath;
        UINT uOpenFlags;
        const char* pEnd;
        rlim_t nMostFiles = 500; // sanitizers need some, too
    } aCases[] = {
        { aFolder.Path( "pipe" ), MFileWrapper::modeRead, "The file could not be accessed. OsError = 5" },
        { "/dev/full", MFileWrapper::modeWrite, "The file could not be accessed. OsError = 5" },
        { aFolder.Path( "read-only" ), MFileWrapper::modeWrite,
          "The file could not be accessed. OsError = 5" },
        { aFolder.Path( "loop" ), MFileWrapper::modeRead,
          "All or part of the path is invalid. OsError = 161" },
        { aFolder.Path( std::string( 300, 'n' ) ), MFileWrapper::modeCreate | MFileWrapper::modeWrite,
          "All or part of the path is invalid. OsError = 206" },
        { aFolder.Path( "read-only/file" ), MFileWrapper::modeRead,
          "All or part of the path is invalid. OsError = 3" },
        { aFolder.Path( "read-only" ), MFileWrapper::modeRead,
          "The permitted number of open files was exceeded. OsError = 4", 0 },
    };
    for ( const auto& rCase : aCases )
    {
        const Limit aLimit( RLIMIT_NOFILE, rCase.nMostFiles );
        EXPECT_FALSE( aFile.MyOpen( rCase.strPath.c_str(), rCase.uOpenFlags ) );
        const std::string strText = OnlyText( aRecorder );
        EXPECT_TRUE( EndsWith( strText, rCase.pEnd ) ) << strText;
    }
}

// Sharing keeps no other program away.
TEST( FileLines, OfAFileThatAnotherProgramCutsAreNotInvented )
{
    const ScratchFolder aFolder;
    const std::string strPath = aFolder.Path( "log" );
    HookRecorder aRecorder;
    WriteBytes( strPath, "one\ntwo\nthr" );
    MFileWrapper aFile( FILE_TYPE_CFILE, &HookRecorder::Debug, NULL );
    ASSERT_TRUE( aFile.MyOpen( strPath.c_str(), MFileWrapper::shareDenyWrite ) );
    char aLine[20];
    UINT unSize = sizeof( aLine );
    EXPECT_TRUE( aFile.MyGetLine( aLine, &unSize, '\n' ) && aFile.MyGetLine( aLine, &unSize, '\n' ) );
    EXPECT_FALSE( aFile.MyGetLine( aLine, &unSize, '\n' ) );
    WriteBytes( strPath, "one\ntwo\nthree\n" );
    EXPECT_TRUE( aFile.MyGetLine( aLine, &unSize, '\n' ) );
    EXPECT_STREQ( "three\n", aLine );
    ASSERT_EQ( 0, truncate( strPath.c_str(), 6 ) );
    EXPECT_FALSE( aFile.MyGetLine( aLine, &unSize, '\n' ) );
    EXPECT_EQ( " Error: dwFileSize < dwCurrent", OnlyText( aRecorder ) );
}
