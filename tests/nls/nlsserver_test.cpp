// The server: its settings, its two modes, one for each thread.
#include "nls/nlsperthread.h"
#include "nls/nlssettings.h"
#include "nls/nlssupport.h"
#include "support/failnew.h"
#include "support/threads.h"

#include <bxtools/registry.h>

#include <filesystem>

namespace
{

constexpr char SETTINGS_FROM[] = "From void GetNlsContentsFromIniFile(...)";
constexpr char CODE_FROM[] =
    "From BOOL CheckCountryCode( USHORT* pCountryCode, MString* pstCountryCode, BOOL fSetDefault )";

class NlsServer : public NlsTest
{
protected:
    NlsServer() { m_aRegistry.Connect( (HKEY)CRegistry::keyLocalMachine ); }
    ~NlsServer() override { m_aRegistry.DeleteKey( NLS_SETTINGS_KEY ); }

    void Store( const char* pEditMode, const std::string& strPath, const std::string& strLanguage )
    {
        ASSERT_TRUE( m_aRegistry.Create( NLS_SETTINGS_KEY ) );
        m_aRegistry.SetValue( "EditMode", MString( pEditMode ) );
        m_aRegistry.SetValue( "Path", MString( strPath.c_str() ) );
        m_aRegistry.SetValue( "Language", MString( strLanguage.c_str() ) );
    }
    // Mode, folder and code, divided by blanks.
    static std::string Settings()
    {
        BOOL fDebug = 7;
        BOOL fEdit = 7;
        MString stIniFile( "x" );
        MString stPath( "x" );
        MString stRelease( "x" );
        MString stCode;
        EXPECT_TRUE( GetNlsContentsFromIniFile( &fDebug, &fEdit, &stIniFile, &stPath, &stRelease, &stCode ) );
        EXPECT_FALSE( fDebug );
        EXPECT_STREQ( "", stIniFile );
        EXPECT_STREQ( "", stRelease );
        return std::to_string( fEdit ) + " " + stPath.data() + " " + stCode.data();
    }

    CRegistry m_aRegistry;
};

} // namespace

TEST_F( NlsServer, SettingsAreTheRegistrys )
{
    DebugRecorder aRecorder;
    EXPECT_EQ( "0  " + m_strCode, Settings() );
    EXPECT_TRUE( aRecorder.OnlyReport(
        SETTINGS_FROM,
        std::string(
            " Error: !aCRegistry.Open( aRoot, (CRegistry::CreatePermissions)( CRegistry::permissionRead ) )" ) +
            "aRoot = " + NLS_SETTINGS_KEY ) );
    ASSERT_TRUE( m_aRegistry.Create( NLS_SETTINGS_KEY ) );
    EXPECT_EQ( "0  " + m_strCode, Settings() );
    const std::string strMissing = aRecorder.Take();
    for ( const std::string strName : { "EDITMODE = EditMode", "PATH = Path", "LANGUAGE = Language" } )
        EXPECT_NE( std::string::npos, strMissing.find( " QRN_CTRL_REG_NLS_" + strName ) );
    const std::string strFolder = m_aFolder.Path();
    for ( const auto& [pEditMode, strMode] : std::initializer_list<std::pair<const char*, std::string>>{
              { "Yes", "1" }, { "1", "1" }, { "tRuE", "1" }, { "No", "0" }, { "2", "0" }, { "", "0" } } )
    {
        Store( pEditMode, strFolder + MYCH_DELIMDIR, m_strCode );
        EXPECT_EQ( strMode + " " + strFolder + " " + m_strCode, Settings() );
    }
    Store( "1", strFolder + "/none", m_strCode );
    EXPECT_EQ( "1  " + m_strCode, Settings() );
    EXPECT_TRUE( aRecorder.OnlyReport( "From QRN.INI -> CSVPath", strFolder + "/none Directory not found" ) );
    m_aRegistry.DeleteValue( "Language" );
    Settings();
    const std::string strReports = aRecorder.Take();
    EXPECT_LT( strReports.find( "Directory not found" ), strReports.find( " QRN_CTRL_REG_NLS_LANGUAGE" ) );
}

TEST_F( NlsServer, CountryCodesHaveThreeDigitsAndADefault )
{
    const auto NotSupported = []( const std::string& strCode )
    { return " Warning: CountryCode = " + strCode + " not supported"; };
    const std::string strDefault = " Warning: CountryCode set to default value = 49";
    const std::tuple<const char*, USHORT, const char*, std::string> aCases[] = {
        { "7", 7, "007", "" },
        { "500", 500, "500", NotSupported( "500" ) },
        { "1000", 1000, "1000", NotSupported( "1000" ) },
        { "1234", 49, "049", NotSupported( "1234" ) + strDefault },
        { "65585", 49, "049", NotSupported( "65585" ) + strDefault }, // 49 in 16 bits
        { "", 49, "049", NotSupported( "0" ) + strDefault },
        { "abc", 49, "049", NotSupported( "abc" ) + strDefault },
    };
    for ( const auto& [pGiven, usExpected, pText, strWarning] : aCases )
    {
        USHORT usCode = 0;
        MString stCode( pGiven );
        DebugRecorder aRecorder;
        EXPECT_TRUE( CheckCountryCode( &usCode, &stCode, TRUE ) );
        EXPECT_EQ( usExpected, usCode );
        EXPECT_STREQ( pText, stCode );
        const std::string strReport =
            usCode == m_usCode ? strWarning
                               : strWarning + " Warning: system CountryCode = " + std::to_string( m_usCode ) +
                                     " unlike requested CountryCode = " + std::to_string( usCode );
        EXPECT_TRUE( strReport.empty() ? aRecorder.Silent() : aRecorder.OnlyReport( CODE_FROM, strReport ) )
            << pGiven;
    }
    DebugRecorder aRecorder;
    USHORT usCode = 5;
    MString stCode;
    EXPECT_FALSE( CheckCountryCode( &usCode, &stCode, FALSE ) );
    stCode = "4x";
    EXPECT_FALSE( CheckCountryCode( &usCode, &stCode, FALSE ) );
    EXPECT_TRUE(
        aRecorder.OnlyReports( { { CODE_FROM, " Error: (*pstCountryCode).IsEmpty()" },
                                 { CODE_FROM, " Error: !aTempStr.IsNumeric()" + NotSupported( "4x" ) } } ) );
    EXPECT_EQ( 5, usCode );
    EXPECT_STREQ( "4x", stCode );
}

// Shipped so: the registry names no release file.
TEST_F( NlsServer, OutsideEditModeTheRegistryGivesNoTexts )
{
    Store( "No", m_aFolder.Path(), m_strCode );
    WriteFile( "A.CSV", m_strHeader + "[S]\nTITLE=Titel\n" );
    SetNlsSettings( NULL );
    DebugRecorder aRecorder;
    SetLastError( 4711 );
    EXPECT_EQ( "Title", Load( "A.S", "Title" ) );
    EXPECT_EQ( 4711u, GetLastError() );
    Store( "Yes", m_aFolder.Path(), m_strCode );
    EXPECT_EQ( "Title", Load( "A.S", "Title" ) ); // the thread's server has its settings
    const Report aUnusable(
        "From BOOL NLSServer::ReadStringValue( LPCTSTR pstSec, LPCTSTR pstKey, BOOL bWithCountryCode, BOOL* pbFound, DATABUFTYPE* ppData, MString* pFullKey )",
        " Error: !IsStatusOk()" );
    EXPECT_TRUE( aRecorder.OnlyReports(
        { { "From BOOL NLSServer::CheckReleaseFile( BOOL fExistanceOnly )",
            " Error: !FileExists( m_stReleaseFile, FILE_ACCESS_READWRITE, NULL, 0 )" },
          { "From NLSServer::NLSServer(...)", " Error: !CheckReleaseFile( fExistanceOnly )" },
          aUnusable,
          aUnusable } ) );
    SetNlsSettings( NULL );
    EXPECT_EQ( "Titel", Load( "A.S", "Title" ) );
}

TEST_F( NlsServer, WriterMakesAFileThatReadersFindByCodeSectionAndKey )
{
    Release( { { m_strCode + "A.STITLE", "Titel" },
               { "044A.STITLE", "Title" },
               { "A.STITLE", "none" },
               { "KEY", "key" } } );
    DebugRecorder aRecorder;
    NLSServer aServer( 0, NULL );
    EXPECT_TRUE( aServer.IsStatusOk() && !aServer.IsEditMode() );
    const auto Read = [&]( const char* pSec, const char* pKey, BOOL fWithCode )
    {
        BOOL fFound = FALSE;
        DATABUFTYPE pData = "";
        MString stFullKey;
        EXPECT_TRUE( aServer.ReadStringValue( pSec, pKey, fWithCode, &fFound, &pData, &stFullKey ) );
        return std::string( stFullKey.data() ) + ( fFound ? "+" : "-" ) + pData;
    };
    EXPECT_EQ( m_strCode + "A.STITLE+Titel", Read( "A.S", "TITLE", TRUE ) );
    EXPECT_EQ( "A.STITLE+none", Read( "A.S", "TITLE", FALSE ) );
    EXPECT_EQ( "KEY+key", Read( "", "KEY", TRUE ) );
    EXPECT_EQ( m_strCode + "A.Stitle-title", Read( "A.S", "title", TRUE ) );
    const std::string strLong( 70000, 'X' );
    EXPECT_EQ( m_strCode + "A.S" + strLong + "-" + strLong, Read( "A.S", strLong.c_str(), TRUE ) );
    EXPECT_TRUE( aRecorder.Silent() );
    // The same settings with another code.
    m_aSettings.usCountryCode = 44;
    SetNlsSettings( &m_aSettings );
    EXPECT_EQ( "Title", Load( "a.s", "title" ) );
    // Kept so: a reader needs the right to write.
    std::filesystem::permissions( m_aSettings.stReleaseFile.data(), std::filesystem::perms::owner_read );
    EXPECT_FALSE( NLSServer( 0, NULL ).IsStatusOk() );
    std::filesystem::permissions( m_aSettings.stReleaseFile.data(), std::filesystem::perms::owner_all );
    NLSServer aNowhere( 40, "" );
    EXPECT_FALSE( aNowhere.IsStatusOk() );
    EXPECT_FALSE( aNowhere.WriteStringValue( "KEY", "key" ) );
    EXPECT_NE( std::string::npos, aRecorder.Take().find( " Error: !CreatePathAndFile( m_stReleaseFile )" ) );
}

TEST_F( NlsServer, EachThreadHasItsOwnAndTakesItsSettingsWhenItIsMade )
{
    Release( { { m_strCode + "A.STITLE", "Titel" }, { "044A.STITLE", "Title" } } );
    EXPECT_EQ( "Titel", Load( "A.S", "TITLE" ) );
    NLSServer* const pServer = GetNLSServer();
    OnOtherThread(
        [&]()
        {
            EXPECT_EQ( "Titel", Load( "A.S", "TITLE" ) );
            m_aSettings.usCountryCode = 44;
            m_aSettings.fDebugMessages = TRUE;
            SetNlsSettings( &m_aSettings );
            EXPECT_EQ( "Title", Load( "A.S", "TITLE" ) );
            EXPECT_NE( pServer, GetNLSServer() );
        } );
    EXPECT_EQ( pServer, GetNLSServer() );
    EXPECT_EQ( "Titel", Load( "A.S", "TITLE" ) );
    OnThreads( 4,
               [&]()
               {
                   for ( int i = 0; i < 200; ++i )
                   {
                       EXPECT_EQ( "Title", Load( "A.S", "TITLE" ) );
                       if ( i % 50 == 0 )
                           SetNlsSettings( &m_aSettings );
                   }
               } );
    // A server ends with its thread, and closes its file.
    DebugRecorder aRecorder;
    OnOtherThread( [&]() { Load( "A.S", "TITLE" ); } );
    const std::string strOutput = aRecorder.Take();
    EXPECT_NE( std::string::npos, strOutput.find( "From NLSServer::PutDebugMessages()" ) );
    EXPECT_NE( std::string::npos, strOutput.find( "Development = No\r\nActive NlsFiles = " +
                                                  std::string( m_aSettings.stReleaseFile.data() ) ) );
    EXPECT_NE( std::string::npos, strOutput.find( "Object NlsBTreeOnDisk removed" ) );
}

TEST_F( NlsServer, ItsSettingsMayChangeInTheMiddleOfALookup )
{
    WriteFile( "A.CSV", m_strHeader + "[S]\nTitle=Titel;Title\n" );
    static const NlsSettings* pNext;
    pNext = &m_aSettings;
    NlsSettings aNowhere;
    SetNlsSettings( &aNowhere );
    const auto ChangeThem = []( LPCTSTR, LPCTSTR )
    {
        SetNlsSettings( pNext );
        EXPECT_EQ( "Titel", Load( "A.S", "Title" ) );
    };
    GetNLSServer()->SetFuncPtr( ChangeThem, NULL );
    EXPECT_EQ( "Title", Load( "A.S", "Title" ) );
    EXPECT_EQ( "Titel", Load( "A.S", "Title" ) );
}

// Whatever fails, the text is there or the key stands in for it.
TEST_F( NlsServer, LookupsWithoutMemoryGiveTheKey )
{
    WriteFile( "A.CSV",
               m_strHeader + "[S]\n" + std::string( 300, 'K' ) + "=" + std::string( 300, 'T' ) + "\n" );
    const std::string strKey( 300, 'k' );
    const std::string strText( 300, 'T' );
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            SetNlsSettings( &m_aSettings );
            TCHAR szText[400] = {};
            USHORT usNeeded = 0;
            const BOOL fFound = rFault.During(
                [&]() { return C_LoadNlsString( "A.S", NULL, strKey.c_str(), szText, 400, &usNeeded ); } );
            const std::string strFound( szText );
            EXPECT_TRUE( fFound || rFault.Hit() );
            EXPECT_TRUE( strFound == strText || strFound == strKey || ( fFound && rFault.Hit() ) )
                << strFound;
        } );
}
