// The registry's files: damaged ones, hostile ones, and those that keys are saved to.

#include "platform/registry/regname.h"
#include "platform/registry/regstore.h"
#include "platform/registrysupport.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

namespace
{
std::string ImageFile()
{
    return std::string( std::getenv( "BXTOOLS_STATE_DIR" ) ) + "/local_machine.bxreg";
}

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

template <class Part>
Part& PartAt( std::string& strBytes, size_t nOffset )
{
    return *reinterpret_cast<Part*>( strBytes.data() + nOffset );
}

constexpr size_t ROOT = sizeof( RegImageHead );

// Where WrittenByHand puts the parts: its sizes are those of the root's block and of each child.
constexpr DWORD CHILD = 152 + 8;
constexpr DWORD BLOCK = 152 + 2 * 24 + 2 * 40 + 8;
constexpr size_t CHILDREN = ROOT + BLOCK + 8;

RegImageHead& Head( std::string& rBytes )
{
    return PartAt<RegImageHead>( rBytes, 0 );
}

RegKeyHead& Root( std::string& rBytes )
{
    return PartAt<RegKeyHead>( rBytes, ROOT );
}

RegChildEntry& Child( std::string& rBytes, size_t i )
{
    return PartAt<RegChildEntry>( rBytes, ROOT + 152 + 24 * i );
}

RegValueEntry& Value( std::string& rBytes, size_t i )
{
    return PartAt<RegValueEntry>( rBytes, ROOT + 200 + 40 * i );
}

using Spoil = void ( * )( std::string& );

// Makes the sums of the file's head and of the block at an offset right again.
void SumAgain( std::string& strBytes, size_t nBlock = ROOT )
{
    BYTE* const pBytes = reinterpret_cast<BYTE*>( strBytes.data() );
    RegKeyHead& rKey = PartAt<RegKeyHead>( strBytes, nBlock );
    if ( nBlock + rKey.dwBlockSize <= strBytes.size() && rKey.dwBlockSize >= 8 )
        rKey.ullChecksum = ChecksumOfReg( pBytes + nBlock + 8, rKey.dwBlockSize - 8 );
    Head( strBytes ).ullChecksum = ChecksumOfReg( pBytes + 16, sizeof( RegImageHead ) - 16 );
}

// Two keys below the root, and two values, put together from the parts that the description of the format names.
std::string WrittenByHand()
{
    std::string strBytes( CHILDREN + 2 * CHILD, '\0' );
    RegImageHead& rHead = Head( strBytes );
    std::memcpy( rHead.aMark, REG_IMAGE_MARK, sizeof( rHead.aMark ) );
    rHead.ullFileSize = strBytes.size();
    rHead.ullNextId = 9;
    rHead.dwVersion = 1;
    RegKeyHead& rRoot = Root( strBytes );
    rRoot.ullSize = strBytes.size() - ROOT;
    rRoot.ullId = 1;
    rRoot.dwBlockSize = BLOCK;
    rRoot.dwChildren = rRoot.dwValues = 2;
    const char* const apNames[] = { "One", "tWo" };
    for ( DWORD i = 0; i < 2; ++i )
    {
        const size_t nChild = CHILDREN + CHILD * i;
        Child( strBytes, i ) = { nChild - ROOT, CHILD, HashRegName( apNames[i] ), 0 };
        RegKeyHead& rChild = PartAt<RegKeyHead>( strBytes, nChild );
        rChild.ullSize = rChild.dwBlockSize = CHILD;
        rChild.ullId = 2 + i;
        rChild.dwNameSize = 3;
        std::memcpy( strBytes.data() + nChild + 152, apNames[i], 3 );
        SumAgain( strBytes, nChild );
    }
    const BYTE* const pData = reinterpret_cast<const BYTE*>( "data" );
    Value( strBytes, 0 ) = { BLOCK, ChecksumOfReg( pData, 4 ), 4, 3, HashRegName( "VAL" ), 0, 3, 0 };
    Value( strBytes, 1 ) = { BLOCK + 8, 0, 0, 1, HashRegName( "" ), 3, 0, 0 };
    std::memcpy( strBytes.data() + ROOT + 280, "Val", 3 );
    std::memcpy( strBytes.data() + ROOT + BLOCK, "data", 4 );
    SumAgain( strBytes );
    return strBytes;
}

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
    return ReadBytes( ImageFile() );
}

// As an administrator would put a file there.
void PutImage( const std::string& strBytes )
{
    WriteBytes( ImageFile() + ".put", strBytes );
    std::filesystem::rename( ImageFile() + ".put", ImageFile() );
    ForgetRegistryForTest();
}
} // namespace

TEST( RegImage, HandWrittenIsReadAndWritten )
{
    const std::string strBytes = WrittenByHand();
    EXPECT_EQ( "|||1\nVal=3:data\n=1:\n One|||2\n tWo|||3\n", ShownImage( strBytes ) );
    PutImage( strBytes );
    EXPECT_EQ( "data", GetBytes( HKEY_LOCAL_MACHINE, "vAL" ) );
    EXPECT_EQ( 0, OpenError( "TWO" ) );
    const TestKey aNew( "tz" );
    EXPECT_EQ( "|||1\nVal=3:data\n=1:\n One|||2\n tWo|||3\n tz|||9\n",
               ShownImage( ReadBytes( ImageFile() ) ) );
    EXPECT_TRUE( strBytes == ReadBytes( ImageFile().substr( 0, ImageFile().size() - 6 ) + ".previous" ) );
}

// Sums that are right do not make nonsense good.
TEST( RegImage, NonsenseIsDamage )
{
    const Spoil aSpoils[] = {
        []( std::string& r ) { Head( r ).dwVersion = 2; },
        []( std::string& r ) { Head( r ).ullFileSize += 8; },
        []( std::string& r ) { Root( r ).ullSize += 8; },
        []( std::string& r ) { Root( r ).dwBlockSize = 0; },
        []( std::string& r ) { Root( r ).dwBlockSize = 0xFFFFFFF8u; },
        []( std::string& r ) { Root( r ).dwChildren = 0xFFFFFFFFu; },
        []( std::string& r ) { Root( r ).dwValues = 0xFFFFFFFFu; },
        []( std::string& r ) { Root( r ).dwNameSize = 256; },
        []( std::string& r ) { Root( r ).dwClassSize = 0xFFFFFFF0u; },
        []( std::string& r ) { Root( r ).dwChildSlots = 3; },
        // Slots without an empty one, and one that leads nowhere: they take the place of the names.
        []( std::string& r ) { Root( r ).dwChildSlots = 1, PartAt<DWORD>( r, ROOT + 280 ) = 1; },
        []( std::string& r ) { Root( r ).dwValueSlots = 2, PartAt<DWORD>( r, ROOT + 280 ) = 7; },
        // The same bytes twice, the key itself, and beyond the end.
        []( std::string& r ) { Child( r, 1 ).ullOffset = Child( r, 0 ).ullOffset; },
        []( std::string& r ) { Child( r, 0 ).ullOffset = 0; },
        []( std::string& r ) { Child( r, 1 ).ullSize = ~7ull; },
        []( std::string& r ) { Child( r, 1 ).ullOffset = ~7ull; },
        []( std::string& r ) { Value( r, 0 ).ullOffset = 0; },
        []( std::string& r ) { Value( r, 0 ).dwSize = 0xFFFFFFFFu; },
        []( std::string& r ) { Value( r, 0 ).ullChecksum ^= 1; },
        []( std::string& r ) { Value( r, 1 ).dwNameOffset = 0xFFFFFFFFu; },
        []( std::string& r ) { Value( r, 1 ).dwNameSize = 9; },
    };
    for ( size_t i = 0; i < std::size( aSpoils ); ++i )
    {
        std::string strBytes = WrittenByHand();
        aSpoils[i]( strBytes );
        SumAgain( strBytes );
        EXPECT_EQ( "damaged", ShownImage( strBytes ) ) << "spoil " << i;
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
        ASSERT_TRUE( strFlipped == ReadBytes( ImageFile() ) );
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
    std::string strBytes = ReadBytes( ImageFile() );
    Head( strBytes ).aBoot[3] ^= 1;
    SumAgain( strBytes );
    PutImage( strBytes );
    EXPECT_EQ( 2, OpenError( "Passing" ) );
    EXPECT_EQ( 2, OpenError( "Stays\\Here\\Passing" ) );
    EXPECT_EQ( 0u, CountKeys( TestKey( "Stays\\Here" ) ) );
    EXPECT_TRUE( strBytes == ReadBytes( ImageFile() ) );
    EXPECT_EQ( 0, SetBytes( TestKey( "Stays" ), "n", "1" ) );
    EXPECT_EQ( std::string::npos, ShownImage( ReadBytes( ImageFile() ) ).find( "Passing" ) );
}

// Good sums, and names that would not be found, could not be deleted, or stand for two keys: no tree is made of them.
TEST( RegImage, NamesAreChecked )
{
    static const auto Rename = []( std::string& r, size_t nChild, const std::string& strName )
    {
        const size_t nBlock = CHILDREN + nChild * CHILD;
        Child( r, nChild ).dwHash = HashRegName( strName );
        PartAt<RegKeyHead>( r, nBlock ).dwNameSize = static_cast<DWORD>( strName.size() );
        r.replace( nBlock + 152, strName.size(), strName );
        SumAgain( r, nBlock );
    };
    const Spoil aSpoils[] = {
        []( std::string& r ) { Rename( r, 0, "Zne" ); },
        []( std::string& r ) { Rename( r, 1, "oNe" ); },
        []( std::string& r ) { Rename( r, 0, "" ); },
        []( std::string& r ) { Rename( r, 0, "O\\e" ); },
        []( std::string& r ) { Rename( r, 0, std::string( "O\0e", 3 ) ); },
        []( std::string& r ) { Child( r, 0 ).dwHash ^= 1; },
        []( std::string& r ) { Value( r, 0 ).dwHash ^= 1; },
        []( std::string& r ) { Value( r, 0 ).dwNameSize = 0, r[ROOT + 224] = r[ROOT + 264]; },
        []( std::string& r ) { Head( r ).ullNextId = 1; },
        []( std::string& r ) { Head( r ).ullSequence = 1ull << 62; },
    };
    for ( size_t i = 0; i < std::size( aSpoils ); ++i )
    {
        for ( const DWORD dwFlags : { DWORD{ 0 }, DWORD{ IMAGE_HAS_PASSING_KEYS } } )
        {
            std::string strBytes = WrittenByHand();
            aSpoils[i]( strBytes );
            Head( strBytes ).dwFlags = dwFlags;
            SumAgain( strBytes );
            PutImage( strBytes );
            EXPECT_EQ( 1015, TestKey( "Named" ).lError ) << "spoil " << i;
        }
    }
    PutImage( WrittenByHand() );
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
    EXPECT_EQ( 2, RegRestoreKeyA( aTarget, aFolder.Path( "missing" ).c_str(), 0 ) );
}

TEST( RegImage, SecurityIsKeptAsItIs )
{
    const TestKey aKey( "Secured" );
    DWORD dwSize = 0;
    EXPECT_EQ( 122, RegGetKeySecurity( aKey, OWNER_SECURITY_INFORMATION, NULL, &dwSize ) );
    EXPECT_EQ( 20u, dwSize );
    // Owner S-1-5-18 behind the head, a list of 8 bytes behind it.
    std::string strGiven( 20 + 12 + 8, '\0' );
    strGiven[0] = 1, strGiven[3] = '\x80', strGiven[4] = 20, strGiven[16] = 32;
    strGiven[20] = 1, strGiven[21] = 1, strGiven[27] = 5, strGiven[28] = 18;
    strGiven[32] = 2, strGiven[34] = 8;
    EXPECT_EQ( 0, RegSetKeySecurity( aKey, DACL_SECURITY_INFORMATION, strGiven.data() ) );
    std::string strBack( 100, 'x' );
    dwSize = 100;
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
