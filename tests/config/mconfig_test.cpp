// MConfig against files of each test's own.
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/scratchfolder.h"

#include <bxtools/config.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <string>

namespace
{

// Reports to the hook recorder; the internal operations are the derived class's as well.
class Config : public MConfig
{
public:
    explicit Config( const std::string& strPath, BOOL fSafety = TRUE )
        : MConfig( strPath.c_str(), fSafety, FALSE )
    {
        SetDbgFunc( &HookRecorder::Debug );
    }
    using MConfig::InternalGetCount;
    using MConfig::InternalGetData;
    using MConfig::InternalGetName;
    using MConfig::ReadKeyOfCountry;

private:
    void OnKeyRead( MString& rValue, const MString& rCountry, const MString& rDefault ) override
    {
        if ( !rCountry.IsEmpty() )
            rValue = rCountry + ":" + rValue + ":" + rDefault;
    }
};

class ConfigTest : public ::testing::Test
{
protected:
    std::string Make( const std::string& strText )
    {
        WriteBytes( m_strFile, strText );
        return m_strFile;
    }
    // "key=value" lines of a group as an object sees them.
    static std::string Group( MConfig& rConfig, const char* pGroup )
    {
        std::string strAll;
        rConfig.SetGroup( pGroup );
        for ( USHORT i = 0; i < rConfig.GetKeyCount(); ++i )
            strAll += std::string( rConfig.ReadKey( i, TRUE, FALSE ) ) + "|";
        return strAll;
    }

    ScratchFolder m_aFolder;
    const std::string m_strFile = m_aFolder.Path( "a.ini" );
    HookRecorder m_aRecorder;
};

constexpr char READ_ALL[] = "From BOOL MConfig::ReadAllKeys()";
const Report NOT_EXPANDED( "From BOOL MConfig::EpandBuffer( LPTSTR* ppBuff, USHORT* pBuffLen )",
                           " Error: !EpandTCHARBuffer(...) failed" );
const Report NO_SAFE_READ(
    "From inline MString MConfig::ReadKey( const MString& rKey, const MString& rDefault )",
    " Warning: !( fStat = SafetyReadAll( &m_pDataBuff, &m_DataBufLen, &m_pSecondDataBuff, &m_SecondDataBufLen, rDefault, SAFE_READ_DATA ) )" );

} // namespace

TEST_F( ConfigTest, KeysAreReadAndWrittenInTheCurrentGroup )
{
    Config aConfig( Make( "[A]\nOne=1\nYes=yEs\nT=true\nTwo=2\non=on\nEmpty=\nQuoted=\" q \"\n[B]\nx=y\n" ) );
    aConfig.SetGroup( "a" );
    EXPECT_STREQ( "1", aConfig.ReadKey( "ONE" ) );
    EXPECT_STREQ( "default", aConfig.ReadKey( "None", "default" ) );
    EXPECT_STREQ( "", aConfig.ReadKey( "Empty", "default" ) );
    for ( const char* pTrue : { "One", "Yes", "T" } )
        EXPECT_TRUE( aConfig.ReadKeyBOOL( pTrue, FALSE ) ) << pTrue;
    for ( const char* pFalse : { "Two", "on", "Empty" } )
        EXPECT_FALSE( aConfig.ReadKeyBOOL( pFalse, TRUE ) ) << pFalse;
    EXPECT_TRUE( aConfig.ReadKeyBOOL( "None", TRUE ) && !aConfig.ReadKeyBOOL( "None", FALSE ) );
    EXPECT_TRUE( MConfig::ReadKeyBOOL( m_strFile.c_str(), "A", "T", FALSE ) );
    EXPECT_TRUE( aConfig.KeyExists( "qUOTED" ) && !aConfig.KeyExists( "x" ) );
    EXPECT_TRUE( aConfig.GroupExists( "b" ) && !aConfig.GroupExists( "One" ) );
    EXPECT_EQ( 2, aConfig.GetGroupCount() );
    EXPECT_STREQ( "B", aConfig.GetGroupName( 1, FALSE ) );
    EXPECT_STREQ( "One=1", aConfig.ReadKey( 0, TRUE, TRUE ) );
    EXPECT_STREQ( "", aConfig.ReadKey( 7, TRUE, TRUE ) );
    EXPECT_STREQ( "DE:1:d", aConfig.ReadKeyOfCountry( "One", "d", "DE" ) );

    aConfig.WriteKeyBOOL( "Two", TRUE );
    aConfig.WriteKeyBOOL( "on", FALSE );
    aConfig.DeleteKey( "Empty" );
    aConfig.RenameKey( "New", "Quoted" );
    aConfig.DeleteGroup( "B" );
    EXPECT_STREQ( "B", aConfig.GetGroup() );
    aConfig.RenameKey( "from nothing", "nothing" );
    aConfig.Flush();
    EXPECT_EQ( "One=1|Yes=yEs|T=true|Two=Yes|on=No|New=q|", Group( aConfig, "A" ) );
    EXPECT_EQ( "from nothing=|", Group( aConfig, "B" ) );
}

TEST_F( ConfigTest, GroupsAreCopiedAndRenamedNewNameFirst )
{
    Config aConfig(
        Make( "[src]\na=1\n;c=2\nb='3'\n[dst]\nold=1\n[none]\n;c=1\n[kept]\nk=1\n[\xC3\x84]\nx=1\n" ) );
    aConfig.SetGroup( "now" );
    aConfig.CopyGroup( "SRC", "src" );
    aConfig.CopyGroup( "kept", "none" );
    aConfig.RenameGroup( "KEPT", "kept" );
    aConfig.CopyGroup( "dst", "src" );
    EXPECT_STREQ( "now", aConfig.GetGroup() );
    EXPECT_EQ( "a=1|b=3|", Group( aConfig, "dst" ) );
    EXPECT_EQ( "k=1|", Group( aConfig, "kept" ) );
    aConfig.SetGroup( "dst" );
    aConfig.RenameGroup( "other", aConfig.GetGroup() );
    EXPECT_EQ( "a=1|b=3|", Group( aConfig, "other" ) );
    EXPECT_FALSE( aConfig.GroupExists( "dst" ) );
    aConfig.RenameGroup( "kept", "none" );
    EXPECT_FALSE( aConfig.GroupExists( "none" ) );
    EXPECT_EQ( "k=1|", Group( aConfig, "kept" ) );
    // One group for some systems, two for others.
    aConfig.RenameGroup( "\xC3\xA4", "\xC3\x84" );
    EXPECT_EQ( "x=1|", Group( aConfig, "\xC3\xA4" ) );
}

TEST_F( ConfigTest, AnswersComeBackWholeInSafetyModeAndCutWithoutIt )
{
    std::string strText = "[long]\nv1023=" + std::string( 1023, 'a' ) +
                          "\nv1024=" + std::string( 1024, 'b' ) + "\nv31742=" + std::string( 31742, 'c' ) +
                          "\n[keys]\n";
    for ( int i = 0; i < 300; ++i )
        strText += "key number " + std::to_string( 1000 + i ) + "=1\n";
    Config aSafe( Make( strText ) );
    Config aPlain( m_strFile, FALSE );
    aSafe.SetGroup( "long" );
    aPlain.SetGroup( "long" );
    for ( const size_t uLength : { 1023u, 1024u, 31742u } )
    {
        const std::string strKey = "v" + std::to_string( uLength );
        EXPECT_EQ( uLength, aSafe.ReadKey( strKey.c_str() ).GetLength() );
        EXPECT_EQ( 1023u, aPlain.ReadKey( strKey.c_str() ).GetLength() );
    }
    // The first buffer is now as long as the second one can get: each read reports, and gives what it should.
    EXPECT_EQ( 1024u, aSafe.ReadKey( "v1024" ).GetLength() );
    const Report NO_SECOND( READ_ALL, " Error: !( fStat = ExpandBuffer( ppSecondBuff, pSecondBufLen ) )" );
    EXPECT_TRUE( m_aRecorder.OnlyReports( { NOT_EXPANDED, NO_SECOND, NO_SAFE_READ } ) );
    aSafe.SetGroup( "keys" );
    aPlain.SetGroup( "keys" );
    for ( int nTime = 0; nTime < 2; ++nTime )
        EXPECT_EQ( 300, aSafe.GetKeyCount() );
    EXPECT_STREQ( "key number 1299", aSafe.GetKeyName( 299, FALSE ) );
    EXPECT_EQ( 64, aPlain.GetKeyCount() );
    EXPECT_STREQ( "key number 10", MString( aPlain.GetKeyName( 63, FALSE ) ).Left( 13 ) );
    EXPECT_STREQ( "", aPlain.GetKeyName( 64, FALSE ) );
}

TEST_F( ConfigTest, WhatExceedsTheBoundIsReported )
{
    std::string strText = "[a]\nlong=" + std::string( 40000, 'x' ) + "\n[b]\n";
    for ( int i = 0; i < 4000; ++i )
        strText += "key" + std::to_string( 10000 + i ) + "=\n";
    Config aConfig( Make( strText ) );
    aConfig.SetGroup( "a" );
    EXPECT_EQ( 1023u, aConfig.ReadKey( "long" ).GetLength() );
    const Report NOT_READ( READ_ALL, " Error: !ExpandBuffer( ppSecondBuff, pSecondBufLen )" );
    EXPECT_TRUE( m_aRecorder.OnlyReports( { NOT_EXPANDED, NOT_READ, NO_SAFE_READ } ) );
    aConfig.SetGroup( "b" );
    const Report NO_KEYS(
        READ_ALL,
        " Error: !( fStat = SafetyReadAllKeys( ppBuff, pBufLen, ppSecondBuff, pSecondBufLen, szDefault, nMode ) )" );
    const Report NO_COUNT(
        "From USHORT MConfig::GetKeyCount()",
        " Error: !( fStat = ReadAll( &m_pKeyBuff, &m_KeyBufLen, &m_pSecondKeyBuff, &m_SecondKeyBufLen, '', SAFE_READ_KEY ) )" );
    EXPECT_FALSE( aConfig.KeyExists( "key10000" ) );
    EXPECT_TRUE( m_aRecorder.OnlyReports( { NOT_EXPANDED, NOT_READ, NO_KEYS, NO_COUNT } ) );

    USHORT uRead = 0, uOffset = 0;
    TCHAR szBuffer[] = "12\0003";
    EXPECT_FALSE( aConfig.InternalGetData( szBuffer, 4, "", 3, &uRead, &uOffset ) );
    EXPECT_TRUE( m_aRecorder.OnlyReport(
        "From BOOL MConfig::InternalGetData( LPTSTR pBuff, USHORT uBufLen, LPCTSTR szDefault, int nMode, USHORT* puRead, USHORT* puOffset )",
        " Internal Error: switch ( nMode ) -> default" ) );
    // Never past the length, nor a name that has no end.
    EXPECT_EQ( 1, aConfig.InternalGetCount( szBuffer, 4 ) );
    EXPECT_STREQ( "", aConfig.InternalGetName( szBuffer, 4, 1 ) );
    EXPECT_EQ( 0, aConfig.InternalGetCount( NULL, 4 ) );
}

TEST_F( ConfigTest, CopiesShareBuffersThatAreFreedOnce )
{
    Make( "[a]\nx=1\ny=2\n[b]\nz=3\n[long]\n" + std::string( 3000, 'k' ) + "=1\n" );
    const long lBefore = NewOutstanding();
    {
        Config* pFirst = new Config( m_strFile );
        pFirst->SetGroup( "a" );
        EXPECT_EQ( 2, pFirst->GetKeyCount() );
        Config aSecond( *pFirst );
        Config aThird( m_aFolder.Path( "other.ini" ) );
        aThird = aSecond;
        aThird = static_cast<const Config&>( aThird );
        EXPECT_STREQ( "a", aThird.GetGroup() );
        aSecond.SetGroup( "b" );
        EXPECT_STREQ( "z", aSecond.GetKeyName( 0, TRUE ) );
        EXPECT_STREQ( "z", aThird.GetKeyName( 0, FALSE ) );
        aThird.SetGroup( "long" );
        EXPECT_EQ( 3000u, aThird.GetKeyName( 0, TRUE ).GetLength() );
        EXPECT_EQ( 2, pFirst->GetKeyCount() );
        delete pFirst;
        EXPECT_STREQ( "y", aSecond.GetKeyName( 1, FALSE ) );
        EXPECT_EQ( 3000u, aThird.GetKeyName( 0, FALSE ).GetLength() );
        aSecond = Config( m_strFile );
    }
    EXPECT_EQ( lBefore, NewOutstanding() );
}

TEST_F( ConfigTest, CopyToTakesTheWholeFileAndNeverEmptiesItsOwn )
{
    const std::string strText = "[a]\r\nx=1\r\n" + std::string( 100000, '\0' ) + "end";
    Config aConfig( Make( strText ) );
    const std::string strCopy = m_aFolder.Path( "copy.ini" );
    WriteBytes( strCopy, std::string( 200000, 'o' ) );
    EXPECT_TRUE( aConfig.CopyTo( strCopy.c_str() ) );
    EXPECT_EQ( strText, ReadBytes( strCopy ) );
    const Report NO_DESTINATION(
        "From BOOL MConfig::CopyTo( const MString& rDestFile )",
        " Error: ( hFileDest = CreateFile( aFullPath, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, NULL ) ) == INVALID_HANDLE_VALUE" );
    for ( const std::string& strBad : { m_strFile, m_aFolder.Path( "./a.ini" ),
                                        m_aFolder.Path( "none/a.ini" ), std::string( 300, 'n' ) } )
    {
        EXPECT_FALSE( aConfig.CopyTo( strBad.c_str() ) ) << strBad;
        EXPECT_TRUE( m_aRecorder.OnlyReports( { NO_DESTINATION } ) ) << strBad;
    }
    EXPECT_EQ( strText, ReadBytes( m_strFile ) );
    const std::string strMissing = m_aFolder.Path( "missing.ini" );
    aConfig.SetPathName( strMissing.c_str() );
    EXPECT_TRUE( aConfig.CopyTo( strCopy.c_str() ) );
    EXPECT_EQ( "", ReadBytes( strCopy ) );
    aConfig.SetPathName( m_aFolder.Path().c_str() );
    EXPECT_FALSE( aConfig.CopyTo( strCopy.c_str() ) );
    EXPECT_EQ( 1u, m_aRecorder.TakeReports().size() );
}

TEST_F( ConfigTest, WithoutMemoryReadsGiveLessAndNothingIsLost )
{
    const MString aFile = Make( "[a]\nlong=" + std::string( 5000, 'x' ) + "\nb=1\n" ).c_str();
    const MString aCopy = m_aFolder.Path( "copy.ini" ).c_str();
    const long lBefore = NewOutstanding();
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            rFault.Arm();
            MConfig aConfig( aFile, TRUE, FALSE );
            aConfig.SetDbgFunc( &HookRecorder::Debug );
            aConfig.SetGroup( "a" );
            const size_t uLength = aConfig.ReadKey( "long" ).GetLength();
            const USHORT uKeys = aConfig.GetKeyCount();
            const BOOL fCopied = aConfig.CopyTo( aCopy );
            rFault.Disarm();
            m_aRecorder.TakeReports();
            EXPECT_TRUE( uLength == 5000 || uLength == 1023 || uLength == 0 ) << uLength;
            EXPECT_TRUE( uKeys == 2 || uKeys == 0 ) << uKeys;
            EXPECT_TRUE( rFault.Hit() || ( uLength == 5000 && uKeys == 2 && fCopied ) );
            EXPECT_EQ( 5000u, aConfig.ReadKey( "long" ).GetLength() );
            EXPECT_EQ( 2, aConfig.GetKeyCount() );
        } );
    // What the system's calls may keep of one file.
    constexpr long KEPT = 8;
    EXPECT_GE( lBefore + KEPT, NewOutstanding() );
}
