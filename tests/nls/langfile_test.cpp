// Language files: their headers, and the way from a section to a text.
#include "nls/languageheader.h"
#include "nls/nlssupport.h"

#include <filesystem>
#include <fstream>

namespace
{

using namespace std::string_literals;

constexpr char HEADER_FROM[] =
    "From BOOL MyErrNlsInterFaceConfig::internalGetLanguageHeader( const MString& aFileName, MString& aNlsHeader, LanguageCodeList* pList )";
constexpr char KEY_FROM[] =
    "From void MyErrNlsInterFaceConfig::OnKeyRead( MString& aValue, const MString& stCountry, const MString& rDefault )";
constexpr char SECTION_FROM[] =
    "From BOOL MyCfgFiles::CheckSectionName( const MString& stSec, const MString& stCountry, MString& aSec, MString& aFileName, BOOL fRelease ) ";
constexpr char READ_FROM[] =
    "From DATABUFTYPE MyCfgFiles::ReadStringValue( const MString& stSec, const MString& stKey, const MString& stCountry, BOOL& bFound )";
constexpr char NO_COLUMNS[] = " Error: usCount > 1 -> wrong format of CSV file header, aFileName = ";
constexpr char NO_NUMBER[] =
    " Error: aTempTokenCode.IsNumeric() -> wrong format of CSV file header, aFileName = ";

class LanguageFile : public NlsTest
{
protected:
    std::string Path() { return m_aFolder.Path() + MYCH_DELIMDIR + "A.CSV"; }
    // The codes of the file, each behind a blank; "-" before them when it says that they are wrong.
    std::string Codes()
    {
        LanguageCodeList aList;
        MString aHeader;
        MyErrNlsInterFaceConfig aFile( Path().c_str() );
        std::string strCodes = aFile.internalGetLanguageHeader( Path().c_str(), aHeader, &aList ) ? "" : "-";
        for ( long i = 0; i < static_cast<long>( aList.ItemCount() ); ++i )
            strCodes += " " + std::to_string( *aList.GetItem( i ) );
        return strCodes;
    }
    static std::string Read( MyCfgFiles& rFiles, const char* pSec, const char* pKey, const char* pCountry )
    {
        BOOL fFound = FALSE;
        const std::string strText = rFiles.ReadStringValue( pSec, pKey, pCountry, fFound );
        return ( fFound ? "+" : "-" ) + strText;
    }
};

} // namespace

TEST_F( LanguageFile, HeaderNamesTheCodesInAnyFormAndSaysWhatIsWrong )
{
    const std::string strLong( 0xFFFF - 7, '0' );
    const std::tuple<std::string, std::string, const char*> aCases[] = {
        { "Key;049;044\r\n[A]\r\n", " 49 44", NULL },
        { "\xEF\xBB\xBFKey;German=049;English=044\n[A]\r\n", " 49 44", NULL },
        { "Key;49\r[A]\rX=1\r", " 49", NULL },
        { "Key;49", " 49", NULL },
        { "49;;x=;351;99999999999", " 0 0 351 2147483647", NULL },
        { "Key;" + strLong + "49\r", " 49", NULL }, // with its zero it just fits
        { "Key;" + strLong + "49\n", " 49", NULL },
        { "Key\r\n049;044\r\n", "-", NO_COLUMNS },
        { "", "-", NO_COLUMNS },
        { "\r\nKey;049", "-", NO_COLUMNS },
        { "Key;049;x044;351\r\n", "- 49", NO_NUMBER },
        { "Key;049; 44\r\n", "- 49", NO_NUMBER },
        { "Key;a=b=49\r\n", "-", NO_NUMBER },
        { "Key;-49\r\n", "-", NO_NUMBER },
    };
    for ( const auto& [strBytes, strCodes, pWrong] : aCases )
    {
        WriteFile( "A.CSV", strBytes );
        DebugRecorder aRecorder;
        EXPECT_EQ( strCodes, Codes() ) << strBytes.substr( 0, 40 );
        EXPECT_TRUE( pWrong == NULL ? aRecorder.Silent()
                                    : aRecorder.OnlyReport( HEADER_FROM, pWrong + Path() ) );
    }

    // Neither a line without end nor a file of any size is read further than a header can reach.
    WriteFile( "A.CSV", "Key;" + std::string( 0x10000, '1' ) );
    std::filesystem::resize_file( Path(), 50u << 20 );
    DebugRecorder aRecorder;
    EXPECT_EQ( "-", Codes() );
    MString aHeader;
    EXPECT_FALSE( MyErrNlsInterFaceConfig( Path().c_str() )
                      .internalGetLanguageHeader( Path().c_str(), aHeader, NULL ) );
    EXPECT_TRUE(
        aRecorder.OnlyReports( { { HEADER_FROM, " Error: !GetLanguageHeader( aFileName, aNlsHeader )" },
                                 { HEADER_FROM, " Error: pList == NULL" } } ) );
}

TEST_F( LanguageFile, TextIsThatOfTheCodesColumnAndWholeWithoutOne )
{
    WriteFile( "A.CSV", "Key;049;044\n[S]\nTITLE=Titel;Title\nSHORT=kurz\nNONE=nonlsentryavailable\n" );
    MyCfgFiles aFiles( "", m_aFolder.Path().c_str() );
    DebugRecorder aRecorder;
    EXPECT_EQ( "+Titel", Read( aFiles, "A.s", "title", "049" ) );
    EXPECT_EQ( "+Title", Read( aFiles, "A.S", "TITLE", "044" ) );
    EXPECT_EQ( "+", Read( aFiles, "A.S", "SHORT", "044" ) );
    EXPECT_EQ( "-NONE", Read( aFiles, "A.S", "NONE", "049" ) );
    EXPECT_EQ( "-Missing", Read( aFiles, "A.S", "Missing", "033" ) );
    EXPECT_EQ( "+Titel;Title", Read( aFiles, "A.S", "TITLE", "033" ) );
    EXPECT_TRUE( aRecorder.OnlyReport(
        KEY_FROM,
        " Error: ( lIndex = m_aLanguageCodeList.GetIndexForNLSToken( lLanguageCode ) ) == INDEXNOTFOUND ), file = " +
            Path() ) );
    // A file that is replaced: its texts are the new ones, its languages those that it was loaded with.
    WriteFile( "new", "Key;044;049\n[S]\nTITLE=New title;Neuer Titel\n" );
    std::filesystem::rename( m_aFolder.Path( "new" ), Path() );
    EXPECT_EQ( "+New title", Read( aFiles, "A.S", "TITLE", "049" ) );
    EXPECT_EQ( 1u, aFiles.ItemCount() );
}

TEST_F( LanguageFile, WithoutHeaderItIsReadTwiceAndSaysSo )
{
    const std::string strTexts = "\n[S]\nTITLE=Titel;Title\n";
    WriteFile( "A.CSV", "Broken" + strTexts );
    MyCfgFiles aFiles( "", m_aFolder.Path().c_str() );
    const Report aNoColumns( HEADER_FROM, NO_COLUMNS + Path() );
    const Report aFirst(
        KEY_FROM, " Error: !internalGetLanguageHeader(...) -> wrong header format of file = " + Path() );
    const Report aSecond( KEY_FROM,
                          " Error: !m_usAttemptsCount > 1 -> wrong header format of file = " + Path() );
    DebugRecorder aRecorder;
    for ( const std::string& strHeader : { "Broken"s, "Broken"s, "Key;049"s } )
    {
        WriteFile( "A.CSV", strHeader + strTexts );
        EXPECT_EQ( "+Titel;Title", Read( aFiles, "A.S", "TITLE", "049" ) );
    }
    EXPECT_TRUE( aRecorder.OnlyReports( { aNoColumns, aFirst, aNoColumns, aSecond, aSecond } ) );
}

TEST_F( LanguageFile, SectionsNameTheirFileAndEveryLoadedOneIsAsked )
{
    WriteFile( "A.CSV", "Key;049\n[S]\nBOTH=from A\n" );
    WriteFile( "B.CSV", "Key;049\n[S]\nBOTH=from B\nB=only B\n" );
    MyCfgFiles aFiles( "", m_aFolder.Path().c_str() );
    DebugRecorder aRecorder;
    EXPECT_EQ( "+from B", Read( aFiles, "B.S", "BOTH", "049" ) );
    EXPECT_EQ( "+from B", Read( aFiles, "A.S", "BOTH", "049" ) ); // kept so: what is loaded is asked first
    EXPECT_EQ( "-NEITHER", Read( aFiles, "A.S", "NEITHER", "049" ) );
    EXPECT_EQ( 2u, aFiles.ItemCount() );
    EXPECT_EQ( "+only B", Read( aFiles, "A.S", "B", "049" ) );
    EXPECT_EQ( "-X", Read( aFiles, "C.S", "X", "049" ) );
    EXPECT_TRUE( aRecorder.OnlyReport(
        READ_FROM, " File = " + m_aFolder.Path() + MYCH_DELIMDIR +
                       "C.CSV does not exist or read permission for this file is not available" ) );
    for ( const char* pSection : { "", "S", "A.B.S", ".." } )
    {
        EXPECT_EQ( "-BOTH", Read( aFiles, pSection, "BOTH", "049" ) );
        EXPECT_TRUE( aRecorder.OnlyReport(
            SECTION_FROM,
            std::string( " Error: Wrong section format. Two tokens expected. stSec = " ) + pSection ) );
    }
    MString aSection;
    MString aFile;
    EXPECT_TRUE( aFiles.CheckSectionName( "A.S", "049", aSection, aFile, TRUE ) );
    EXPECT_STREQ( "A049.NLS", aFile );
    EXPECT_STREQ( "S", aSection );
}

TEST_F( LanguageFile, FilesMayBeListedInAFile )
{
    WriteFile( "A.CSV", "Key;049\n[S]\nTITLE=Titel\n" );
    const std::string strMissing = m_aFolder.Path( "C.CSV" );
    WriteFile( "list.ini", "Key;049\n[ConfigFileSection]\n1=" + Path() + ";first\n2=" + Path() +
                               "\n3=" + strMissing + "\n" );
    DebugRecorder aRecorder;
    MyCfgFiles aFiles( m_aFolder.Path( "list.ini" ).c_str(), "" );
    EXPECT_TRUE( aFiles.IsStatusOk() );
    EXPECT_EQ( 1u, aFiles.ItemCount() );
    const std::string strOutput = aRecorder.Take();
    EXPECT_NE( std::string::npos, strOutput.find( " File = " + Path() + " already in list" ) );
    EXPECT_NE( std::string::npos, strOutput.find( " File = " + strMissing + " does not exist or read" ) );
    EXPECT_EQ( "+Titel", Read( aFiles, "ANY.S", "TITLE", "049" ) );

    EXPECT_FALSE( MyCfgFiles( Path().c_str(), "" ).IsStatusOk() ); // lists nothing
    EXPECT_FALSE( MyCfgFiles( "", "" ).IsStatusOk() );
    aRecorder.Take();
    MyCfgFiles aNoFolder( "", strMissing.c_str() );
    EXPECT_TRUE( aNoFolder.IsStatusOk() );
    EXPECT_TRUE( aRecorder.OnlyReport(
        "From MyCfgFiles::MyCfgFiles(...)",
        " Error: !::FileExists( stCSVFilesPath, FILE_ACCESS_READ...) -> stCSVFilesPath = " + strMissing ) );
}
