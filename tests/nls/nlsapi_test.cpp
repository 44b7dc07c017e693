// The exported functions: LoadNlsString and its kin.
#include "nls/nlssupport.h"

namespace
{

constexpr char EX_FROM[] =
    "From DLL_EXPORT_MOD MString DLL_EXPORT LoadNlsStringEx( const MString& sSec, const MString& sSecCom, const MString& sKey, BOOL* pbFound )";
constexpr char C_FROM[] =
    "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_LoadNlsString( LPCTSTR lpszSec, LPCTSTR lpszSecCom, LPCTSTR lpszKey, LPTSTR lpszString, USHORT usStringSize, USHORT* pusNeededSize )";

class NlsApi : public NlsTest
{
protected:
    // The text, behind "+" when it was found.
    static std::string LoadEx( const char* pSec, const char* pKey, const char* pSecCom = "" )
    {
        BOOL fFound = 7;
        const MString aText = LoadNlsStringEx( pSec, pSecCom, pKey, &fFound );
        EXPECT_STREQ( aText, LoadNlsString( pSec, pSecCom, pKey ) );
        return ( fFound == TRUE ? "+" : fFound == FALSE ? "-" : "?" ) + std::string( aText.data() );
    }
    // The same of both modes.
    void LookUp()
    {
        SetNlsSettings( &m_aSettings );
        DebugRecorder aRecorder;
        EXPECT_EQ( "+Titel", LoadEx( "a.s", "Title", "a.com" ) );
        EXPECT_EQ( "+nur hier", LoadEx( "A.S", "oNLY", "A.COM" ) );
        EXPECT_EQ( "-oNLY", LoadEx( "A.S", "oNLY" ) );
        EXPECT_EQ( "-Missing Key", LoadEx( "A.S", "Missing Key", "A.COM" ) );
        EXPECT_EQ( "-", LoadEx( "A.S", "" ) );
        // Once for each of the two calls, without asking the server.
        EXPECT_EQ( "-Title", LoadEx( "", "Title", "A.S" ) );
        const Report aWarning( EX_FROM, " Warning: sSec.IsEmpty()" );
        EXPECT_TRUE( aRecorder.OnlyReports( { aWarning, aWarning } ) );
    }
    void Note( const std::string& strCode )
    {
        m_aSettings.fDebugMessages = TRUE;
        SetNlsSettings( &m_aSettings );
        Load( "A.S", "TITLE" );
        DebugRecorder aRecorder;
        const std::string strNote = " Key not found, Key = " + strCode + ".A.S.NONE";
        EXPECT_EQ( "None", Load( "a.s", "None" ) );
        EXPECT_TRUE( aRecorder.OnlyReport( "From LoadNlsString(...)", strNote ) );
        EXPECT_EQ( "None", Load( "a.s", "None", "a.com" ) );
        EXPECT_TRUE( aRecorder.OnlyReport( "From LoadNlsString(...)",
                                           strNote + " Key not found, Key = " + strCode + ".A.COM.NONE" ) );
        EXPECT_EQ( "nur hier", Load( "a.s", "only", "a.com" ) );
    }
};

} // namespace

TEST_F( NlsApi, TextsComeFromTheSectionThenFromTheCommonOneInEitherMode )
{
    WriteFile( "A.CSV", m_strHeader + "[S]\nTitle=Titel;Title\n[COM]\nOnly=nur hier;here only\nTitle=x;y\n" );
    LookUp();
    Note( "" );
    m_aSettings.fDebugMessages = FALSE;
    Release( { { m_strCode + "A.STITLE", "Titel" },
               { m_strCode + "A.COMONLY", "nur hier" },
               { m_strCode + "A.COMTITLE", "x" } } );
    LookUp();
    Note( m_strCode );
}

TEST_F( NlsApi, PlainCGetsWhatFitsAndTheSizeOfTheWhole )
{
    Release(
        { { m_strCode + "A.SNINE", "123456789" }, { m_strCode + "A.SLONG", std::string( 65536, 'x' ) } } );
    DebugRecorder aRecorder;
    const std::tuple<const char*, USHORT, BOOL, const char*, USHORT> aCases[] = {
        { "nine", 20, TRUE, "123456789", 10 },
        { "nine", 10, TRUE, "123456789", 10 },
        { "nine", 9, TRUE, "12345678", 10 },
        { "nine", 5, TRUE, "1234", 10 },
        { "nine", 1, TRUE, "", 10 },
        { "None", 4, FALSE, "Non", 5 },
        { "", 4, FALSE, "", 1 },
        { NULL, 4, FALSE, "", 1 },
        { "long", 4, TRUE, "xxx", 1 }, // modulo 65,536
    };
    for ( const auto& [pKey, usSize, fFound, pText, usWhole] : aCases )
    {
        std::string strBuffer( 21, '#' );
        USHORT usNeeded = 0;
        EXPECT_EQ( fFound, C_LoadNlsString( "A.S", NULL, pKey, strBuffer.data(), usSize, &usNeeded ) );
        EXPECT_STREQ( pText, strBuffer.c_str() );
        EXPECT_EQ( usWhole, usNeeded );
        EXPECT_EQ( '#', strBuffer[usSize] );
    }
    TCHAR szText[] = "untouched";
    USHORT usNeeded = 7;
    EXPECT_FALSE( C_LoadNlsString( NULL, "", "K", NULL, 0, &usNeeded ) ||
                  C_LoadNlsString( NULL, "", "K", szText, 0, &usNeeded ) ||
                  C_LoadNlsString( NULL, "", "K", szText, 10, &usNeeded ) ||
                  C_LoadNlsString( "", "", "K", szText, 10, &usNeeded ) );
    EXPECT_TRUE( aRecorder.OnlyReports( { { C_FROM, " Error: lpszString == NULL || pusNeededSize == NULL" },
                                          { C_FROM, " Error: usStringSize == 0" },
                                          { C_FROM, " Error: lpszSec == NULL" },
                                          { C_FROM, " Error: *lpszSec == NIL" } } ) );
    EXPECT_STREQ( "untouched", szText );
    EXPECT_EQ( 7, usNeeded );
}
