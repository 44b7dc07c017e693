// Paths of any bytes, in a folder that none of them leaves: the first line is a path, the second a folder for a temporary
// file, the third its extension.
#include "diag/sharedvalues.h"
#include "fuzz/require.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace
{
// Goes when the program ends.
class Root
{
public:
    Root() : m_strPath( ( fs::temp_directory_path() / "bxtools-fuzz-XXXXXX" ).string() )
    {
        Require( mkdtemp( m_strPath.data() ) != nullptr );
    }
    ~Root() { fs::remove_all( m_strPath ); }
    // Empty, but for a file that keeps it from being removed.
    void Clean() const
    {
        const std::string strKeep = m_strPath + "/keep";
        Require( CreatePathAndFile( strKeep.c_str() ) );
        for ( const auto& rEntry : fs::directory_iterator( m_strPath ) )
        {
            if ( rEntry.path() != strKeep )
                fs::remove_all( rEntry );
        }
    }
    const std::string& Path() const { return m_strPath; }

private:
    std::string m_strPath;
};

// A line of the input, without pieces that lead upwards.
std::string TakeLine( std::string& rText )
{
    const size_t nEnd = rText.find( '\n' );
    std::string strLine = rText.substr( 0, nEnd );
    rText.erase( 0, nEnd == rText.npos ? nEnd : nEnd + 1 );
    for ( size_t n = 0; ( n = strLine.find( ".." ) ) != strLine.npos; )
        strLine.erase( n, 1 );
    return strLine.c_str();
}

bool IsThere( const std::string& strPath )
{
    return FileExists( strPath.c_str(), FILE_ACCESS_EXISTS, NULL, 0 ) != FALSE;
}

bool HasEmptyPiece( std::string strPath )
{
    std::replace( strPath.begin(), strPath.end(), '\\', '/' );
    return strPath.find( "//" ) != strPath.npos;
}

// What was made is there under its long name, and goes without its neighbours.
void MakeAndRemove( const std::string& strPath )
{
    if ( !CreatePathAndFile( strPath.c_str() ) )
        return;
    Require( IsThere( strPath ) );
    MString aLong;
    if ( ShortPath2Long1( MString( strPath.c_str() ), aLong ) )
    {
        MString aShort;
        MString aAgain;
        Require( IsThere( aLong.data() ) && LongPath2Short( aLong, aShort ) );
        Require( ShortPath2Long1( aShort, aAgain ) && aAgain == aLong );
    }
    else
        Require( HasEmptyPiece( strPath ) );
    // The folder with the kept file stays, and whatever lies above it.
    Require( !RemoveFileAndPath( strPath.c_str() ) );
}

// The same in a buffer of exactly its size, where a byte too many shows.
void UseBuffers( const std::string& strPath, USHORT uSize )
{
    std::vector<char> aBuffer( uSize );
    FileExists( strPath.c_str(), uSize % 5, aBuffer.data(), uSize );
    if ( BuildFilePath( aBuffer.data(), uSize, uSize % 4, strPath.c_str(), strPath.c_str() ) )
        Require( strnlen( aBuffer.data(), uSize ) < uSize );
    if ( ShortPath2Long( strPath.c_str(), aBuffer.data(), uSize ) )
        Require( IsThere( aBuffer.data() ) );
}

void MakeTemporaryFile( const std::string& strFolder, const std::string& strExtension )
{
    TCHAR szPath[2 * _MAX_PATH];
    if ( !CreateTempFile( strFolder.c_str(), strExtension.c_str(), strExtension.c_str(), szPath,
                          sizeof( szPath ) ) )
        return;
    Require( fs::is_empty( szPath ) && std::string_view( szPath ).find( strExtension ) != std::string::npos );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    static const Root aRoot;
    constexpr size_t LONGEST = 600;
    SetDebugEnabled( false );
    aRoot.Clean();
    std::string strText( reinterpret_cast<const char*>( pBytes ), std::min( nBytes, LONGEST ) );
    const std::string strPath = TakeLine( strText );
    const std::string strFolder = TakeLine( strText );
    MakeAndRemove( aRoot.Path() + "/" + strPath );
    UseBuffers( strPath, static_cast<USHORT>( nBytes % 300 + 1 ) );
    UseBuffers( aRoot.Path() + "\\" + strFolder, static_cast<USHORT>( nBytes % 300 + 1 ) );
    MakeTemporaryFile( aRoot.Path() + strFolder, TakeLine( strText ) );
    return 0;
}
