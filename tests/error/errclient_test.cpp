// What a person reads of an error: messages, their parameters and help, and the block behind them.
#include "error/records.h"
#include "support/languagefiles.h"
#include "support/recorder.h"
#include "support/scratchfolder.h"

#include <bxtools/cerror.h>
#include <bxtools/errclient.h>
#include <bxtools/nlsserver.h>

#include <gtest/gtest.h>

namespace
{

// Texts in a folder of their own, in the languages 49 and 44.
class ErrClient : public testing::Test
{
protected:
    ErrClient()
    {
        WriteBytes( m_aFolder.Path( "TEST.CSV" ), "Key;German=049;English=044\r\n"
                                                  "[CLASS]\r\n"
                                                  "Description=Der Test;The test\r\n"
                                                  "1=Datei % nicht auf % gefunden.;File % not found on %.\r\n"
                                                  "3=Voll[platte.hlp;Full[disk.hlp\r\n"
                                                  "-4=Ohne;Plain\r\n" );
        UseLanguage( 44 );
    }
    ~ErrClient() override { SetNlsSettings( NULL ); }

    void UseLanguage( USHORT usCode ) { UseLanguageFiles( m_aFolder.Path(), usCode ); }
    // The common texts, which a new record reads.
    void WriteCommonTexts( const std::string& strToken )
    {
        WriteBytes( m_aFolder.Path( "BXCOMMON.CSV" ),
                    "Key;049;044\n[NLSCOMMONERROR]\nError=Fehler;Error\nMsg_Replace_Token=" + strToken + ";" +
                        strToken + "\n" );
        WriteBytes( m_aFolder.Path( "BXTOOLS.CSV" ),
                    "Key;049;044\n[NLSCOMMONERROR]\nErrCls=Klasse;Class\n"
                    "SourceDescription=Quelle;Source\n"
                    "[COMMON_SEC_HRES_FACILITY]\nSEVERITY=Schwere;Severity\n"
                    "7=System;System\n[COMMON_SEC_HRES_SEVERITY]\n1=Fehler;Failure\n" );
    }

    ScratchFolder m_aFolder;
};

std::string Record( const std::string& strClass, const std::string& strNumber,
                    const std::string& strRest = "0+?+origin+?++?+" )
{
    return "1.0.0+?+" + strClass + "+?+" + strNumber + "+?+" + strRest;
}

std::string Translated( const std::string& strRecord )
{
    ErrObjectClient aClient;
    MString aText( "unchanged" );
    aClient.FromStream( ToMString( strRecord ) );
    aClient.GetTranslatedErrText( aText );
    return ToText( aText );
}

// The block of a class without common texts.
std::string Block( const std::string& strClass, const std::string& strNumber,
                   const std::string& strSource = "Unknown library description" )
{
    return "\r\nErrCls: " + strClass + "\r\nError: " + strNumber + "\r\nSourceDescription: " + strSource;
}

// The reports of the record's own last operations.
std::string Dump( const ErrObjectClient& rClient )
{
    MString aDump;
    rClient.GetDumpStr( aDump );
    return ToText( aDump );
}

// Of a last CR LF the frame leaves the CR.
std::string FramedText( DWORD dwError )
{
    const std::string strText = SystemText( dwError );
    return "\r\n" + strText.substr( 0, strText.size() - 1 ) + "\r\n";
}

} // namespace

TEST_F( ErrClient, EachKindOfClassHasItsText )
{
    const std::string strOne = "1 (hex: 0x00000001)";
    EXPECT_EQ( "\r\nFile a.txt not found on D:.\r\n" + Block( "CLASS", strOne, "The test" ),
               Translated( Record( "TEST.CLASS", "1", "0+?+origin+?++?+a.txt!;!D:" ) ) );
    UseLanguage( 49 );
    EXPECT_EQ( "\r\nDatei a.txt nicht auf D: gefunden.\r\n" + Block( "CLASS", strOne, "Der Test" ),
               Translated( Record( "TEST.CLASS", "1", "0+?+origin+?++?+a.txt!;!D:" ) ) );
    EXPECT_EQ( "\r\nOhne\r\n" + Block( "CLASS", "-4 (hex: 0xFFFFFFFC)", "Der Test" ),
               Translated( Record( "TEST.CLASS", "-4", "0+?+origin+?++?+not!;!wanted" ) ) );
    EXPECT_EQ( "\r\norigin\r\n" + Block( "CLASS", "9 (hex: 0x00000009)", "Der Test" ),
               Translated( Record( "TEST.CLASS", "9" ) ) );
    EXPECT_EQ( "\r\n\r\n\nline\r\n\nmore\r\n" + Block( "A.B.C", strOne ),
               Translated( Record( "A.B.C", "1", "0+?+\r\n\nline\r\n\nmore\n+?++?+" ) ) )
        << "of the frame first the CR go, then the LF";

    EXPECT_EQ( FramedText( 5 ) + Block( "ERRCLS_SYS_LASTERROR", "5 (hex: 0x00000005)" ),
               Translated( Record( ERRCLS_SYS_LASTERROR, "12", "5+?+origin+?++?+" ) ) );
    EXPECT_EQ( "\r\norigin\r\n" + Block( "ERRCLS_SYS_LASTERROR", "4294967295 (hex: 0xFFFFFFFF)" ),
               Translated( Record( ERRCLS_SYS_LASTERROR, "12", "4294967295+?+origin+?++?+" ) ) );
    const std::string strDenied = Record( ERRCLS_SYS_HRESULT, "-2147024891" );
    EXPECT_EQ( FramedText( 0x80070005 ) + Block( "ERRCLS_SYS_HRESULT", "-2147024891 (hex: 0x80070005)" ) +
                   "\r\nSEVERITY: \r\nFACILITY: \r\nCODE: 5 (hex: 0x00000005)",
               Translated( strDenied ) );
    EXPECT_EQ( "\r\norigin\r\n" + Block( "ERRCLS_SYS_HRESULT", "-2147220991 (hex: 0x80040201)" ) +
                   "\r\nSEVERITY: \r\nFACILITY: \r\nCODE: 513 (hex: 0x00000201)",
               Translated( Record( ERRCLS_SYS_HRESULT, "-2147220991" ) ) )
        << "an interface's own code";

    EXPECT_EQ( "unchanged", Translated( Record( ERRCLS_SYS_LASTERROR, "1", "193+?+origin+?++?+" ) ) )
        << "the system's text wants an insert";

    WriteCommonTexts( "%" );
    EXPECT_EQ( FramedText( 0x80070005 ) +
                   "\r\nKlasse: ERRCLS_SYS_HRESULT\r\nFehler: -2147024891 (hex: 0x80070005)"
                   "\r\nQuelle: Unknown library description\r\nSchwere: Fehler"
                   "\r\nFACILITY: System\r\nCODE: 5 (hex: 0x00000005)",
               Translated( strDenied ) );
    SetLastError( 6 );
    ErrObjectClient aClient;
    EXPECT_EQ( 6u, GetLastError() );
}

TEST_F( ErrClient, PlacesWithoutTheirParametersAreReportedAndLeft )
{
    const std::string strNone =
        " Error: ( lCount = m_paStrList->ItemCount() ) <= 0 -> wrong format, string with replace values for NLS error message has not been set, usCount = 3";
    const std::string strWrong =
        " Error: (long)( usCount - 1 ) != lCount -> wrong NLS error message format, lCount = ";
    for ( const auto& [strParameters, strReason] :
          std::vector<std::pair<std::string, std::string>>{ { "", strNone },
                                                            { "one", strWrong + "1, usCount = 3" },
                                                            { "1!;!2!;!3", strWrong + "3, usCount = 3" } } )
    {
        ErrObjectClient aClient;
        MString aText;
        aClient.FromStream( ToMString( Record( "TEST.CLASS", "1", "0+?++?++?+" + strParameters ) ) );
        EXPECT_TRUE( aClient.GetTranslatedErrText( aText ) );
        EXPECT_EQ( "\r\nFile % not found on %.\r\n" + Block( "CLASS", "1 (hex: 0x00000001)", "The test" ),
                   ToText( aText ) );
        EXPECT_EQ(
            "From BOOL ErrObjectClient::FormatErrorMessage( MString& aTransText, const MString& aText )" +
                strReason,
            Dump( aClient ) );
    }

    // Another token, of several characters: percent signs are signs as others.
    WriteCommonTexts( "not" );
    EXPECT_EQ(
        "\r\nFile % one found on %.\r\n\r\nClass: CLASS\r\nError: 1 (hex: 0x00000001)\r\nSource: The test",
        Translated( Record( "TEST.CLASS", "1", "0+?++?++?+one" ) ) );
}

TEST_F( ErrClient, HelpIsCutOutOfTheMessage )
{
    // Language files have no place for the semicolon; release files do.
    const std::string strFile = m_aFolder.Path( "release.nls" );
    const LPVOID lTree = BTreeOnDiskInit( strFile.c_str(), 40, "rb+", FALSE );
    BTreeOnDiskWriteKeyStringPairToFile( lTree, "049TEST.CLASS2", "Platte [platte.hlp;70000]voll" );
    BTreeOnDiskWriteKeyStringPairToFile( lTree, "049TEST.CLASS3", "Voll[platte.hlp" );
    BTreeOnDiskDelete( lTree );
    NlsSettings aSettings;
    aSettings.stReleaseFile = strFile.c_str();
    aSettings.usCountryCode = 49;
    SetNlsSettings( &aSettings );

    ErrObjectClient aClient;
    MString aText( "unchanged" );
    MString aHelpFile( "unchanged" );
    HELP_ID usTopic = 7;
    EXPECT_TRUE( aClient.FromStream( ToMString( Record( "TEST.CLASS", "2" ) ) ) );
    EXPECT_TRUE( aClient.GetHelpData( aHelpFile, usTopic ) );
    EXPECT_STREQ( "platte.hlp", aHelpFile );
    EXPECT_EQ( 70000 % 65536, usTopic ) << "16 bits of it";
    EXPECT_TRUE( aClient.GetTranslatedErrText( aText ) );
    EXPECT_EQ( "\r\nPlatte voll\r\n" + Block( "CLASS", "2 (hex: 0x00000002)" ), ToText( aText ) );

    // A new fill forgets it.
    EXPECT_TRUE( aClient.FromStream( ToMString( Record( "TEST.CLASS", "-4" ) ) ) );
    EXPECT_TRUE( aClient.GetHelpData( aHelpFile, usTopic ) );
    EXPECT_TRUE( aHelpFile.IsEmpty() );
    EXPECT_EQ( 0, usTopic );

    // So are those of parameters and origin texts.
    EXPECT_EQ(
        0u,
        Translated( Record( "TEST.CLASS", "9", "0+?+file a[1].txt+?++?+" ) ).find( "\r\nfile a.txt\r\n" ) );

    EXPECT_TRUE( aClient.FromStream( ToMString( Record( "TEST.CLASS", "3" ) ) ) );
    aText = "unchanged";
    EXPECT_FALSE( aClient.GetTranslatedErrText( aText ) );
    EXPECT_STREQ( "unchanged", aText );
    EXPECT_EQ(
        "From BOOL ErrObjectClient::SetupHelpData( MString& aTranslatedErrMsg, BOOL fCutOffOnly )"
        " Error: aTranslatedErrMsg.FindStr( ERR_NLS_MAPPING_SEC_END, lStartIndex ) failed -> wrong format in current NLS error message string"
        "From BOOL ErrObjectClient::Init( MString& aTransText ) Error: !SetupHelpData( m_aTranslatedErrMsg, FALSE )"
        "From BOOL ErrObjectClient::GetTranslatedErrText( MString& aTransText ) Error: !Init( aTransText )",
        Dump( aClient ) );
}

TEST_F( ErrClient, TextsAreMadeOnceAndForgottenWithTheValues )
{
    ErrObjectClient aClient;
    MString aText( "unchanged" );
    MString aDetails( "unchanged" );
    EXPECT_FALSE( aClient.GetTranslatedErrText( aText ) );
    EXPECT_FALSE( aClient.GetDetailsErrText( aDetails ) ) << "nothing was filled in";
    EXPECT_STREQ( "unchanged", aText );
    EXPECT_EQ(
        "From BOOL ErrObjectClient::GetDetailsErrText( MString& aDetailsText ) Error: !IsInitialized()",
        Dump( aClient ) )
        << "the details empty the dump string";

    EXPECT_TRUE(
        aClient.FromStream( ToMString( Record( "TEST.CLASS", "-4", "0+?+origin+?+optional+?+" ) ) ) );
    EXPECT_TRUE( aClient.GetDetailsErrText( aDetails ) );
    EXPECT_STREQ( "optional\r\n", aDetails );
    EXPECT_TRUE( aClient.GetTranslatedErrText( aText ) );
    const auto ExpectText = [&]( ErrObjectClient& rClient, const std::string& strStart, LPCTSTR pDetails )
    {
        EXPECT_TRUE( rClient.GetTranslatedErrText( aText ) && rClient.GetDetailsErrText( aDetails ) );
        EXPECT_TRUE( ToText( aText ).starts_with( strStart ) ) << aText.data();
        EXPECT_STREQ( pDetails, aDetails );
    };
    // Kept, in a copy, too, when the texts have gone; a record that is filled by assignment has its own.
    SetNlsSettings( NULL );
    ErrObjectClient aCopy( aClient );
    ErrObjectClient aAssigned;
    aAssigned = aClient;
    for ( ErrObjectClient* pClient : { &aClient, &aCopy, &aAssigned } )
        ExpectText( *pClient, "\r\nPlain\r\n", "optional\r\n" );
    UseLanguage( 44 );
    const OpenRecord aOther( Record( "TEST.CLASS", "8", "0+?+other+?++?+a!;!b" ) );
    aClient = aOther;
    static_cast<ErrObjectBase&>( aCopy ) = aOther;
    for ( ErrObjectClient* pClient : { &aClient, &aCopy } )
        ExpectText( *pClient, "\r\nother\r\n", "" );
}

TEST_F( ErrClient, AStreamGoesToTheDebugMessagesTranslated )
{
    const std::string strPlain = Record( "TEST.CLASS", "-4", "0+?+origin+?+optional+?+" );
    const std::string strShown =
        "\r\n\r\nPlain\r\n" + Block( "CLASS", "-4 (hex: 0xFFFFFFFC)", "The test" ) + "\r\n";
    const std::string strStream = StreamOf( { strPlain, "broken", Record( "TEST.CLASS", "3" ), strPlain } );
    const auto Written = [&]( DebugRecorder& rDebug )
    {
        const std::string strAll = rDebug.Take();
        return strAll.substr( std::min( strAll.find( "APP -> header\r\n" ), strAll.size() ) );
    };
    UseLanguage( 44 );
    DebugRecorder aDebug;
    EXPECT_TRUE( OnDebugErrorStream( ToMString( strStream ), "APP", "header", "text" ) );
    EXPECT_EQ( "APP -> header\r\ntext\r\n" + strShown + "optional\r\n" + strShown + "optional\r\n\r\n",
               Written( aDebug ) )
        << "what cannot be read or translated is left out";
    EXPECT_TRUE( OnDebugErrorStream( ToMString( StreamOf( { "broken" } ) ), "APP", "header", "text" ) );
    const std::string strAll = aDebug.Take();
    EXPECT_TRUE( strAll.ends_with(
        "const MString& aOutText )\r\n Error: !Error2ObjectFromStream( aErrObjectClient, i, aErrStream )\r\n"
        "APP -> header\r\ntext\r\n\r\n" ) )
        << strAll;
    EXPECT_TRUE( C_OnDebugErrorStream( "no stream", "APP", "header", "text " ) );
    EXPECT_EQ( "APP -> header\r\ntext no stream\r\n", Written( aDebug ) );
    EXPECT_TRUE( C_OnDebugErrorStream( NULL, NULL, NULL, NULL ) );
    aDebug.Take();
}
