// bxtool whose output goes to what only Windows has: handles that cannot be written, and a console.
#include "support/secondprocess.h"
#include "tools/runprogram.h"

#include <system_error>
#include <windows.h>

namespace
{

SECURITY_ATTRIBUTES g_aInherited = { sizeof( g_aInherited ), NULL, TRUE };

// Its exit code; standard output is the handle, which is closed, and standard error the file "stderr" of the folder.
DWORD RunTool( std::string strLine, HANDLE hOutput, const std::string& strFolder )
{
    STARTUPINFOA aStartup = {};
    aStartup.cb = sizeof( aStartup );
    aStartup.dwFlags = STARTF_USESTDHANDLES;
    aStartup.hStdOutput = hOutput;
    aStartup.hStdError = CreateFileA( ( strFolder + "/stderr" ).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                      &g_aInherited, CREATE_ALWAYS, 0, NULL );
    PROCESS_INFORMATION aProcess = {};
    const BOOL fStarted = CreateProcessA( BXTOOL_PROGRAM, strLine.data(), NULL, NULL, TRUE, 0, NULL,
                                          strFolder.c_str(), &aStartup, &aProcess );
    CloseHandle( hOutput );
    CloseHandle( aStartup.hStdError );
    DWORD dwExitCode = static_cast<DWORD>( -1 );
    if ( !fStarted )
        return dwExitCode;
    WaitForSingleObject( aProcess.hProcess, INFINITE );
    GetExitCodeProcess( aProcess.hProcess, &dwExitCode );
    CloseHandle( aProcess.hThread );
    CloseHandle( aProcess.hProcess );
    return dwExitCode;
}

// A line of the screen as UTF-8, one character for each cell, without the blanks at its end.
std::string ReadScreen( HANDLE hScreen, SHORT nLine, SHORT nColumns )
{
    wchar_t szCells[128] = L"";
    DWORD dwRead = 0;
    ReadConsoleOutputCharacterW( hScreen, szCells, static_cast<DWORD>( nColumns ), { 0, nLine }, &dwRead );
    char szText[512] = "";
    WideCharToMultiByte( CP_UTF8, 0, szCells, static_cast<int>( dwRead ), szText, sizeof( szText ), NULL,
                         NULL );
    std::string strText( szText );
    return strText.erase( strText.find_last_not_of( ' ' ) + 1 );
}

} // namespace

using ToolOutput = ToolTest;

TEST_F( ToolOutput, ThatCannotBeWrittenIsAFailure )
{
    const auto Expect = [&]( HANDLE hOutput, int nSystemError )
    {
        EXPECT_EQ( 5u, RunTool( "bxtool errors make --class A", hOutput, Path() ) );
        const std::string strReason = std::system_category().message( nSystemError );
        EXPECT_EQ( "bxtool: cannot write to standard output: " + strReason +
                       "; is there room where it goes, and does its reader still run?\n",
                   ReadBytes( Path( "stderr" ) ) );
    };
    WriteBytes( Path( "read" ), "" );
    Expect( CreateFileA( Path( "read" ).c_str(), GENERIC_READ, FILE_SHARE_READ, &g_aInherited, OPEN_EXISTING,
                         0, NULL ),
            ERROR_ACCESS_DENIED );
    HANDLE hRead = NULL;
    HANDLE hWrite = NULL;
    CreatePipe( &hRead, &hWrite, &g_aInherited, 0 );
    CloseHandle( hRead );
    Expect( hWrite, ERROR_NO_DATA );
}

// Has a console of its own, since that of the tests may be somebody's.
BX_ROLE( console )
{
    constexpr SHORT COLUMNS = 40;
    constexpr SHORT LINES = 12;
    FreeConsole();
    AllocConsole();
    const HANDLE hScreen = CreateFileA( "CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, NULL, OPEN_EXISTING, 0, NULL );
    const SMALL_RECT aWindow = { 0, 0, COLUMNS - 1, LINES - 1 };
    SetConsoleWindowInfo( hScreen, TRUE, &aWindow );
    SetConsoleScreenBufferSize( hScreen, { COLUMNS, LINES } );
    SetConsoleOutputCP( 850 );
    // Bytes of colour would stand on a screen that shows none.
    SetEnvironmentVariableA( "NO_COLOR", "1" );
    const HANDLE hOutput =
        CreateFileA( "CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                     &g_aInherited, OPEN_EXISTING, 0, NULL );
    TellTest( std::to_string( RunTool( "bxtool errors show s", hOutput, Arguments[0] ) ) + " " +
              std::to_string( GetConsoleOutputCP() ) );
    for ( SHORT i = 0; i < LINES; ++i )
        TellTest( ReadScreen( hScreen, i, COLUMNS ) );
    return 0;
}

TEST_F( ToolOutput, ToAConsoleIsWhatFitsIt )
{
    WriteBytes( Path( "s" ), StreamOf( { "1.0.0+?+A+?+1+?+0+?+one tw\xC3\xBC\x1B three fourth six "
                                         "eight nine ten eleven twelve+?++?+" } ) );
    SecondProcess aConsole( "console", { Path() } );
    // What it ended with and the code page then, before what the screen shows.
    for ( const char* pLine :
          { "0 850", "record 0", "  class         A", "  number        1 (hex: 0x00000001)",
            "  system error  0", "  origin        one tw\xC3\xBC\\x1B three",
            "                fourth six eight nine", "                ten eleven twelve", "" } )
        EXPECT_EQ( pLine, aConsole.ReadLine() );
}
