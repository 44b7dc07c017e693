// Modules and small calls, as far as a transcript cannot show them.

#include "diag/dbwin.h"
#include "platform/errno_to_win32.h"
#include "platform/errortext.h"
#include "platform/module/modulepath.h"
#include "platform/threadend.h"
#include "platform/version.h"
#include "support/failnew.h"
#include "support/scratchfolder.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <vector>

namespace
{
constexpr char MODULE_NAME[] = "BXTRANSCRIPTMODULE.DLL";

// Without their folders, each name once.
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
    void* const pOther = dlopen( "libm.so.6", RTLD_NOW );
    EXPECT_FALSE( FreeLibrary( static_cast<HMODULE>( pOther ) ) );
    EXPECT_EQ( ERROR_MOD_NOT_FOUND + 0u, GetLastError() );
    const HMODULE hMath = LoadLibraryA( "libm.so.6" );
    EXPECT_NE( nullptr, GetProcAddress( hMath, "cos" ) );
    EXPECT_EQ( nullptr, GetProcAddress( hMath, "printf" ) );
    EXPECT_TRUE( FreeLibrary( hMath ) );
    EXPECT_FALSE( FreeLibrary( hMath ) ) << "somebody else's use is not ours to give back";
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
    const auto Load = [&]( NewFault& rFault )
    {
        const HMODULE hModule = rFault.During( [] { return LoadLibraryA( MODULE_NAME ); } );
        const DWORD dwError = GetLastError();
        EXPECT_EQ( rFault.Hit(), hModule == NULL );
        EXPECT_TRUE( hModule != NULL ? FreeLibrary( hModule ) : dwError == ERROR_NOT_ENOUGH_MEMORY );
        EXPECT_EQ( NULL, GetModuleHandleA( MODULE_NAME ) );
    };
    EXPECT_GT( ForEachFailingNew( Load ), 2u );
    EXPECT_TRUE( PinCurrentModule() );
}

TEST( Version, TheMonitorIsServedOnTheWindows95FamilyAlone )
{
    OnGlobalValuesChanged();
    EXPECT_FALSE( IsDebugMonitorServed() );
    SetPlatformIdForTest( VER_PLATFORM_WIN32_WINDOWS );
    OnGlobalValuesChanged();
    EXPECT_TRUE( IsDebugMonitorServed() );
    SetPlatformIdForTest( VER_PLATFORM_WIN32_NT );
    ServeDebugMonitor( false );
}

TEST( ErrorText, EveryMappedErrnoHasOne )
{
    for ( int nErrno = 0; nErrno < 134; ++nErrno )
        EXPECT_FALSE( FindErrorText( ErrnoToWin32( nErrno ) ).empty() ) << nErrno;
    EXPECT_EQ( ERROR_GEN_FAILURE + 0u, ErrnoToWin32( 9999 ) );
}

TEST( MessageBox, PrintsAndAnswersWithoutADisplay )
{
    testing::internal::CaptureStderr();
    EXPECT_EQ( IDOK, MessageBoxA( NULL, "The text.", "The title", MB_OK | MB_ICONERROR | MB_TASKMODAL ) );
    EXPECT_EQ( IDNO, MessageBoxA( NULL, NULL, NULL, MB_YESNO ) );
    EXPECT_EQ( IDCANCEL, MessageBoxA( NULL, "", "", MB_RETRYCANCEL ) );
    EXPECT_EQ( 0, MessageBoxA( NULL, "", "", 0xF ) );
    EXPECT_EQ( "The title\nThe text.\nError\n\n\n\n", testing::internal::GetCapturedStderr() );
}
