// CRegistry against the system's registry, in a key of each test's own.
#include "config/registrytest.h"

using namespace std::string_literals;

TEST( StringArray, KeepsTheOrderHoweverItIsRead )
{
    Texts aArray( { "a", "", "bc", NULL } );
    EXPECT_EQ( "a||bc||", Shown( aArray ) );
    for ( const int nIndex : { 2, 0, 1, 2, 3 } )
        EXPECT_STREQ( nIndex == 0 ? "a" : nIndex == 2 ? "bc" : "", aArray.GetAt( nIndex ) );
    aArray.Add( "d" );
    EXPECT_EQ( "d", aArray.GetAt( 4 ) );
    EXPECT_EQ( "", aArray.GetAt( 5 ) );
    EXPECT_EQ( "", aArray.GetAt( -1 ) );
    EXPECT_EQ( "a", aArray.GetAt( 0 ) );
    aArray.RemoveAll();
    EXPECT_EQ( 0, aArray.GetSize() );
    EXPECT_EQ( "", MStringArray().GetAt( 0 ) );
}

TEST_F( Registry, TypedValuesComeBackAsTheyWereStored )
{
    EXPECT_TRUE( SetValue( "text", MString( "C:\\data \xC3\xA4" ) ) );
    EXPECT_EQ( "C:\\data \xC3\xA4", Read( "TEXT", MString() ) );
    EXPECT_EQ( "1:C:\\data \xC3\xA4\0"s, Raw( "text" ) );
    EXPECT_TRUE( SetValue( "number", 0x81020304u ) );
    EXPECT_EQ( Shown( 0x81020304u ), Read( "number", DWORD( 0 ) ) );
    EXPECT_EQ( "4:\x04\x03\x02\x81", Raw( "number" ) );
    EXPECT_TRUE( SetValue( "bytes", Bytes( "\1\0\xFF"s ) ) );
    EXPECT_EQ( "\1\0\xFF"s, Read( "bytes", MByteArray() ) );
    EXPECT_TRUE( SetValue( "bytes", MByteArray() ) );
    EXPECT_EQ( "", Read( "bytes", Bytes( "older" ) ) );
    EXPECT_TRUE( SetValue( "texts", Texts( { "a", "bc" } ) ) );
    EXPECT_EQ( "7:a\0bc\0\0"s, Raw( "texts" ) );
    EXPECT_EQ( "a|bc|", Read( "texts", Texts( { "older" } ) ) );
    EXPECT_TRUE( SetValue( "none", Texts( {} ) ) );
    EXPECT_EQ( "7:\0"s, Raw( "none" ) );
    EXPECT_EQ( "", Read( "none", Texts( { "older" } ) ) );
    EXPECT_TRUE( DeleteValue( "none" ) );
    EXPECT_EQ( "error 2", Raw( "none" ) );
}

TEST_F( Registry, TypedReadersTakeAnyTypeAndEmptyStringsOnlyWhenTheyFail )
{
    ASSERT_TRUE( SetRaw( "binary", 3, "\x01\x02" ) );
    EXPECT_EQ( Shown( 0xAABB0201u ), Read( "binary", DWORD( 0xAABBCCDD ) ) ) << "two bytes are two";
    EXPECT_EQ( "\x01\x02", Read( "binary", MString( "older" ) ) );
    EXPECT_EQ( "\x01\x02|", Read( "binary", Texts( {} ) ) ) << "the end of the data ends a text";
    ASSERT_TRUE( SetRaw( "binary", 3, "\0ab"s ) );
    EXPECT_EQ( "", Read( "binary", Texts( { "older" } ) ) );
    ASSERT_TRUE( SetValue( "text", MString( "long text" ) ) );
    EXPECT_EQ( "long text\0"s, Read( "text", MByteArray() ) );
    EXPECT_TRUE( Read( "text", DWORD( 7 ) ).starts_with( "error 234:" ) );

    EXPECT_EQ( "error 2:older", Read( "missing", Bytes( "older" ) ) );
    EXPECT_EQ( "error 2:older|", Read( "missing", Texts( { "older" } ) ) );
    EXPECT_EQ( "error 2:7", Read( "missing", DWORD( 7 ) ) );
    EXPECT_EQ( "error 2:", Read( "missing", MString( "older" ) ) );
    EXPECT_TRUE( SetValue( "text", MString( 'x', 2047 ) ) );
    EXPECT_EQ( std::string( 2047, 'x' ), Read( "text", MString() ) );
    EXPECT_TRUE( SetValue( "text", MString( 'x', 2048 ) ) );
    EXPECT_EQ( "error 234:", Read( "text", MString( "older" ) ) );
}

TEST_F( Registry, NullNamesAreRefusedBeforeTheSystemIsAsked )
{
    ASSERT_TRUE( Close() ); // any call to the system would give 6
    MString aText( "older" );
    DWORD dwNumber = 0;
    MByteArray aBytes;
    MStringArray aTexts;
    BYTE aData[4] = {};
    CRegistry::KeyValueTypes aType = CRegistry::typeString;
    const CRegistry::CreatePermissions aRead = CRegistry::permissionRead;
    EXPECT_EQ( 87, Code( GetValue( NULL, aText ) ) );
    EXPECT_EQ( "older", aText );
    EXPECT_EQ( 87, Code( GetStringValue( NULL, aText ) ) );
    EXPECT_EQ( "", aText );
    EXPECT_EQ( 87, Code( GetStringArrayValue( NULL, aTexts ) ) );
    EXPECT_EQ( 87, Code( GetDoubleWordValue( NULL, dwNumber ) ) );
    EXPECT_EQ( 87, Code( GetBinaryValue( NULL, aBytes ) ) );
    EXPECT_EQ( 87, Code( SetValue( NULL, aTexts ) ) );
    EXPECT_EQ( 87, Code( SetValue( NULL, aText ) ) );
    EXPECT_EQ( 87, Code( SetValue( NULL, dwNumber ) ) );
    EXPECT_EQ( 87, Code( SetValue( NULL, aBytes ) ) );
    EXPECT_EQ( 87, Code( SetValue( NULL, aType, aData, 4 ) ) );
    EXPECT_EQ( 87, Code( SetValue( "name", aType, NULL, 0 ) ) );
    EXPECT_EQ( 87, Code( QueryValue( NULL, aType, aData, dwNumber ) ) );
    EXPECT_EQ( 87, Code( DeleteValue( NULL ) ) );
    EXPECT_EQ( 87, Code( Create( NULL ) ) );
    EXPECT_EQ( 87, Code( Open( NULL, aRead ) ) );
    for ( const char* pPath : { static_cast<const char*>( NULL ), "", "a\\" } )
        EXPECT_EQ( 87, Code( DeleteKey( pPath ) ) );
    EXPECT_EQ( 87, Code( GetSecurity( 4, NULL, dwNumber ) ) );
    EXPECT_EQ( 87, Code( SetSecurity( 4, NULL ) ) );
    EXPECT_EQ( 87, Code( Load( "key", NULL ) ) );
    EXPECT_EQ( 87, Code( Load( NULL, "file" ) ) );
    EXPECT_EQ( 87, Code( UnLoad( NULL ) ) );
    EXPECT_EQ( 87, Code( Replace( "key", "new", NULL ) ) );
    EXPECT_EQ( 87, Code( Restore( NULL, 0 ) ) );
    EXPECT_EQ( 87, Code( Save( NULL, NULL ) ) );
    EXPECT_EQ( ERROR_INVALID_HANDLE, Code( Open( "Software", aRead ) ) );
    EXPECT_TRUE( Close() );
    EXPECT_EQ( ERROR_INVALID_HANDLE, GetErrorCode() ) << "nothing to close, nothing reset";
    EXPECT_TRUE( Connect( MACHINE ) );
}

TEST_F( Registry, RootsAreRecognisedInEitherWidth )
{
    ASSERT_TRUE( SetValue( "number", 7u ) );
    const auto Names = []( const CRegistry& rRegistry )
    {
        return Asked( rRegistry, &CRegistry::GetRegistryName ) +
               ( Asked( rRegistry, &CRegistry::GetComputerName ).empty() ? "" : " somewhere" );
    };
    for ( const ULONG_PTR ulRoot :
          { ULONG_PTR( 0x80000002u ), ULONG_PTR( LONG_PTR( LONG( 0x80000002u ) ) ) } )
    {
        CRegistry aOther;
        EXPECT_TRUE( aOther.Connect( reinterpret_cast<HKEY>( ulRoot ) ) );
        EXPECT_EQ( "HKEY_LOCAL_MACHINE somewhere", Names( aOther ) );
        EXPECT_TRUE( aOther.Open( m_strRoot.c_str(), CRegistry::permissionRead ) );
        EXPECT_TRUE( aOther.Close() );
        EXPECT_EQ( "", Names( aOther ) + KeyName( aOther ) );
        EXPECT_EQ( 0u, aOther.GetNumberOfValues() );
    }
    CRegistry aUser;
    const HKEY hUser = (HKEY)CRegistry::keyCurrentUser;
    EXPECT_FALSE( aUser.Connect( hUser, "elsewhere" ) );
    EXPECT_EQ( ERROR_INVALID_HANDLE, aUser.GetErrorCode() );
    EXPECT_EQ( "", Names( aUser ) );
    EXPECT_FALSE( aUser.Open( "", CRegistry::permissionRead ) ) << "no handle was set";

    DWORD dwNumber = 0;
    EXPECT_TRUE( Connect( hUser ) );
    EXPECT_EQ( "HKEY_CURRENT_USER somewhere", Names( *this ) );
    EXPECT_TRUE( GetValue( "number", dwNumber ) ) << "connecting again closes nothing";
    EXPECT_TRUE( Connect( MACHINE ) );
}

TEST_F( Registry, KeysAreMadeCountedAndGoneThrough )
{
    CRegistry::CreationDisposition aDisposition = CRegistry::dispositionNone;
    const auto Again = [&]( const char* pName )
    {
        return Create( Path( pName ).c_str(), NULL, CRegistry::optionVolatile, CRegistry::permissionRead,
                       NULL, &aDisposition );
    };
    EXPECT_TRUE( Again( "one" ) );
    EXPECT_EQ( CRegistry::dispositionCreatedNewKey, aDisposition );
    EXPECT_TRUE( Again( "ONE" ) );
    EXPECT_EQ( CRegistry::dispositionOpenedExistingKey, aDisposition );
    EXPECT_EQ( Path( "ONE" ), KeyName( *this ) );
    EXPECT_EQ( ERROR_ACCESS_DENIED, Code( SetValue( "n", 1u ) ) ) << "the permission was handed on";
    EXPECT_TRUE( Again( "two" ) );

    ASSERT_TRUE( Open( m_strRoot.c_str(), CRegistry::permissionAllAccess ) );
    EXPECT_TRUE( SetValue( "", MString( "default" ) ) );
    EXPECT_EQ( 2u, GetNumberOfSubkeys() );
    EXPECT_EQ( 0u, GetNumberOfValues() );
    EXPECT_TRUE( Flush() );
    EXPECT_TRUE( QueryInfo() );
    EXPECT_EQ( 1u, GetNumberOfValues() );
    EXPECT_EQ( "own class", Asked( *this, &CRegistry::GetClassName ) );
    MString aName, aClass( "older" );
    EXPECT_TRUE( EnumerateKeys( 1, aName, aClass ) );
    EXPECT_EQ( "two", aName );
    EXPECT_EQ( "", aClass );
    EXPECT_EQ( ERROR_NO_MORE_ITEMS, Code( EnumerateKeys( 2, aName, aClass ) ) );
    EXPECT_EQ( "two", aName );

    CRegistry::KeyValueTypes aType = CRegistry::typeNone;
    BYTE aData[8];
    DWORD dwSize = sizeof( aData );
    EXPECT_TRUE( EnumerateValues( 0, aName, aType, aData, dwSize ) );
    EXPECT_EQ( 8u, dwSize );
    EXPECT_EQ( CRegistry::typeString, aType );
    EXPECT_EQ( "", aName );
    EXPECT_STREQ( "default", reinterpret_cast<char*>( aData ) );
    dwSize = 0;
    EXPECT_FALSE( GetSecurity( 4, aData, dwSize ) );
    EXPECT_TRUE( GetErrorCode() == ERROR_INSUFFICIENT_BUFFER && dwSize != 0 );
}

TEST_F( Registry, DeletingTakesTheSubtreeAndStaysOnTheParent )
{
    for ( const char* pKey : { "A\\B\\C\\D\\E", "A\\B\\C\\D2", "A\\B\\C\\D3\\E", "A\\B\\kept" } )
        ASSERT_TRUE( Add( pKey ) );
    EXPECT_TRUE( DeleteKey( Path( "A\\B\\C" ).c_str() ) );
    EXPECT_EQ( ERROR_SUCCESS, GetErrorCode() );
    EXPECT_EQ( Path( "A\\B" ), KeyName( *this ) );
    EXPECT_EQ( 2u, GetNumberOfSubkeys() ) << "as counted when the parent was opened";
    EXPECT_TRUE( QueryInfo() );
    EXPECT_EQ( 1u, GetNumberOfSubkeys() );
    EXPECT_TRUE( SetValue( "open", 1u ) ) << "with all rights";
    EXPECT_TRUE( DeleteKey( "KEPT" ) );
    EXPECT_EQ( ERROR_FILE_NOT_FOUND, Code( DeleteKey( "kept" ) ) );

    EXPECT_EQ( ERROR_FILE_NOT_FOUND, Code( DeleteKey( Path( "missing\\C" ).c_str() ) ) );
    EXPECT_EQ( Path( "A\\B" ), KeyName( *this ) ) << "though it is open no more";
    EXPECT_EQ( ERROR_INVALID_HANDLE, Code( QueryInfo() ) );
}

TEST_F( Registry, LoadAndUnLoadWorkOnDifferentKeys )
{
    CRegistry aRegistry;
    ASSERT_TRUE( aRegistry.Connect( MACHINE ) );
    EXPECT_FALSE( aRegistry.Load( "BXToolsTest", "no such file" ) );
    EXPECT_NE( ERROR_INVALID_HANDLE, aRegistry.GetErrorCode() ) << "the root is there";
    EXPECT_FALSE( aRegistry.UnLoad( "BXToolsTest" ) );
    EXPECT_EQ( ERROR_INVALID_HANDLE, aRegistry.GetErrorCode() ) << "no key is open";
}
