// What only Linux has: the country of the locale's variables, and files that are replaced while others read them.
#include "nls/nlssupport.h"

#include <atomic>
#include <filesystem>
#include <thread>

TEST( SystemCountry, IsTheTerritoryOfTheMessagesLocale )
{
    const std::pair<const char*, std::string> aCases[] = {
        { "de_DE.UTF-8@euro", "49" },
        { "en_US", "1" },
        { "he_IL@x_DE", "972" },
        { "en_ZW.UTF-8", "263" },
        { "C", "" },
        { "C.UTF-8", "" },
        { "de", "" },
        { "de_", "" },
        { "xx_ZZ", "" },
    };
    for ( const auto& [pLocale, strCode] : aCases )
    {
        UseLocale( pLocale );
        TCHAR szCode[8] = "";
        SetLastError( 0 );
        const int nSize = GetLocaleInfoA( LOCALE_SYSTEM_DEFAULT, LOCALE_ICOUNTRY, szCode, sizeof( szCode ) );
        EXPECT_EQ( strCode.empty() ? 0u : strCode.size() + 1, static_cast<size_t>( nSize ) );
        EXPECT_EQ( strCode, szCode ) << pLocale;
        EXPECT_EQ( strCode.empty() ? 87u : 0u, GetLastError() ) << pLocale;
    }
    DebugRecorder aRecorder;
    MString stCode( "x" );
    EXPECT_FALSE( GetLocaleString( LOCALE_ICOUNTRY, stCode ) );
    EXPECT_STREQ( "", stCode );
    EXPECT_TRUE( aRecorder.OnlyReport( "From BOOL GetLocaleString( LCTYPE lctype, MString &str )",
                                       " Error: ( cchSize = GetLocaleInfo(lcid, lctype, NULL, 0) ) == 0" ) );
    UseLocale( "" );
}

using NlsFiles = NlsTest;

TEST_F( NlsFiles, ReplacedWhileTheyAreReadGiveTheOldTextOrTheNewOne )
{
    const std::string strTexts[] = { "one;eins", std::string( 5000, 'x' ) + ";zwei" };
    WriteFile( "A.CSV", m_strHeader + "[S]\nTITLE=" + strTexts[0] + "\n" );
    SetNlsSettings( &m_aSettings );
    std::atomic<bool> fEnd{ false };
    std::thread aEditor(
        [&]()
        {
            for ( int i = 1; !fEnd; ++i )
            {
                WriteFile( "new", m_strHeader + "[S]\nTITLE=" + strTexts[i % 2] + "\n" );
                std::filesystem::rename( m_aFolder.Path( "new" ), m_aFolder.Path( "A.CSV" ) );
            }
        } );
    // Until both have been seen.
    int nLong = 0;
    for ( int i = 0; i < 2000 || nLong == 0 || nLong == i; ++i )
    {
        const std::string strText = Load( "A.S", "TITLE" );
        EXPECT_TRUE( strText == "one" || strText.size() == 5000 ) << strText.substr( 0, 40 );
        nLong += strText.size() == 5000;
    }
    fEnd = true;
    aEditor.join();
}

TEST_F( NlsFiles, ReleasedAnewLeaveTheirReadersTheOldTexts )
{
    const std::string strKey = m_strCode + "A.STITLE";
    Release( { { strKey, "old" } } );
    const MString& rFile = m_aSettings.stReleaseFile;
    const auto ePermissions = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
    std::filesystem::permissions( rFile.data(), ePermissions );
    for ( int i = 0; i < 10; ++i ) // the file is mapped at one of them
        EXPECT_EQ( "old", Load( "A.S", "TITLE" ) );
    {
        NLSServer aWriter( 40, rFile );
        EXPECT_FALSE( NLSServer( 40, rFile ).IsStatusOk() ) << "one writes at a time";
        DebugRecorder aRecorder;
        EXPECT_TRUE( aWriter.WriteStringValue( strKey.c_str(), "new" ) );
        EXPECT_EQ( "old", Load( "A.S", "TITLE" ) );
    }
    EXPECT_EQ( "old", Load( "A.S", "TITLE" ) );
    SetNlsSettings( &m_aSettings );
    EXPECT_EQ( "new", Load( "A.S", "TITLE" ) );
    EXPECT_EQ( ePermissions, std::filesystem::status( rFile.data() ).permissions() );
}
