// The registry's files: damaged ones, hostile ones, and those that keys are saved to.

#include "platform/registry/regname.h"
#include "platform/registry/regstore.h"
#include "platform/registrysupport.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace
{
// All that a reader can see below a key. Result: whether all of it is good.
bool Show( const RegKeyView& aKey, const std::string& strIndent, std::ostream& rShown )
{
    rShown << strIndent << aKey.GetName() << '|' << aKey.GetClassName() << '|' << aKey.GetSecurity() << '|'
           << aKey.GetHead().ullId << '\n';
    for ( size_t i = 0; i < aKey.GetHead().dwValues; ++i )
    {
        RegValueView aValue{};
        RegValueView aFound{};
        if ( aKey.GetValue( i, aValue ) != 0 || aKey.FindValue( aValue.aName, aFound ) != 0 )
            return false;
        rShown << strIndent << aValue.aName << '=' << aValue.dwType << ':'
               << std::string_view( reinterpret_cast<const char*>( aValue.pData ), aValue.dwSize ) << '\n';
    }
    for ( size_t i = 0; i < aKey.GetHead().dwChildren; ++i )
    {
        RegKeyView aChild;
        RegKeyView aFound;
        if ( aKey.GetChild( i, aChild ) != 0 || aKey.FindChild( aChild.GetName(), aFound ) != 0 ||
             !Show( aChild, strIndent + " ", rShown ) )
            return false;
    }
    return true;
}

// Or "damaged".
std::string ShownImage( const std::string& strBytes )
{
    auto pBytes = std::make_unique<BYTE[]>( strBytes.size() );
    std::memcpy( pBytes.get(), strBytes.data(), strBytes.size() );
    RegImage* pImage = nullptr;
    if ( RegImage::Adopt( std::move( pBytes ), strBytes.size(), pImage ) != 0 )
        return "damaged";
    RegImageUse aUse;
    aUse.Set( pImage );
    RegKeyView aRoot;
    std::ostringstream aShown;
    return pImage->GetRoot( aRoot ) == 0 && Show( aRoot, "", aShown ) ? aShown.str() : "damaged";
}

void SumUp( RegImageHead& rHead )
{
    rHead.ullChecksum = ChecksumOfReg( reinterpret_cast<const BYTE*>( &rHead ) + 16, sizeof( rHead ) - 16 );
}

// Two keys below the root, and two values, put together from the parts that the description of the format names.
struct HandWritten
{
    struct Key
    {
        RegKeyHead aHead{};
        char szName[8] = "";
    };

    RegImageHead aHead{};
    RegKeyHead aRoot{};
    RegChildEntry aChildren[2]{};
    RegValueEntry aValues[2]{};
    union
    {
        char szNames[8] = "Val";
        RegSlot aSlots[2];
    };
    char szData[8] = "data";
    Key aKeys[2];

    HandWritten()
    {
        const DWORD dwBlock = offsetof( HandWritten, szData ) - offsetof( HandWritten, aRoot );
        std::copy_n( REG_IMAGE_MARK, sizeof( REG_IMAGE_MARK ), aHead.aMark );
        aHead.ullFileSize = sizeof( *this );
        aHead.ullNextId = 9;
        aHead.dwVersion = 1;
        aRoot.ullSize = sizeof( *this ) - sizeof( aHead );
        aRoot.ullId = 1;
        aRoot.dwBlockSize = dwBlock;
        aRoot.dwChildren = aRoot.dwValues = 2;
        aValues[0] = {
            dwBlock, ChecksumOfReg( reinterpret_cast<BYTE*>( szData ), 4 ), 4, 3, HashRegName( "VAL" ), 0, 3,
            0
        };
        aValues[1] = { dwBlock + 8, 0, 0, 1, HashRegName( "" ), 3, 0, 0 };
        Name( 0, "One" );
        Name( 1, "tWo" );
    }
    void Name( size_t i, std::string_view aName )
    {
        const size_t nOffset = offsetof( HandWritten, aKeys ) - offsetof( HandWritten, aRoot );
        aChildren[i] = { nOffset + i * sizeof( Key ), sizeof( Key ), HashRegName( aName ), 0 };
        aKeys[i].aHead.ullSize = aKeys[i].aHead.dwBlockSize = sizeof( Key );
        aKeys[i].aHead.ullId = 2 + i;
        aKeys[i].aHead.dwNameSize = static_cast<DWORD>( aName.size() );
        aName.copy( aKeys[i].szName, sizeof( aKeys[i].szName ) );
    }
    // With the right sums.
    std::string Bytes()
    {
        const auto SumUpBlock = []( RegKeyHead& rHead, size_t nSize )
        { rHead.ullChecksum = ChecksumOfReg( reinterpret_cast<BYTE*>( &rHead ) + 8, nSize - 8 ); };
        SumUpBlock( aRoot, offsetof( HandWritten, szData ) - offsetof( HandWritten, aRoot ) );
        for ( Key& rKey : aKeys )
            SumUpBlock( rKey.aHead, sizeof( Key ) );
        SumUp( aHead );
        return { reinterpret_cast<const char*>( this ), sizeof( *this ) };
    }
};

using Spoil = void ( * )( HandWritten& );

// A store with a bit of everything.
std::string MakeSmallStore()
{
    const TestKey aKey( "Software\\Small" );
    SetBytes( aKey, "", "default", REG_SZ );
    for ( int i = 0; i < 10; ++i )
    {
        SetBytes( aKey, ( "value" + std::to_string( i ) ).c_str(),
                  std::string( static_cast<size_t>( i ) * 9, 'd' ) );
        const TestKey aChild( "Child" + std::to_string( i ), 0, aKey );
    }
    return ReadBytes( StoreFile( ".bxreg" ) );
}

// As an administrator would put a file there.
void PutImage( const std::string& strBytes )
{
    WriteBytes( StoreFile( ".put" ), strBytes );
    std::filesystem::rename( StoreFile( ".put" ), StoreFile( ".bxreg" ) );
    ForgetRegistryForTest();
}
} // namespace

TEST( RegImage, HandWrittenIsReadAndWritten )
{
    const std::string strBytes = HandWritten().Bytes();
    EXPECT_EQ( "|||1\nVal=3:data\n=1:\n One|||2\n tWo|||3\n", ShownImage( strBytes ) );
    PutImage( strBytes );
    EXPECT_EQ( "data", GetBytes( HKEY_LOCAL_MACHINE, "vAL" ) );
    EXPECT_EQ( 0, OpenError( "TWO" ) );
    const TestKey aNew( "tz" );
    EXPECT_EQ( "|||1\nVal=3:data\n=1:\n One|||2\n tWo|||3\n tz|||9\n",
               ShownImage( ReadBytes( StoreFile( ".bxreg" ) ) ) );
    EXPECT_TRUE( strBytes == ReadBytes( StoreFile( ".previous" ) ) );
}

// Sums that are right do not make nonsense good.
TEST( RegImage, NonsenseIsDamage )
{
    const Spoil aSpoils[] = {
        []( HandWritten& r ) { r.aHead.dwVersion = 2; },
        []( HandWritten& r ) { r.aHead.ullFileSize += 8; },
        []( HandWritten& r ) { r.aRoot.ullSize += 8; },
        []( HandWritten& r ) { r.aRoot.dwBlockSize = 0; },
        []( HandWritten& r ) { r.aRoot.dwBlockSize = 0xFFFFFFF8u; },
        []( HandWritten& r ) { r.aRoot.dwChildren = 0xFFFFFFFFu; },
        []( HandWritten& r ) { r.aRoot.dwValues = 0xFFFFFFFFu; },
        []( HandWritten& r ) { r.aRoot.dwNameSize = 256; },
        []( HandWritten& r ) { r.aRoot.dwClassSize = 0xFFFFFFF0u; },
        []( HandWritten& r ) { r.aRoot.dwChildSlots = 3; },
        // Slots without an empty one, and one that leads nowhere: they take the place of the names.
        []( HandWritten& r ) { r.aRoot.dwChildSlots = 1, r.aSlots[0] = 1; },
        []( HandWritten& r ) { r.aRoot.dwValueSlots = 2, r.aSlots[0] = 7; },
        // The same bytes twice, the key itself, and beyond the end.
        []( HandWritten& r ) { r.aChildren[1].ullOffset = r.aChildren[0].ullOffset; },
        []( HandWritten& r ) { r.aChildren[0].ullOffset = 0; },
        []( HandWritten& r ) { r.aChildren[1].ullSize = ~7ull; },
        []( HandWritten& r ) { r.aChildren[1].ullOffset = ~7ull; },
        []( HandWritten& r ) { r.aValues[0].ullOffset = 0; },
        []( HandWritten& r ) { r.aValues[0].dwSize = 0xFFFFFFFFu; },
        []( HandWritten& r ) { r.aValues[0].ullChecksum ^= 1; },
        []( HandWritten& r ) { r.aValues[1].dwNameOffset = 0xFFFFFFFFu; },
        []( HandWritten& r ) { r.aValues[1].dwNameSize = 9; },
    };
    for ( size_t i = 0; i < std::size( aSpoils ); ++i )
    {
        HandWritten aImage;
        aSpoils[i]( aImage );
        EXPECT_EQ( "damaged", ShownImage( aImage.Bytes() ) ) << "spoil " << i;
    }
}

TEST( RegImage, DamageIsFoundAndNotOverwritten )
{
    const std::string strBytes = MakeSmallStore();
    const std::string strShown = ShownImage( strBytes );
    ASSERT_NE( "damaged", strShown );
    size_t nHarmless = 0;
    for ( size_t i = 0; i < strBytes.size(); ++i )
    {
        for ( const char cFlip : { '\x01', '\x80', '\xFF' } )
        {
            std::string strFlipped = strBytes;
            strFlipped[i] = static_cast<char>( strFlipped[i] ^ cFlip );
            const std::string strNow = ShownImage( strFlipped );
            ASSERT_TRUE( strNow == "damaged" || strNow == strShown ) << "byte " << i;
            nHarmless += strNow == strShown ? 1 : 0;
        }
        ASSERT_EQ( "damaged", ShownImage( strBytes.substr( 0, i ) ) ) << "length " << i;
    }
    // Only what fills up to a multiple of eight means nothing.
    EXPECT_LT( nHarmless, 3u * 8 * 12 );

    for ( size_t i = 0; i < strBytes.size(); i += 61 )
    {
        std::string strFlipped = strBytes;
        strFlipped[i] = static_cast<char>( strFlipped[i] ^ 0x10 );
        if ( ShownImage( strFlipped ) != "damaged" )
            continue;
        PutImage( strFlipped );
        ASSERT_EQ( 1015, SetBytes( HKEY_LOCAL_MACHINE, "n", "x" ) ) << "byte " << i;
        ASSERT_TRUE( strFlipped == ReadBytes( StoreFile( ".bxreg" ) ) );
    }
    PutImage( "" );
    EXPECT_EQ( 1015, OpenError( "Software" ) );
    PutImage( strBytes );
    EXPECT_EQ( "default", GetBytes( TestKey( "Software\\Small" ), "" ).substr( 0, 7 ) );
}

TEST( RegImage, PassingKeysGoWithTheMachinesStart )
{
    const TestKey aPassing( "Passing", REG_OPTION_VOLATILE );
    EXPECT_EQ( 1021, TestKey( "Passing\\Kept" ).lError );
    EXPECT_EQ( 0, TestKey( "Passing\\Too", REG_OPTION_VOLATILE ).lError );
    const TestKey aKept( "Stays\\Here" );
    const TestKey aBelow( "Stays\\Here\\Passing", REG_OPTION_VOLATILE );
    ForgetRegistryForTest();
    EXPECT_EQ( 0, OpenError( "Passing\\Too" ) );
    std::string strBytes = ReadBytes( StoreFile( ".bxreg" ) );
    auto& rHead = *reinterpret_cast<RegImageHead*>( strBytes.data() );
    rHead.aBoot[3] ^= 1;
    SumUp( rHead );
    PutImage( strBytes );
    EXPECT_EQ( 2, OpenError( "Passing" ) );
    EXPECT_EQ( 2, OpenError( "Stays\\Here\\Passing" ) );
    EXPECT_EQ( 0u, CountKeys( TestKey( "Stays\\Here" ) ) );
    EXPECT_TRUE( strBytes == ReadBytes( StoreFile( ".bxreg" ) ) );
    EXPECT_EQ( 0, SetBytes( TestKey( "Stays" ), "n", "1" ) );
    EXPECT_EQ( std::string::npos, ShownImage( ReadBytes( StoreFile( ".bxreg" ) ) ).find( "Passing" ) );
}

// Good sums, and names that would not be found, could not be deleted, or stand for two keys: no tree is made of them.
TEST( RegImage, NamesAreChecked )
{
    const Spoil aSpoils[] = {
        []( HandWritten& r ) { r.Name( 0, "Zne" ); },
        []( HandWritten& r ) { r.Name( 1, "oNe" ); },
        []( HandWritten& r ) { r.Name( 0, "" ); },
        []( HandWritten& r ) { r.Name( 0, "O\\e" ); },
        []( HandWritten& r ) {
            r.Name( 0, { "O\0e", 3 } );
        },
        []( HandWritten& r ) { r.aChildren[0].dwHash ^= 1; },
        []( HandWritten& r ) { r.aValues[0].dwHash ^= 1; },
        []( HandWritten& r ) { r.aValues[0].dwNameSize = 0, r.aValues[0].dwHash = r.aValues[1].dwHash; },
        []( HandWritten& r ) { r.aHead.ullNextId = 1; },
        []( HandWritten& r ) { r.aHead.ullSequence = 1ull << 62; },
    };
    for ( size_t i = 0; i < std::size( aSpoils ); ++i )
    {
        for ( const DWORD dwFlags : { DWORD{ 0 }, DWORD{ IMAGE_HAS_PASSING_KEYS } } )
        {
            HandWritten aImage;
            aSpoils[i]( aImage );
            aImage.aHead.dwFlags = dwFlags;
            PutImage( aImage.Bytes() );
            EXPECT_EQ( 1015, TestKey( "Named" ).lError ) << "spoil " << i;
        }
    }
    PutImage( HandWritten().Bytes() );
    EXPECT_EQ( 0, TestKey( "Named" ).lError );
}

TEST( RegImage, SavedKeysComeBack )
{
    const ScratchFolder aFolder;
    const std::string strSaved = aFolder.Path( "saved" );
    char szClass[] = "of eleven c";
    TestKey aMade;
    ASSERT_EQ( 0, RegCreateKeyExA( HKEY_CURRENT_USER, "Made", 0, szClass, 0, KEY_ALL_ACCESS, NULL,
                                   &aMade.hKey, NULL ) );
    ASSERT_EQ( 0, RegSaveKeyA( aMade, strSaved.c_str(), NULL ) );
    ASSERT_EQ( 0, RegLoadKeyA( HKEY_LOCAL_MACHINE, "Classed", strSaved.c_str() ) );
    DWORD dwLongest = 0;
    EXPECT_EQ( 0, RegQueryInfoKeyA( HKEY_LOCAL_MACHINE, NULL, NULL, NULL, NULL, NULL, &dwLongest, NULL, NULL,
                                    NULL, NULL, NULL ) );
    EXPECT_EQ( 11u, dwLongest );
    std::filesystem::remove( strSaved );
    MakeSmallStore();
    const TestKey aKey( "Software\\Small" );
    ASSERT_EQ( 0, RegSaveKeyA( aKey, strSaved.c_str(), NULL ) );
    EXPECT_EQ( 183, RegSaveKeyA( aKey, strSaved.c_str(), NULL ) );

    ASSERT_EQ( 0, RegLoadKeyA( HKEY_LOCAL_MACHINE, "Loaded", strSaved.c_str() ) );
    EXPECT_EQ( "dddddddddddddddddd", GetBytes( TestKey( "Loaded" ), "value2" ) );
    EXPECT_EQ( 10u, CountKeys( TestKey( "Loaded" ) ) );
    EXPECT_EQ( 5, RegLoadKeyA( HKEY_LOCAL_MACHINE, "Loaded", strSaved.c_str() ) );
    EXPECT_EQ( 87, RegUnLoadKeyA( HKEY_LOCAL_MACHINE, "Software" ) );
    EXPECT_EQ( 0, RegUnLoadKeyA( HKEY_LOCAL_MACHINE, "Loaded" ) );
    EXPECT_EQ( 2, OpenError( "Loaded" ) );

    const TestKey aTarget( "Target" );
    const TestKey aBelow( "Target\\Below" );
    EXPECT_EQ( 0, RegRestoreKeyA( aTarget, strSaved.c_str(), 0 ) );
    EXPECT_EQ( 10u, CountKeys( aTarget ) );
    EXPECT_EQ( "error 1018", GetBytes( aBelow, "n" ) );
    EXPECT_EQ( 0, SetBytes( aTarget, "value2", "new" ) );
    EXPECT_EQ(
        0, RegReplaceKeyA( HKEY_LOCAL_MACHINE, "Target", strSaved.c_str(), aFolder.Path( "old" ).c_str() ) );
    EXPECT_EQ( "dddddddddddddddddd", GetBytes( aTarget, "value2" ) );
    EXPECT_EQ( 0, RegRestoreKeyA( aTarget, aFolder.Path( "old" ).c_str(), 0 ) );
    EXPECT_EQ( "new", GetBytes( aTarget, "value2" ) );

    std::string strBytes = ReadBytes( strSaved );
    strBytes[strBytes.size() / 2] ^= 1;
    for ( const std::string& strBad : { std::string(), std::string( "text" ), strBytes } )
    {
        WriteBytes( strSaved, strBad );
        EXPECT_EQ( 1017, RegRestoreKeyA( aTarget, strSaved.c_str(), 0 ) );
        EXPECT_EQ( 1017, RegLoadKeyA( HKEY_LOCAL_MACHINE, "Bad", strSaved.c_str() ) );
    }
    EXPECT_EQ( "new", GetBytes( aTarget, "value2" ) );
}

TEST( RegImage, SecurityIsKeptAsItIs )
{
    const TestKey aKey( "Secured" );
    // Owner S-1-5-18 behind the head, a list of 8 bytes behind it.
    std::string strGiven( 20 + 12 + 8, '\0' );
    strGiven[0] = 1, strGiven[3] = '\x80', strGiven[4] = 20, strGiven[16] = 32;
    strGiven[20] = 1, strGiven[21] = 1, strGiven[27] = 5, strGiven[28] = 18;
    strGiven[32] = 2, strGiven[34] = 8;
    EXPECT_EQ( 0, RegSetKeySecurity( aKey, DACL_SECURITY_INFORMATION, strGiven.data() ) );
    std::string strBack( 100, 'x' );
    DWORD dwSize = 100;
    EXPECT_EQ( 0, RegGetKeySecurity( aKey, DACL_SECURITY_INFORMATION, strBack.data(), &dwSize ) );
    EXPECT_EQ( strGiven, strBack.substr( 0, dwSize ) );
    constexpr std::pair<size_t, char> CHANGES[] = { { 0, 2 },   { 3, 0 },  { 4, 19 },     { 6, 1 },
                                                    { 21, 16 }, { 34, 7 }, { 19, '\x7F' } };
    for ( const auto& [nPlace, cByte] : CHANGES )
    {
        std::string strBad = strGiven;
        strBad[nPlace] = cByte;
        EXPECT_EQ( 1338, RegSetKeySecurity( aKey, DACL_SECURITY_INFORMATION, strBad.data() ) ) << nPlace;
    }
}
