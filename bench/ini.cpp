// INI files: one of 1 MB with 500 groups of 40 keys, beside GLib's key files and Qt's settings. What is saved is on the
// disk when the call comes back, with GLib, too.
#include "measure.h"

#include <bxtools/config.h>

#include <QSettings>
#include <QString>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <glib.h>
#include <sys/stat.h>

static constexpr int GROUPS = 500;
static constexpr int KEYS = 40; // in each of them

static std::string ValueText( int nGroup, int nKey )
{
    return "the value " + std::to_string( nGroup ) + "/" + std::to_string( nKey ) + " of the measurement";
}

static std::string MakeFile( const char* pName )
{
    const std::string strPath = std::string( std::getenv( "BXTOOLS_OBJECT_DIR" ) ) + "/" + pName;
    std::ofstream aFile( strPath );
    for ( int nGroup = 0; nGroup < GROUPS; ++nGroup )
    {
        aFile << "[group" << nGroup << "]\n";
        for ( int nKey = 0; nKey < KEYS; ++nKey )
            aFile << "key number " << nKey << "=" << ValueText( nGroup, nKey ) << "\n";
    }
    aFile.close();
    // Old enough for its times to tell the next change.
    std::filesystem::last_write_time( strPath, std::filesystem::file_time_type::clock::now() -
                                                   std::chrono::hours( 1 ) );
    return strPath;
}

// Makes it a file that nobody has read yet.
static void Touch( const std::string& strPath )
{
    static time_t nSecond = 1000000;
    const timespec aTimes[] = { { ++nSecond, 0 }, { nSecond, 0 } };
    utimensat( AT_FDCWD, strPath.c_str(), aTimes, 0 );
}

static void RegisterFirstRead()
{
    const std::string strPath = MakeFile( "first.ini" );
    const std::string strExpected = ValueText( 499, 39 ) + "\n";
    Measure( "ini/first-read/bxtools", strExpected,
             [strPath]( auto& rUse )
             {
                 Touch( strPath );
                 MConfig aConfig( strPath.c_str(), TRUE, FALSE );
                 aConfig.SetGroup( "group499" );
                 rUse( aConfig.ReadKey( "key number 39" ).data() );
             } );
    Measure( "ini/first-read/GKeyFile", strExpected,
             [strPath]( auto& rUse )
             {
                 Touch( strPath );
                 GKeyFile* const pFile = g_key_file_new();
                 g_key_file_load_from_file( pFile, strPath.c_str(), G_KEY_FILE_KEEP_COMMENTS, NULL );
                 gchar* const pText = g_key_file_get_string( pFile, "group499", "key number 39", NULL );
                 rUse( static_cast<const char*>( pText ) );
                 g_free( pText );
                 g_key_file_free( pFile );
             } );
}

static void RegisterRead()
{
    const std::string strPath = MakeFile( "read.ini" );
    const std::string strExpected = ValueText( 250, 20 ) + "\n";
    Measure( "ini/read/bxtools", strExpected,
             [strPath]( auto& rUse )
             {
                 MConfig aConfig( strPath.c_str(), TRUE, FALSE );
                 aConfig.SetGroup( "group250" );
                 rUse( aConfig.ReadKey( "key number 20" ).data() );
             } );
    Measure( "ini/read/QSettings", strExpected,
             [aPath = QString::fromStdString( strPath )]( auto& rUse )
             {
                 const QSettings aSettings( aPath, QSettings::IniFormat );
                 rUse( aSettings.value( "group250/key number 20" ).toString().toStdString() );
             } );
}

static void RegisterSet()
{
    Measure( "ini/set/bxtools", "1\n",
             [strPath = MakeFile( "set.ini" )]( auto& rUse )
             {
                 static int nNumber = 0;
                 MConfig aConfig( strPath.c_str(), TRUE, FALSE );
                 aConfig.SetGroup( "group250" );
                 aConfig.WriteKey( "key number 20", ++nNumber );
                 rUse( nNumber );
             } );
    Measure( "ini/set/GKeyFile", "1\n",
             [strPath = MakeFile( "set-glib.ini" )]( auto& rUse )
             {
                 static int nNumber = 0;
                 GKeyFile* const pFile = g_key_file_new();
                 g_key_file_load_from_file( pFile, strPath.c_str(), G_KEY_FILE_KEEP_COMMENTS, NULL );
                 g_key_file_set_integer( pFile, "group250", "key number 20", ++nNumber );
                 g_key_file_save_to_file( pFile, strPath.c_str(), NULL );
                 g_key_file_free( pFile );
                 rUse( nNumber );
             } );
}

void RegisterIniMeasurements()
{
    RegisterFirstRead();
    RegisterRead();
    RegisterSet();
}
