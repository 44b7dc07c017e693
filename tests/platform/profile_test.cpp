// Profile files under hostile conditions: bytes of any kind, what is no file, changes between two reads, many writers,
// and writers that are killed at any step.
#include "platform/steppedchild.h"
#include "support/scratchfolder.h"
#include "support/secondprocess.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace
{

using namespace std::string_literals;

std::string Read( const std::string& strPath, const char* pSection, const char* pKey, size_t nRoom = 100 )
{
    std::string strAnswer( nRoom, '\0' );
    strAnswer.resize( GetPrivateProfileStringA( pSection, pKey, "none", strAnswer.data(),
                                                static_cast<DWORD>( nRoom ), strPath.c_str() ) );
    return strAnswer;
}

BOOL Write( const std::string& strPath, const char* pKey, const std::string& strValue )
{
    return WritePrivateProfileStringA( "a", pKey, strValue.c_str(), strPath.c_str() );
}

class ProfileFile : public ::testing::Test
{
protected:
    ScratchFolder m_aFolder;
    const std::string m_strFile = m_aFolder.Path( "a.ini" );
};

} // namespace

BX_ROLE( keyWriter )
{
    for ( int i = 0; i < 1000; ++i )
        if ( !Write( Arguments[0], ( Arguments[1] + std::to_string( i ) ).c_str(), "v" ) )
            return 1;
    return 0;
}

TEST_F( ProfileFile, BytesOfAnyKindAreReadAndKept )
{
    const std::string strLong( 1 << 20, 'x' );
    const std::string strBefore =
        "\xEF\xBB\xBF[a]\rz=1\0hidden\rlong="s + strLong + "\r" + strLong + "\r[b]\rlast=\xFF";
    WriteBytes( m_strFile, strBefore );
    EXPECT_EQ( "1", Read( m_strFile, "a", "z" ) );
    EXPECT_EQ( strLong, Read( m_strFile, "a", "long", 2 << 20 ) );
    EXPECT_EQ( "\xFF", Read( m_strFile, "b", "last" ) );
    EXPECT_TRUE( WritePrivateProfileStringA( "b", "new", "2", m_strFile.c_str() ) );
    EXPECT_EQ( strBefore + "\rnew=2\r", ReadBytes( m_strFile ) );

    std::string strGroups;
    for ( int i = 0; i < 10000; ++i )
        strGroups += "[group " + std::to_string( i ) + "]\nk=" + std::to_string( i ) + "\n";
    WriteBytes( m_strFile, strGroups );
    EXPECT_EQ( "9999", Read( m_strFile, "GROUP 9999", "k" ) );
    EXPECT_EQ( "5000", Read( m_strFile, "group 5000", "k" ) );
    const std::string strList = Read( m_strFile, NULL, NULL, 1 << 20 );
    EXPECT_EQ( 10000, std::count( strList.begin(), strList.end(), '\0' ) );
}

TEST_F( ProfileFile, WhatIsNoFileIsRefusedAtOnce )
{
    ASSERT_EQ( 0, mkfifo( m_strFile.c_str(), 0600 ) );
    const std::string strLink = m_aFolder.Path( "link.ini" );
    std::filesystem::create_symlink( "a.ini", strLink );
    const std::string strCircle = m_aFolder.Path( "circle.ini" );
    std::filesystem::create_symlink( "circle.ini", strCircle );
    for ( const std::string& strPath :
          { m_strFile, strLink, strCircle, m_aFolder.Path(), "/dev/null"s, "/dev/zero"s, "/dev/tty"s } )
    {
        EXPECT_EQ( "none", Read( strPath, "a", "k" ) ) << strPath;
        EXPECT_NE( 0u, GetLastError() ) << strPath;
        EXPECT_FALSE( Write( strPath, "k", "v" ) ) << strPath;
    }
    std::filesystem::remove( m_strFile );
    EXPECT_TRUE( Write( strLink, "k", "through the link" ) );
    EXPECT_TRUE( std::filesystem::is_symlink( strLink ) );
    EXPECT_EQ( "through the link", Read( m_strFile, "a", "k" ) );
}

TEST_F( ProfileFile, EachReadSeesTheFileAsItIsThen )
{
    const std::string strOther = m_aFolder.Path( "other" );
    for ( int i = 100; i < 300; ++i )
    {
        const std::string strText = "[a]\nk=" + std::to_string( i ) + "\n"; // always of one size
        if ( i % 3 == 0 )
            WriteBytes( m_strFile, strText );
        else
        {
            WriteBytes( strOther, strText );
            std::filesystem::rename( strOther, m_strFile );
        }
        ASSERT_EQ( std::to_string( i ), Read( m_strFile, "a", "k" ) );
    }
    std::filesystem::resize_file( m_strFile, 7 );
    EXPECT_EQ( "2", Read( m_strFile, "a", "k" ) );
    std::filesystem::remove( m_strFile );
    EXPECT_EQ( "none", Read( m_strFile, "a", "k" ) );
}

TEST_F( ProfileFile, HandlesThatDoNotShareAreRespected )
{
    const auto Open = [&]( DWORD dwAccess, DWORD dwShare )
    { return CreateFileA( m_strFile.c_str(), dwAccess, dwShare, NULL, OPEN_EXISTING, 0, NULL ); };
    constexpr DWORD SHARE_ALL = FILE_SHARE_READ | FILE_SHARE_WRITE;
    struct Case
    {
        DWORD dwAccess;
        DWORD dwShare;
        const char* pRead;
        BOOL fWritten;
    };
    for ( const Case& rCase : { Case{ GENERIC_READ, 0, "none", FALSE },
                                { GENERIC_READ, FILE_SHARE_READ, "1", FALSE },
                                { GENERIC_WRITE, SHARE_ALL, "1", FALSE },
                                { GENERIC_READ, SHARE_ALL, "1", TRUE } } )
    {
        WriteBytes( m_strFile, "[a]\nk=1\n" );
        const HANDLE hFile = Open( rCase.dwAccess, rCase.dwShare );
        EXPECT_EQ( rCase.pRead, Read( m_strFile, "a", "k" ) );
        EXPECT_EQ( rCase.fWritten, Write( m_strFile, "k", "2" ) );
        EXPECT_TRUE( rCase.fWritten || GetLastError() == ERROR_SHARING_VIOLATION );
        CloseHandle( hFile );
        EXPECT_EQ( rCase.fWritten ? "2" : "1", Read( m_strFile, "a", "k" ) );
    }
    // Nor does a long name keep a file from being changed.
    const std::string strLong = m_aFolder.Path( std::string( 253, 'n' ) );
    EXPECT_TRUE( Write( strLong, "k", "1" ) && Write( strLong, "k", "2" ) );
    EXPECT_EQ( "2", Read( strLong, "a", "k" ) );
}

TEST_F( ProfileFile, TwoWritersLoseNothing )
{
    SecondProcess aFirst( "keyWriter", { m_strFile, "first" } );
    SecondProcess aSecond( "keyWriter", { m_strFile, "second" } );
    EXPECT_EQ( 0, aFirst.Wait() );
    EXPECT_EQ( 0, aSecond.Wait() );
    const std::string strKeys = Read( m_strFile, "a", NULL, 1 << 20 );
    EXPECT_EQ( 2000, std::count( strKeys.begin(), strKeys.end(), '\0' ) );
    EXPECT_EQ( 1, std::distance( std::filesystem::directory_iterator( m_aFolder.Path() ), {} ) );
}

TEST_F( ProfileFile, AWriterKilledAtAnyStepLeavesTheOldFileOrTheNewOne )
{
    const std::string strOld( 9000, 'o' );
    const std::string strNew( 9000, 'n' );
    int nCall = 1;
    bool fKilled = true;
    bool fEverNew = false;
    for ( ; fKilled; ++nCall )
    {
        ASSERT_TRUE( Write( m_strFile, "k", strOld ) );
        {
            SteppedChild aWriter( [&] { raise( SIGSTOP ), Write( m_strFile, "k", strNew ); } );
            for ( int i = 0; i < nCall && fKilled; ++i )
                fKilled = aWriter.Step();
        }
        const std::string strValue = Read( m_strFile, "a", "k", 10000 );
        ASSERT_TRUE( strValue == strOld || strValue == strNew ) << nCall;
        fEverNew = fEverNew || ( fKilled && strValue == strNew );
    }
    EXPECT_GT( nCall, 20 );
    EXPECT_TRUE( fEverNew );
    EXPECT_TRUE( Write( m_strFile, "k", strOld ) );
    EXPECT_EQ( 1, std::distance( std::filesystem::directory_iterator( m_aFolder.Path() ), {} ) );
}
