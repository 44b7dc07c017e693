// Modules and small calls, as far as a transcript cannot show them.

#include "diag/dbwin.h"
#include "platform/errno_to_win32.h"
#include "platform/errortext.h"
#include "platform/module/modulepath.h"
#include "platform/threadend.h"
#include "platform/version.h"
#include "support/failnew.h"
#include "support/scratchfolder.h"
#include "support/threads.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>
#include <vector>

namespace
{
constexpr char MODULE_NAME[] = "BXTRANSCRIPTMODULE.DLL";

bool IsModuleLoaded()
{
    return GetModuleHandleA( MODULE_NAME ) != NULL;
}

std::vector<std::string> FileNames( const char* pName )
{
    std::vector<std::string> aNames;
    for ( const std::string& strCandidate : ListLibraryCandidates( pName ) )
    {
        const std::string strName = std::filesystem::path( strCandidate ).filename();
        if ( std::find( aNames.begin(), aNames.end(), strName ) == aNames.end() )
            aNames.push_back( strName );
    }
    return aNames;
}
} // namespace

TEST( Module, NamesLeadToFiles )
{
    typedef std::vector<std::string> Names;
    EXPECT_EQ( ( Names{ "libbxbox.so", "libBXBox.so", "BXBox.DLL" } ), FileNames( "BXBox.DLL" ) );
    EXPECT_EQ( ( Names{ "libbxbox.so", "bxbox" } ), FileNames( "bxbox" ) );
    EXPECT_EQ( ( Names{ "libm.so.6" } ), FileNames( "libm.so.6" ) );
    EXPECT_EQ( ( Names{ "liba.b.so", "libA.B.so", "A.B.dll" } ), FileNames( "A.B.dll" ) );
    EXPECT_EQ( ( Names{ "/x/y/Z.DLL" } ), ListLibraryCandidates( "\\x/y\\Z.DLL" ) );
    EXPECT_EQ( ( Names{ std::filesystem::current_path() / "sub/Z" } ), ListLibraryCandidates( "sub\\Z" ) );
    // The system's loader comes last.
    EXPECT_EQ( "BXBox.DLL", ListLibraryCandidates( "BXBox.DLL" ).back() );
    EXPECT_TRUE( ListLibraryCandidates( "" ).empty() );
}

TEST( Module, OthersNamesAndUsesAreNotTouched )
{
    const HMODULE hMath = LoadLibraryA( "libm.so.6" );
    ASSERT_NE( nullptr, hMath );
    EXPECT_NE( nullptr, GetProcAddress( hMath, "cos" ) );
    EXPECT_EQ( nullptr, GetProcAddress( hMath, "printf" ) );
    EXPECT_EQ( ERROR_PROC_NOT_FOUND + 0u, GetLastError() );
    EXPECT_TRUE( FreeLibrary( hMath ) );
    EXPECT_FALSE( FreeLibrary( hMath ) );
    // Somebody else's use is not ours to give back.
    void* const pOther = dlopen( "libm.so.6", RTLD_NOW );
    EXPECT_FALSE( FreeLibrary( static_cast<HMODULE>( pOther ) ) );
    EXPECT_EQ( ERROR_MOD_NOT_FOUND + 0u, GetLastError() );
    dlclose( pOther );
}

TEST( Module, AFileThatEndsEarlyIsNoLibrary )
{
    char aPath[1024];
    const HMODULE hModule = LoadLibraryA( MODULE_NAME );
    ASSERT_NE( 0u, GetModuleFileNameA( hModule, aPath, sizeof( aPath ) ) );
    ASSERT_TRUE( FreeLibrary( hModule ) );
    const ScratchFolder aFolder;
    std::string strAll = ReadBytes( aPath );
    const std::string strPath = aFolder.Path( "cut.dll" );
    for ( const unsigned nLength : { 0u, 10u, 63u, 64u, 300u, 4096u, 8192u, 12288u } )
    {
        WriteBytes( strPath, strAll.substr( 0, nLength ) );
        EXPECT_EQ( nullptr, LoadLibraryA( strPath.c_str() ) ) << nLength;
        EXPECT_EQ( ERROR_BAD_EXE_FORMAT + 0u, GetLastError() ) << nLength;
    }
    // Whole, and made for another machine.
    WriteBytes( strPath, strAll );
    EXPECT_EQ( LibraryFile::Loadable, CheckLibraryFile( strPath ) );
    strAll[18] = static_cast<char>( strAll[18] ^ 1 );
    WriteBytes( strPath, strAll );
    EXPECT_EQ( LibraryFile::NoLibrary, CheckLibraryFile( strPath ) );
}

TEST( Module, WithoutMemoryNothingStaysLoaded )
{
    ASSERT_FALSE( IsModuleLoaded() );
    const auto Load = [&]( NewFault& rFault )
    {
        const HMODULE hModule = rFault.During( [] { return LoadLibraryA( MODULE_NAME ); } );
        const DWORD dwError = GetLastError();
        EXPECT_EQ( rFault.Hit(), hModule == NULL );
        EXPECT_TRUE( hModule != NULL ? FreeLibrary( hModule ) : dwError == ERROR_NOT_ENOUGH_MEMORY );
        EXPECT_FALSE( IsModuleLoaded() );
    };
    EXPECT_GT( ForEachFailingNew( Load ), 2u );
}

TEST( Module, ThreadsLoadAndFree )
{
    std::atomic<int> nWrong{ 0 };
    const auto LoadAndFree = [&]
    {
        for ( int n = 0; n < 200; ++n )
        {
            const HMODULE hModule = LoadLibraryA( MODULE_NAME );
            nWrong += GetProcAddress( hModule, "CountTranscriptCalls" ) == NULL;
            nWrong += !FreeLibrary( hModule );
        }
    };
    OnThreads( 4, LoadAndFree );
    EXPECT_EQ( 0, nWrong );
    EXPECT_FALSE( IsModuleLoaded() );
    EXPECT_TRUE( PinCurrentModule() );
}

TEST( Version, TheMonitorIsServedOnTheWindows95FamilyAlone )
{
    OSVERSIONINFOA aVersion{};
    aVersion.dwOSVersionInfoSize = sizeof( aVersion );
    OnGlobalValuesChanged();
    EXPECT_FALSE( IsDebugMonitorServed() );
    SetPlatformIdForTest( VER_PLATFORM_WIN32_WINDOWS );
    EXPECT_TRUE( GetVersionExA( &aVersion ) );
    EXPECT_EQ( 1u, aVersion.dwPlatformId );
    OnGlobalValuesChanged();
    EXPECT_TRUE( IsDebugMonitorServed() );
    SetPlatformIdForTest( VER_PLATFORM_WIN32_NT );
    ServeDebugMonitor( false );
}

TEST( ErrorText, EveryMappedErrnoHasOne )
{
    for ( int nErrno = 0; nErrno < 134; ++nErrno )
        EXPECT_FALSE( FindErrorText( ErrnoToWin32( nErrno ) ).empty() ) << nErrno;
    EXPECT_EQ( ERROR_FILE_NOT_FOUND + 0u, ErrnoToWin32( ENOENT ) );
    EXPECT_EQ( ERROR_PATH_NOT_FOUND + 0u, ErrnoToWin32( ENOTDIR ) );
    EXPECT_EQ( ERROR_TOO_MANY_OPEN_FILES + 0u, ErrnoToWin32( EMFILE ) );
    EXPECT_EQ( ERROR_DISK_FULL + 0u, ErrnoToWin32( ENOSPC ) );
    EXPECT_EQ( ERROR_GEN_FAILURE + 0u, ErrnoToWin32( 9999 ) );
}

TEST( MessageBox, PrintsAndAnswersWithoutADisplay )
{
    const ScratchFolder aFolder;
    const int nBefore = dup( STDERR_FILENO );
    const int nFile = open( aFolder.Path( "stderr" ).c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600 );
    dup2( nFile, STDERR_FILENO );
    const int anAnswers[] = { MessageBoxA( NULL, "The text.", "The title",
                                           MB_OK | MB_ICONERROR | MB_TASKMODAL ),
                              MessageBoxA( NULL, NULL, NULL, MB_YESNO ),
                              MessageBoxA( NULL, "", "", MB_RETRYCANCEL ), MessageBoxA( NULL, "", "", 0xF ) };
    dup2( nBefore, STDERR_FILENO );
    close( nBefore );
    close( nFile );
    EXPECT_EQ( ( std::vector<int>{ IDOK, IDNO, IDCANCEL, 0 } ),
               std::vector<int>( std::begin( anAnswers ), std::end( anAnswers ) ) );
    EXPECT_EQ( "The title\nThe text.\nError\n\n\n\n", ReadBytes( aFolder.Path( "stderr" ) ) );
}
