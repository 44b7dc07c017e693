// Registry images of any bytes: they are refused or read, and one that is good to the end can be written to. The sums are
// made right first where the first byte is odd, so that what stands behind them is reached.
#include "fuzz/require.h"
#include "platform/registry/regimagewriter.h"
#include "platform/registry/regname.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{
using Bytes = std::vector<BYTE>;

void SumHead( Bytes& rBytes )
{
    RegImageHead aHead;
    std::memcpy( &aHead, rBytes.data(), sizeof( aHead ) );
    std::memcpy( aHead.aMark, REG_IMAGE_MARK, sizeof( aHead.aMark ) );
    aHead.dwVersion = REG_IMAGE_VERSION;
    aHead.ullFileSize = rBytes.size();
    std::memcpy( rBytes.data(), &aHead, sizeof( aHead ) );
    aHead.ullChecksum = ChecksumOfReg( rBytes.data() + 16, sizeof( aHead ) - 16 );
    std::memcpy( rBytes.data(), &aHead, sizeof( aHead ) );
}

// The sums of a key and of those below it; of the rest, when something reaches too far.
void SumKey( Bytes& rBytes, ULONGLONG ullKey, size_t nDepth )
{
    const ULONGLONG ullRoom = rBytes.size() - ullKey;
    RegKeyHead aHead;
    if ( nDepth > 8 || ullRoom < sizeof( aHead ) )
        return;
    BYTE* const pKey = rBytes.data() + ullKey;
    std::memcpy( &aHead, pKey, sizeof( aHead ) );
    if ( aHead.dwBlockSize < sizeof( aHead ) || aHead.dwBlockSize > ullRoom )
        return;
    ULONGLONG ullPlace = sizeof( aHead );
    for ( DWORD i = 0; i < aHead.dwChildren && ullPlace + sizeof( RegChildEntry ) <= aHead.dwBlockSize; ++i )
    {
        RegChildEntry aEntry;
        std::memcpy( &aEntry, pKey + ullPlace, sizeof( aEntry ) );
        if ( aEntry.ullOffset >= sizeof( aHead ) && aEntry.ullOffset < ullRoom )
            SumKey( rBytes, ullKey + aEntry.ullOffset, nDepth + 1 );
        ullPlace += sizeof( aEntry );
    }
    for ( DWORD i = 0; i < aHead.dwValues && ullPlace + sizeof( RegValueEntry ) <= aHead.dwBlockSize; ++i )
    {
        RegValueEntry aEntry;
        std::memcpy( &aEntry, pKey + ullPlace, sizeof( aEntry ) );
        if ( aEntry.ullOffset <= ullRoom && aEntry.dwSize <= ullRoom - aEntry.ullOffset )
            aEntry.ullChecksum = ChecksumOfReg( pKey + aEntry.ullOffset, aEntry.dwSize );
        std::memcpy( pKey + ullPlace, &aEntry, sizeof( aEntry ) );
        ullPlace += sizeof( aEntry );
    }
    aHead.ullChecksum = ChecksumOfReg( pKey + 8, aHead.dwBlockSize - 8 );
    std::memcpy( pKey, &aHead, 8 );
}

LONG Adopt( const Bytes& rBytes, RegImageUse& rImage )
{
    auto pBytes = std::make_unique<BYTE[]>( rBytes.size() );
    std::copy( rBytes.begin(), rBytes.end(), pBytes.get() );
    RegImage* pImage = nullptr;
    const LONG lError = RegImage::Adopt( std::move( pBytes ), rBytes.size(), pImage );
    rImage.Set( pImage );
    return lError;
}

// Sees every byte, as a reader does. Result: whether all of it was good, and what is listed was found by its name.
bool ReadWhole( const RegKeyView& aKey, size_t nDepth )
{
    bool fGood = nDepth <= DEEPEST_KEY;
    volatile size_t nSeen = 0;
    for ( const std::string_view aText : { aKey.GetName(), aKey.GetClassName(), aKey.GetSecurity() } )
        nSeen = nSeen + std::string( aText ).size();
    RegValueView aValue{};
    for ( size_t i = 0; i < aKey.GetHead().dwValues; ++i )
    {
        RegValueView aFound{};
        fGood = aKey.FindValue( aKey.GetValueName( i ), aFound ) == ERROR_SUCCESS &&
                aFound.pEntry == aKey.GetValueEntries() + i && fGood;
        if ( aKey.GetValue( i, aValue ) == ERROR_SUCCESS )
            nSeen = nSeen + std::string( aValue.aName ).size() +
                    Bytes( aValue.pData, aValue.pData + aValue.dwSize ).size();
        else
            fGood = false;
    }
    for ( size_t i = 0; i < aKey.GetHead().dwChildren && nDepth <= DEEPEST_KEY; ++i )
    {
        RegKeyView aChild;
        RegKeyView aFound;
        if ( aKey.GetChild( i, aChild ) != ERROR_SUCCESS )
        {
            fGood = false;
            continue;
        }
        fGood = aKey.FindChild( aChild.GetName(), aFound ) == ERROR_SUCCESS &&
                aFound.GetBytes() == aChild.GetBytes() && fGood;
        fGood = ReadWhole( aChild, nDepth + 1 ) && fGood;
    }
    return fGood;
}

// What a tree is written as is good to the end.
void WriteTree( RegTree& rTree, RegTreeKey& rKey, RegImageUse& rWritten )
{
    RegImageWriter aWriter;
    Require( aWriter.PlanKey( rTree, rKey ) == ERROR_SUCCESS );
    Bytes aBytes( aWriter.GetSize() );
    aWriter.CopyTo( aBytes.data() );
    Require( Adopt( aBytes, rWritten ) == ERROR_SUCCESS && rWritten.Get()->CheckAll() == ERROR_SUCCESS );
}

void Change( const RegImage& rImage )
{
    RegTree aTree;
    Require( aTree.Load( rImage ) == ERROR_SUCCESS );
    RegTreeKey& rRoot = aTree.GetRoot();
    aTree.SetValue( rRoot, "set", REG_BINARY, REG_IMAGE_MARK, sizeof( REG_IMAGE_MARK ) );
    if ( rRoot.aValues.size() > 1 )
        rRoot.aValues.front().fDeleted = true;
    if ( !rRoot.aChildren.empty() )
    {
        const std::string strFirst( rRoot.aChildren.front().GetName() );
        if ( const RegTreeKey* const pFirst = aTree.FindChild( rRoot, strFirst ) )
            aTree.RemoveChild( rRoot, *pFirst );
    }
    if ( aTree.FindChild( rRoot, "made" ) == nullptr )
        aTree.AddChild( rRoot, "made", "class", KEY_IS_VOLATILE );
    RegImageUse aWritten;
    WriteTree( aTree, rRoot, aWritten );
}

// As a key is saved.
void Copy( const RegImage& rImage )
{
    RegKeyView aRoot;
    Require( rImage.GetRoot( aRoot ) == ERROR_SUCCESS );
    RegTree aTree;
    aTree.Graft( aTree.GetRoot(), aRoot, 0 );
    RegImageUse aWritten;
    WriteTree( aTree, aTree.GetRoot(), aWritten );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    if ( nBytes == 0 )
        return 0;
    Bytes aBytes( pBytes + 1, pBytes + nBytes );
    if ( pBytes[0] % 2 != 0 && aBytes.size() >= sizeof( RegImageHead ) )
    {
        SumHead( aBytes );
        SumKey( aBytes, sizeof( RegImageHead ), 0 );
    }
    RegImageUse aImage;
    if ( const LONG lError = Adopt( aBytes, aImage ) )
    {
        Require( lError == ERROR_REGISTRY_CORRUPT );
        return 0;
    }
    RegKeyView aRoot;
    Require( aImage.Get()->GetRoot( aRoot ) == ERROR_SUCCESS );
    const bool fReadable = ReadWhole( aRoot, 0 );
    // The check also refuses names that nobody can ask for, or out of their order.
    const bool fGood = aImage.Get()->CheckAll() == ERROR_SUCCESS;
    Require( fReadable || !fGood );
    if ( fGood )
    {
        Change( *aImage.Get() );
        Copy( *aImage.Get() );
    }
    return 0;
}
