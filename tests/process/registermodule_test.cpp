#include "process/processes.h"
#include "support/scratchfolder.h"
#include "support/shown.h"

#include <bxtools/sync.h>

#include <gtest/gtest.h>

static constexpr char MODULE[] = "BXSELFREGISTERING.DLL";
static constexpr char NOT_CALLED[] =
    "RegisterModule| Error: !CallRegistryFunction( pModuleName, pFunctionName )\n";

// What the user is shown by a call that fails.
static std::string ShownBy( const std::string& strModule, int nMode )
{
    return ShownBy( [&] { EXPECT_FALSE( RegisterModule( strModule.c_str(), nMode ) ); } );
}

TEST( RegisterModule, CallsTheEntryOfTheMode )
{
    static char s_szMay[] = "BX_MAY_REGISTER=1";
    static char s_szThrow[] = "BX_MAY_REGISTER=throw";
    static char s_szMayNot[] = "BX_MAY_REGISTER=";
    putenv( s_szMay );
    DebugRecorder aRecorder;
    EXPECT_TRUE( RegisterModule( MODULE, 1 ) );
    putenv( s_szThrow );
    EXPECT_FALSE( RegisterModule( MODULE, 1 ) );
    EXPECT_EQ( std::string( "CallRegistryFunction|Severe error occurred executing this function\n" ) +
                   NOT_CALLED,
               Reported( aRecorder ) );
    putenv( s_szMayNot );
    EXPECT_EQ( NULL, GetModuleHandleA( MODULE ) );
    EXPECT_FALSE( RegisterModule( MODULE, 0 ) || RegisterModule( MODULE, 3 ) );
    const std::string strMode = "RegisterModule| Error: nRegisterMode wrong mode -> default case\n";
    EXPECT_EQ( strMode + strMode, Reported( aRecorder ) );
}

TEST( RegisterModule, ShowsWhatFails )
{
    DebugRecorder aRecorder;
    const std::string strMissing = ShownBy( "bxmissing.so", 1 );
    EXPECT_TRUE( strMissing.starts_with(
        "Info\n Error: LoadLibrary( pModuleName ) failed.\r\npModuleName = bxmissing.so"
        "\r\nGetLastError() reports: 126\r\n" ) );
    EXPECT_TRUE( strMissing.ends_with( ".\r\n\n" ) ) << strMissing; // the system's text
    EXPECT_TRUE(
        ShownBy( MODULE, 2 )
            .starts_with(
                "Info\n Error: GetProcAddress( hInst, pFunctionName ) failed.\r\n pFunctionName = DllUnregisterServer"
                "\r\nGetLastError() reports: 127\r\n" ) );
    EXPECT_EQ( "Info\n Error: Called function -> DllRegisterServer\r\n reports error:-2147220992\n",
               ShownBy( MODULE, 1 ) );
    const std::string strCall = "CallRegistryFunction| Error: ";
    EXPECT_EQ( strCall + "hInst == NULL\n" + NOT_CALLED + strCall + "aFunc == NULL\n" + NOT_CALLED + strCall +
                   "( aResult = (*aFunc)() ) != S_OK\n" + NOT_CALLED,
               Reported( aRecorder ) );
    EXPECT_EQ( NULL, GetModuleHandleA( MODULE ) );
}

// The system's text for a file that is no module wants an insert.
TEST( RegisterModule, ShowsNothingWithoutTheSystemsText )
{
    const ScratchFolder aFolder;
    WriteBytes( aFolder.Path( "text.so" ), "no module" );
    DebugRecorder aRecorder;
    DWORD dwError = 0;
    EXPECT_EQ( "", ShownBy(
                       [&]
                       {
                           EXPECT_FALSE( RegisterModule( aFolder.Path( "text.so" ).c_str(), 1 ) );
                           dwError = GetLastError();
                       } ) );
    EXPECT_EQ( static_cast<DWORD>( ERROR_BAD_EXE_FORMAT ), dwError );
    const std::string strReported = Reported( aRecorder );
    EXPECT_TRUE(
        strReported.ends_with( "GetOriginErrText| Error: !AppendLastErrMsg( aOut, lCurErr, pfMessageFound )\n"
                               "CallRegistryFunction| Error: !GetOriginErrText( szOut, lCurErr )\n" +
                               std::string( NOT_CALLED ) ) )
        << strReported;
}
