#include "support/scratchfolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace fs = std::filesystem;

std::string MakeScratchFolder()
{
    std::random_device aRandom;
    for ( ;; )
    {
        const fs::path aPath = fs::temp_directory_path() / ( "bxtools-test-" + std::to_string( aRandom() ) );
        if ( fs::create_directory( aPath ) )
        {
            fs::permissions( aPath, fs::perms::owner_all );
            return aPath.generic_string();
        }
    }
}

void RemoveScratchFolder( const std::string& strFolder )
{
    std::error_code aIgnored;
    fs::remove_all( strFolder, aIgnored );
}

void WriteBytes( const std::string& strPath, const std::string& strBytes )
{
    std::ofstream( strPath, std::ios::binary ) << strBytes;
}

std::string ReadBytes( const std::string& strPath )
{
    std::ifstream aFile( strPath, std::ios::binary );
    return { std::istreambuf_iterator<char>( aFile ), std::istreambuf_iterator<char>() };
}
