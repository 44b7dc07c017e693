#include "tools/nls/releasefile.h"

#include "runtime/rwbtreeondisk.h"
#include "tools/errors/decodedrecord.h"
#include "tools/outputfile.h"
#include "tools/progressbar.h"
#include "tools/systemtext.h"
#include "tools/toolfailure.h"

#include <bxtools/btree.h>
#include <bxtools/platform.h>
#include <bxtools/sync.h>

#include <algorithm>

namespace
{

constexpr size_t CODE_LENGTH = 3;

[[noreturn]] void ThrowNotWritten( const std::string& aPath, const std::string& aReason )
{
    throw ToolFailure( ExitCode::Output, "cannot write " + aPath + ": " + aReason );
}

// One builder of a file at a time. A builder that is killed gives way to the next.
class BuilderLock
{
public:
    explicit BuilderLock( const std::string& aPath )
    {
        // A lock's name takes no path as it is.
        const std::string aName = "bxtool.nls." + std::to_string( std::hash<std::string>()( aPath ) );
        if ( !EnterInterProcessCriticalSection( aName.c_str(), &m_hSection ) )
            ThrowNotWritten( aPath, "the lock against other builders cannot be taken: " +
                                        GetSystemText( GetLastError() ) );
    }
    ~BuilderLock() { ReleaseInterProcessCriticalSection( m_hSection ); }
    BuilderLock( const BuilderLock& ) = delete;
    BuilderLock& operator=( const BuilderLock& ) = delete;

private:
    HANDLE m_hSection = NULL;
};

void WritePairs( const std::string& aPath, const std::vector<ReleasePair>& rPairs, size_t nKeyLength )
{
    constexpr size_t LENGTH_SIZE = 4;
    RWFileManager aFile( aPath.c_str() );
    RWBTreeOnDisk aTree( aFile, 10, RWBTreeOnDisk::autoCreate, static_cast<unsigned>( nKeyLength ) );
    ProgressBar aBar( "texts", rPairs.size() );
    for ( size_t i = 0; i < rPairs.size(); i++ )
    {
        const RWCString aText( rPairs[i].aValue.c_str() );
        const RWoffset lPlace = aFile.allocate( static_cast<unsigned long>( aText.length() + LENGTH_SIZE ) );
        aFile.SeekTo( lPlace );
        aText.saveOn( aFile );
        aTree.insertKeyAndValue( rPairs[i].aKey.c_str(), lPlace );
        aBar.Show( i );
    }
    aTree.Flush();
}

// What programs will be given is what was meant.
void ReadPairsAgain( const std::string& aPath, const std::vector<ReleasePair>& rPairs )
{
    NlsBTreeOnDisk aTree( aPath.c_str(), 0, "rb", FALSE );
    for ( const ReleasePair& rPair : rPairs )
    {
        int nFound = 0;
        const char* pText = aTree.ReadKeyStringPairFromFile( rPair.aKey.c_str(), nFound, "" );
        if ( nFound == 0 || rPair.aValue != pText )
            ThrowNotWritten( aPath, "the text of " + rPair.aKey + " cannot be read again" );
    }
}

} // namespace

void WriteReleaseFile( const std::string& aPath, const std::vector<ReleasePair>& rPairs, size_t nKeyLength )
{
    std::error_code aError;
    const std::filesystem::path aFile = FindTarget( aPath );
    const std::string aBeside = FromPath( aFile ) + ".new";
    const BuilderLock aLock( FromPath( aFile ) );
    std::filesystem::remove( ToPath( aBeside ), aError );
    size_t nLongest = nKeyLength + CODE_LENGTH;
    if ( nKeyLength == 0 )
        for ( const ReleasePair& rPair : rPairs )
            nLongest = std::max( nLongest, rPair.aKey.size() );
    try
    {
        WritePairs( aBeside, rPairs, nLongest );
        ReadPairsAgain( aBeside, rPairs );
        if ( !TakePlace( ToPath( aBeside ), aFile, aError ) )
            ThrowNotWritten( aPath, aError.message() );
    }
    catch ( const RWFileErr& aFailure )
    {
        std::filesystem::remove( ToPath( aBeside ), aError );
        ThrowNotWritten( aPath, aFailure.what() );
    }
    catch ( ... )
    {
        std::filesystem::remove( ToPath( aBeside ), aError );
        throw;
    }
}

std::vector<ReleasePair> ReadReleaseFile( const std::string& aPath )
{
    struct Reader
    {
        RWFileManager aFile;
        std::vector<ReleasePair> aPairs;
    };
    try
    {
        Reader aReader{ RWFileManager( aPath.c_str(), "rb" ), {} };
        const auto TakePair = []( const char* pKey, RWoffset lValue, void* pReader )
        {
            Reader& rReader = *static_cast<Reader*>( pReader );
            RWCString aText;
            rReader.aFile.SeekTo( lValue );
            aText.restoreFrom( rReader.aFile );
            rReader.aPairs.push_back( { pKey, std::string( aText.data(), aText.length() ) } );
        };
        RWBTreeOnDisk( aReader.aFile ).applyToKeyAndValue( TakePair, &aReader );
        return aReader.aPairs;
    }
    catch ( const RWFileErr& aError )
    {
        throw ToolFailure( ExitCode::Input, "cannot read " + aPath + ": " + aError.what() );
    }
}
