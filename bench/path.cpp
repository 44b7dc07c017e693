// Whether a path is there: a file three folders down, and one that is not.
#include "measure.h"

#include <bxtools/path.h>

#include <filesystem>
#include <fstream>
#include <glib.h>
#include <unistd.h>

template <class Exists>
static void MeasureExists( const char* pWho, Exists aExists )
{
    const auto Register = [&]( const char* pCase, const std::string& strFile, const char* pExpected )
    {
        const std::string strName = std::string( "path/" ) + pCase + "/" + pWho;
        Measure( strName.c_str(), pExpected,
                 [strFile, aExists]( auto& rUse ) { rUse( aExists( strFile.c_str() ) ); } );
    };
    const std::string strFolder = std::string( std::getenv( "BXTOOLS_OBJECT_DIR" ) ) + "/one/two/three";
    std::filesystem::create_directories( strFolder );
    std::ofstream( strFolder + "/file" ).put( 'x' );
    Register( "exists", strFolder + "/file", "1\n" );
    Register( "missing", strFolder + "/none", "0\n" );
}

void RegisterPathMeasurements()
{
    MeasureExists( "bxtools", []( const char* pPath )
                   { return FileExists( pPath, FILE_ACCESS_EXISTS, NULL, 0 ) != FALSE; } );
    MeasureExists( "GLib",
                   []( const char* pPath ) { return g_file_test( pPath, G_FILE_TEST_EXISTS ) != FALSE; } );
    MeasureExists( "access", []( const char* pPath ) { return access( pPath, F_OK ) == 0; } );
    MeasureExists( "std::filesystem", []( const char* pPath ) { return std::filesystem::exists( pPath ); } );
}
