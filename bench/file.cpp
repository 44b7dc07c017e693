// Files of 10 MB: their lines beside std::getline, and copies beside std::filesystem::copy_file.
#include "measure.h"

#include <bxtools/file.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

static constexpr size_t FILE_BYTES = 10 * 1000 * 1000;
static constexpr size_t LONGEST_LINE = 128;

static std::string PathOf( const char* pName )
{
    return std::string( std::getenv( "BXTOOLS_OBJECT_DIR" ) ) + "/" + pName;
}

// Lines of 2 to 128 characters; their number and the sum of their first ones.
static std::string MakeText( size_t& ruLines, size_t& ruSum )
{
    std::string strText;
    for ( ruLines = ruSum = 0; strText.size() < FILE_BYTES; ++ruLines )
    {
        const char cCharacter = static_cast<char>( 'a' + ruLines % 26 );
        ruSum += static_cast<unsigned char>( cCharacter );
        strText += std::string( 1 + ruLines * 61 % ( LONGEST_LINE - 1 ), cCharacter ) + '\n';
    }
    return strText;
}

static void RegisterLines( const std::string& strPath, const std::string& strExpected,
                           benchmark::IterationCount nLines )
{
    // Of each line the first character is looked at.
    Measure(
        "file/line/bxtools", strExpected,
        [strPath]( auto& rUse )
        {
            MFileWrapper aFile;
            char szLine[LONGEST_LINE + 2];
            UINT unSize = sizeof( szLine );
            size_t uLines = 0;
            size_t uSum = 0;
            if ( aFile.MyOpen( strPath.c_str(), MFileWrapper::modeRead | MFileWrapper::shareDenyWrite ) )
                while ( aFile.MyGetLine( szLine, &unSize, '\n' ) )
                {
                    ++uLines;
                    uSum += static_cast<unsigned char>( szLine[0] );
                }
            rUse( uLines );
            rUse( uSum );
        },
        nLines );
    Measure(
        "file/line/std::getline", strExpected,
        [strPath]( auto& rUse )
        {
            std::ifstream aFile( strPath, std::ios::binary );
            std::string strLine;
            size_t uLines = 0;
            size_t uSum = 0;
            while ( std::getline( aFile, strLine ) )
            {
                ++uLines;
                uSum += static_cast<unsigned char>( strLine.c_str()[0] );
            }
            rUse( uLines );
            rUse( uSum );
        },
        nLines );
}

static void RegisterCopies( const std::string& strPath )
{
    const std::string strCopy = PathOf( "copy" );
    const std::string strExpected = "1\n" + std::to_string( std::filesystem::file_size( strPath ) ) + "\n";
    Measure( "file/copy10M/bxtools", strExpected,
             [=]( auto& rUse )
             {
                 MFileWrapper aFile;
                 rUse(
                     aFile.MyOpen( strPath.c_str(), MFileWrapper::modeRead | MFileWrapper::shareDenyWrite ) &&
                     aFile.CopyTo( strCopy.c_str() ) );
                 rUse( std::filesystem::file_size( strCopy ) );
             } );
    Measure( "file/copy10M/std::filesystem", strExpected,
             [=]( auto& rUse )
             {
                 rUse( std::filesystem::copy_file( strPath, strCopy,
                                                   std::filesystem::copy_options::overwrite_existing ) );
                 rUse( std::filesystem::file_size( strCopy ) );
             } );
}

void RegisterFileMeasurements()
{
    size_t uLines = 0;
    size_t uSum = 0;
    const std::string strText = MakeText( uLines, uSum );
    const std::string strPath = PathOf( "lines" );
    std::ofstream( strPath, std::ios::binary ) << strText;
    RegisterLines( strPath, std::to_string( uLines ) + "\n" + std::to_string( uSum ) + "\n",
                   static_cast<benchmark::IterationCount>( uLines ) );
    RegisterCopies( strPath );
}
