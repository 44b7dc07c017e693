// MConfig on the Windows 95 family, whose platform id the test gives.
#include "config/platformid.h"
#include "support/recorder.h"
#include "support/scratchfolder.h"

#include <bxtools/config.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

namespace
{

class Win95Config : public ::testing::Test
{
protected:
    Win95Config()
    {
        SetTemporaryFolder( m_aTemporary.Path() );
        PretendPlatformId( VER_PLATFORM_WIN32_WINDOWS );
        Write( "1" );
    }
    ~Win95Config() override
    {
        PretendPlatformId( VER_PLATFORM_WIN32_NT );
        SetTemporaryFolder( "" );
    }
    void Write( const std::string& strValue ) { WriteBytes( m_strFile, "[a]\nk=" + strValue + "\n" ); }
    MConfig Open() const
    {
        MConfig aConfig( m_strFile.c_str(), TRUE, TRUE );
        aConfig.SetGroup( "a" );
        return aConfig;
    }
    std::vector<std::string> Copies() const
    {
        std::vector<std::string> aPaths;
        for ( const auto& rEntry : std::filesystem::directory_iterator( m_aTemporary.Path() ) )
            aPaths.push_back( rEntry.path().string() );
        return aPaths;
    }

    ScratchFolder m_aTemporary;
    ScratchFolder m_aFolder;
    const std::string m_strFile = m_aFolder.Path( "a.ini" );
};

} // namespace

TEST_F( Win95Config, ReadsACopyThatFollowsEveryChangeAndGoesWithItsLastOwner )
{
    DebugRecorder aRecorder;
    {
        MConfig aConfig = Open();
        EXPECT_STREQ( "1", aConfig.ReadKey( "k" ) );
        ASSERT_EQ( 1u, Copies().size() );
        EXPECT_EQ( ReadBytes( m_strFile ), ReadBytes( Copies()[0] ) );
        // As fast as can be, others' changes and own ones.
        for ( int i = 0; i < 200; ++i )
        {
            i % 2 == 0 ? Write( std::to_string( i ) ) : aConfig.WriteKey( "k", std::to_string( i ).c_str() );
            ASSERT_EQ( std::to_string( i ), std::string( aConfig.ReadKey( "k" ) ) );
        }
        {
            const MConfig aCopy( aConfig );
        }
        EXPECT_EQ( 1u, Copies().size() );
        // Somebody tidies up.
        std::filesystem::remove( Copies()[0] );
        EXPECT_STREQ( "199", aConfig.ReadKey( "k" ) );
        EXPECT_EQ( 1, aConfig.GetKeyCount() );
        std::filesystem::remove( m_strFile );
        EXPECT_STREQ( "gone", aConfig.ReadKey( "k", "gone" ) );
    }
    EXPECT_TRUE( Copies().empty() );
    EXPECT_TRUE( aRecorder.Silent() );
    // Without being asked for it there is none.
    MConfig( m_strFile.c_str(), TRUE, FALSE ).ReadKey( "k" );
    EXPECT_TRUE( Copies().empty() );

    // An unchanged file is not copied again.
    Write( "1" );
    MConfig aConfig = Open();
    std::filesystem::last_write_time( m_strFile, std::filesystem::file_time_type::clock::now() -
                                                     std::chrono::hours( 1 ) );
    EXPECT_STREQ( "1", aConfig.ReadKey( "k" ) );
    WriteBytes( Copies()[0], "[a]\nk=from the copy\n" );
    EXPECT_STREQ( "from the copy", aConfig.ReadKey( "k" ) );
}

TEST_F( Win95Config, WhatFailsOnTheWayIsReportedAndTheFileItselfRead )
{
    HookRecorder aRecorder;
    MConfig aConfig = Open();
    aConfig.SetDbgFunc( &HookRecorder::Debug );
    constexpr char FROM[] = "From DWORD MConfig::InternalGetPrivateProfileString(...)";
    const Report NO_FILE(
        FROM,
        " Error: !CreateTempFile( szFullTempPath, _T('CFG'), NULL, m_aWin95FName.GetBuffer( MAX_PATH ), MAX_PATH )" );
    SetTemporaryFolder( m_aFolder.Path( "missing" ) );
    EXPECT_STREQ( "1", aConfig.ReadKey( "k" ) );
    EXPECT_TRUE( aRecorder.OnlyReports( { NO_FILE } ) );
    SetTemporaryFolder( "/" + std::string( 300, 'x' ) );
    EXPECT_STREQ( "1", aConfig.ReadKey( "k" ) );
    EXPECT_TRUE( aRecorder.OnlyReport(
        FROM, " Error: GetTempPath( BUF_SIZE( szFullTempPath ), szFullTempPath ) == 0" ) );

    SetTemporaryFolder( m_aTemporary.Path() );
    EXPECT_STREQ( "1", aConfig.ReadKey( "k" ) );
    EXPECT_TRUE( aRecorder.Silent() );
    const HANDLE hCopy =
        CreateFileA( Copies()[0].c_str(), GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL );
    Write( "2" );
    EXPECT_STREQ( "2", aConfig.ReadKey( "k" ) );
    const std::vector<Report> aReports = aRecorder.TakeReports();
    ASSERT_EQ( 2u, aReports.size() );
    EXPECT_EQ( Report( FROM, " Error: !CopyTo( m_aWin95FName )" ), aReports[1] );
    CloseHandle( hCopy );
    EXPECT_STREQ( "2", aConfig.ReadKey( "k" ) );
    EXPECT_TRUE( aRecorder.Silent() );
}
