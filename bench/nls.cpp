// Texts by section and key: 1,000 of them in a release file, beside gettext with a catalogue of the same texts; and in a
// language file, where each lookup sees what the file holds at that moment, beside Qt's settings brought up to date each time.
#include "measure.h"

#include <bxtools/nls.h>
#include <bxtools/nlsserver.h>

#include <QSettings>
#include <QString>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <libintl.h>
#include <map>
#include <memory>
#include <vector>

static constexpr int TEXTS = 1000;
static constexpr char SECTION[] = "EDITOR.MAINWINDOW";
static constexpr char DOMAIN_NAME[] = "bxbench";

using Texts = std::vector<std::pair<std::string, std::string>>;

// Keys and their texts, in no order.
static Texts MakeTexts( int nTexts )
{
    Texts aTexts;
    int nNumber = 0;
    for ( int i = 0; i < nTexts; ++i )
    {
        nNumber = ( nNumber + 7919 ) % nTexts;
        aTexts.emplace_back( "KEY NUMBER " + std::to_string( nNumber ),
                             "The text number " + std::to_string( nNumber ) + " of the measurement" );
    }
    return aTexts;
}

static std::string Lines( const Texts& aTexts )
{
    std::string strLines;
    for ( const auto& rText : aTexts )
        strLines += rText.second + "\n";
    return strLines;
}

static std::string Folder()
{
    return std::getenv( "BXTOOLS_OBJECT_DIR" );
}

static NlsSettings MakeRelease( const Texts& aTexts )
{
    NlsSettings aSettings;
    aSettings.stReleaseFile = ( Folder() + "/release/texts.nls" ).c_str();
    aSettings.usCountryCode = 49;
    NLSServer aWriter( 48, aSettings.stReleaseFile );
    for ( const auto& rText : aTexts )
        aWriter.WriteStringValue( ( std::string( "049" ) + SECTION + rText.first ).c_str(),
                                  rText.second.c_str() );
    return aSettings;
}

// The language file of a folder of its own.
static NlsSettings MakeLanguageFile( const Texts& aTexts, const std::string& strName )
{
    const std::string strFolder = Folder() + "/" + strName;
    std::filesystem::create_directory( strFolder );
    const std::string strPath = strFolder + "/EDITOR.CSV";
    std::ofstream aFile( strPath );
    aFile << "Key;049;044\n[MAINWINDOW]\n";
    for ( const auto& rText : aTexts )
        aFile << rText.first << "=" << rText.second << ";\n";
    aFile.close();
    // Old enough for its times to tell the next change.
    std::filesystem::last_write_time( strPath, std::filesystem::file_time_type::clock::now() -
                                                   std::chrono::hours( 1 ) );
    NlsSettings aSettings;
    aSettings.fEditMode = TRUE;
    aSettings.stLanguagePath = strFolder.c_str();
    aSettings.usCountryCode = 49;
    return aSettings;
}

// gettext's file: the numbers of the format, the two tables of lengths and places, the texts. It is without the table that
// speeds up first lookups, since gettext remembers what it has found.
static void MakeCatalogue( const Texts& aTexts )
{
    std::map<std::string, std::string> aSorted( aTexts.begin(), aTexts.end() );
    aSorted[""] = "Content-Type: text/plain; charset=UTF-8\n";
    const auto uCount = static_cast<uint32_t>( aSorted.size() );
    constexpr uint32_t NUMBERS = 7;
    std::vector<uint32_t> aWords = { 0x950412de, 0, uCount, NUMBERS * 4, ( NUMBERS + 2 * uCount ) * 4, 0, 0 };
    const size_t uTextsAt = ( NUMBERS + 4 * uCount ) * 4;
    std::string strBytes;
    const auto Add = [&]( const std::string& strText )
    {
        aWords.push_back( static_cast<uint32_t>( strText.size() ) );
        aWords.push_back( static_cast<uint32_t>( uTextsAt + strBytes.size() ) );
        strBytes += strText + '\0';
    };
    for ( const auto& rText : aSorted )
        Add( rText.first );
    for ( const auto& rText : aSorted )
        Add( rText.second );
    const std::string strFolder = Folder() + "/de/LC_MESSAGES";
    std::filesystem::create_directories( strFolder );
    std::ofstream aFile( strFolder + "/" + DOMAIN_NAME + ".mo" );
    aFile.write( reinterpret_cast<const char*>( aWords.data() ),
                 static_cast<std::streamsize>( aWords.size() * sizeof( uint32_t ) ) );
    aFile << strBytes;
    setenv( "LANGUAGE", "de", 1 );
    setlocale( LC_MESSAGES, "C.UTF-8" ); // in "C" gettext looks for nothing
    bindtextdomain( DOMAIN_NAME, Folder().c_str() );
    bind_textdomain_codeset( DOMAIN_NAME, "UTF-8" );
}

// Lookups with settings that hold from the first one on, until those of another measurement do.
static void MeasureLookups( const char* pName, const Texts& aTexts, const NlsSettings& aSettings )
{
    static const char* pInForce = NULL;
    std::vector<MString> aKeys;
    for ( const auto& rText : aTexts )
        aKeys.emplace_back( rText.first.c_str() );
    Measure(
        pName, Lines( aTexts ),
        [pName, aKeys, aSettings]( auto& rUse )
        {
            if ( pInForce != pName )
                SetNlsSettings( &aSettings );
            pInForce = pName;
            const MString aSection( SECTION );
            const MString aCommon;
            for ( const MString& rKey : aKeys )
                rUse( LoadNlsString( aSection, aCommon, rKey ).data() );
        },
        static_cast<benchmark::IterationCount>( aTexts.size() ) );
}

static void MeasureGettext( const char* pName, const Texts& aTexts )
{
    Measure(
        pName, Lines( aTexts ),
        [aTexts]( auto& rUse )
        {
            for ( const auto& rText : aTexts )
                rUse( static_cast<const char*>( dgettext( DOMAIN_NAME, rText.first.c_str() ) ) );
        },
        TEXTS );
}

static void MeasureQSettings( const Texts& aTexts )
{
    const std::string strPath = Folder() + "/texts.ini";
    std::ofstream aFile( strPath );
    aFile << "[MAINWINDOW]\n";
    for ( const auto& rText : aTexts )
        aFile << rText.first << "=" << rText.second << "\n";
    aFile.close();
    const auto pSettings =
        std::make_shared<QSettings>( QString::fromStdString( strPath ), QSettings::IniFormat );
    Measure(
        "nls/edit/QSettings", Lines( aTexts ),
        [aTexts, pSettings]( auto& rUse )
        {
            for ( const auto& rText : aTexts )
            {
                pSettings->sync(); // looks whether the file has changed
                const QString aKey = QString::fromStdString( "MAINWINDOW/" + rText.first );
                rUse( pSettings->value( aKey ).toString().toStdString() );
            }
        },
        TEXTS );
}

void RegisterNlsMeasurements()
{
    const Texts aTexts = MakeTexts( TEXTS );
    MakeCatalogue( aTexts );
    MeasureLookups( "nls/release/bxtools", aTexts, MakeRelease( aTexts ) );
    MeasureGettext( "nls/release/dgettext", aTexts );
    MeasureLookups( "nls/edit/bxtools", aTexts, MakeLanguageFile( aTexts, "edit" ) );
    MeasureGettext( "nls/edit/dgettext", aTexts );
    MeasureQSettings( aTexts );
    const Texts aMany = MakeTexts( 10000 );
    MeasureLookups( "nls/edit-10000/bxtools", aMany, MakeLanguageFile( aMany, "many" ) );
    const Texts aFew = MakeTexts( 10 );
    MeasureLookups( "nls/edit-10000/at-10", aFew, MakeLanguageFile( aFew, "few" ) );
}
