// CRegistry against the system's registry, in a key of each test's own.
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/virtualslots.h"

#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <stdexcept>
#include <string>

namespace
{

const HKEY MACHINE = (HKEY)CRegistry::keyLocalMachine;

struct Texts : MStringArray
{
    Texts( std::initializer_list<const char*> aTexts )
    {
        for ( const char* pText : aTexts )
            Add( pText );
    }
};

struct Bytes : MByteArray
{
    explicit Bytes( const std::string& strBytes )
    {
        for ( const char cByte : strBytes )
            Add( static_cast<BYTE>( cByte ) );
    }
};

std::string Shown( DWORD dwNumber )
{
    return std::to_string( dwNumber );
}

std::string Shown( const MString& aText )
{
    return aText.data();
}

std::string Shown( const MByteArray& aArray )
{
    return std::string( reinterpret_cast<const char*>( aArray.GetData() ),
                        static_cast<size_t>( aArray.GetSize() ) );
}

std::string Shown( const MStringArray& aArray )
{
    std::string strAll;
    for ( int i = 0; i < aArray.GetSize(); i++ )
        strAll += std::string( aArray.GetAt( i ) ) + "|";
    return strAll;
}

// A connected object, and a key of its own that goes with it.
template <class Base = CRegistry>
class ScratchRegistry : public Base
{
public:
    ScratchRegistry() : m_strRoot( "Software\\BXToolsTest" + std::to_string( std::random_device()() ) )
    {
        EXPECT_TRUE( this->Connect( MACHINE ) ) << this->GetErrorCode();
        EXPECT_TRUE( this->Create( m_strRoot.c_str(), "own class" ) ) << this->GetErrorCode();
    }
    ~ScratchRegistry() override { EXPECT_TRUE( this->DeleteKey( m_strRoot.c_str() ) ); }

    std::string Path( const std::string& strBelow ) const { return m_strRoot + "\\" + strBelow; }
    BOOL Add( const std::string& strBelow ) { return this->Create( Path( strBelow ).c_str() ); }
    BOOL SetRaw( const char* pName, DWORD dwType, std::string strBytes )
    {
        return this->SetValue( pName, static_cast<CRegistry::KeyValueTypes>( dwType ),
                               reinterpret_cast<BYTE*>( strBytes.data() ),
                               static_cast<DWORD>( strBytes.size() ) );
    }
    // The error of a call; 0 when it was done.
    int Code( BOOL fDone ) { return fDone ? 0 : this->GetErrorCode(); }
    // Type and bytes, as the system has them.
    std::string Raw( const char* pName )
    {
        CRegistry::KeyValueTypes aType = CRegistry::typeNone;
        BYTE aBytes[5000];
        DWORD dwSize = sizeof( aBytes );
        if ( !this->QueryValue( pName, aType, aBytes, dwSize ) )
            return "error " + std::to_string( this->GetErrorCode() );
        return std::to_string( aType ) + ":" + std::string( reinterpret_cast<char*>( aBytes ), dwSize );
    }
    // What the reader of a type makes of what was there, behind its code where it fails.
    template <class Value>
    std::string Read( const char* pName, Value aValue )
    {
        const BOOL fRead = this->GetValue( pName, aValue );
        return ( fRead ? "" : "error " + std::to_string( this->GetErrorCode() ) + ":" ) + Shown( aValue );
    }

    const std::string m_strRoot;
};

std::string Asked( const CRegistry& rRegistry, void ( CRegistry::*pName )( MString& ) const )
{
    MString aName( "older" );
    ( rRegistry.*pName )( aName );
    return aName.data();
}

std::string KeyName( const CRegistry& rRegistry )
{
    return Asked( rRegistry, &CRegistry::GetKeyName );
}

class Registry : public ::testing::Test, protected ScratchRegistry<>
{
};

using namespace std::string_literals;

} // namespace

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

TEST_F( Registry, TypedOperationsGoThroughTheTable )
{
    struct Recording : CRegistry
    {
        BOOL Open( LPCTSTR pSubKey, CreatePermissions aPermissions ) override
        {
            m_strCalls += "open ";
            return CRegistry::Open( pSubKey, aPermissions );
        }
        BOOL QueryInfo() override
        {
            m_strCalls += "info ";
            return m_fThrow ? throw std::runtime_error( "override" ) : CRegistry::QueryInfo();
        }
        BOOL QueryValue( LPCTSTR pName, KeyValueTypes& aType, BYTE* pData, DWORD& dwSize ) override
        {
            m_strCalls += "query" + std::to_string( aType ) + " ";
            return CRegistry::QueryValue( pName, aType, pData, dwSize );
        }
        BOOL SetValue( LPCTSTR pName, KeyValueTypes aType, BYTE* pData, DWORD dwSize ) override
        {
            m_strCalls += "set" + std::to_string( aType ) + " ";
            return CRegistry::SetValue( pName, aType, pData, dwSize );
        }
        using CRegistry::SetValue;
        std::string m_strCalls;
        bool m_fThrow = false;
    };
    ScratchRegistry<Recording> aRegistry;
    CRegistry& rBase = aRegistry;
    MString aText;
    DWORD dwNumber = 0;
    MByteArray aBytes;
    MStringArray aTexts;
    EXPECT_TRUE( rBase.SetValue( "n", aText ) && rBase.SetValue( "n", aTexts ) &&
                 rBase.SetValue( "n", aBytes ) && rBase.SetValue( "n", dwNumber ) );
    EXPECT_EQ( "set1 set7 set3 set4 ", std::exchange( aRegistry.m_strCalls, "" ) );
    EXPECT_TRUE( rBase.GetValue( "n", aText ) && rBase.GetValue( "n", aTexts ) &&
                 rBase.GetValue( "n", aBytes ) && rBase.GetValue( "n", dwNumber ) );
    aRegistry.Add( "A" );
    EXPECT_TRUE( rBase.DeleteKey( aRegistry.Path( "A" ).c_str() ) );
    EXPECT_EQ( "query1 info query7 info query3 query4 open info ", aRegistry.m_strCalls );

    aRegistry.m_fThrow = true;
    EXPECT_FALSE( rBase.Open( aRegistry.m_strRoot.c_str(), CRegistry::permissionRead ) );
    EXPECT_EQ( ERROR_EXCEPTION_IN_SERVICE, aRegistry.GetErrorCode() );
    EXPECT_FALSE( rBase.DeleteKey( aRegistry.Path( "A" ).c_str() ) );
    EXPECT_EQ( ERROR_EXCEPTION_IN_SERVICE, aRegistry.GetErrorCode() );
    aRegistry.m_fThrow = false;
}

TEST_F( Registry, SlotsOfTheTableStandInTheirOrder )
{
    using R = CRegistry;
    const std::vector<size_t> aSlots = SlotsOf(
        &R::Close, &R::Connect, &R::Create, &R::DeleteKey, &R::DeleteValue, &R::EnumerateKeys,
        &R::EnumerateValues, &R::Flush, &R::GetBinaryValue, &R::GetClassName, &R::GetComputerName,
        &R::GetDoubleWordValue, &R::GetErrorCode, &R::GetKeyName, &R::GetNumberOfSubkeys,
        &R::GetNumberOfValues, &R::GetRegistryName, &R::GetSecurity, &R::GetStringValue,
        &R::GetStringArrayValue, static_cast<BOOL ( R::* )( LPCTSTR, MStringArray& )>( &R::GetValue ),
        static_cast<BOOL ( R::* )( LPCTSTR, MString& )>( &R::GetValue ),
        static_cast<BOOL ( R::* )( LPCTSTR, DWORD& )>( &R::GetValue ),
        static_cast<BOOL ( R::* )( LPCTSTR, MByteArray& )>( &R::GetValue ), &R::Load, &R::NotifyChange,
        &R::Open, &R::QueryInfo, &R::QueryValue, &R::Replace, &R::Restore, &R::Save, &R::SetBinaryValue,
        &R::SetDoubleWordValue, &R::SetSecurity, &R::SetStringValue, &R::SetStringArrayValue,
        static_cast<BOOL ( R::* )( LPCTSTR, R::KeyValueTypes, BYTE*, DWORD )>( &R::SetValue ),
        static_cast<BOOL ( R::* )( LPCTSTR, const MString& )>( &R::SetValue ),
        static_cast<BOOL ( R::* )( LPCTSTR, const MStringArray& )>( &R::SetValue ),
        static_cast<BOOL ( R::* )( LPCTSTR, DWORD )>( &R::SetValue ),
        static_cast<BOOL ( R::* )( LPCTSTR, const MByteArray& )>( &R::SetValue ), &R::UnLoad );
    std::vector<size_t> aExpected( 43 );
    std::iota( aExpected.begin(), aExpected.end(), 2 );
    EXPECT_EQ( aExpected, aSlots );
}

TEST( OutOfMemory, RegistryOperationsFailWithACode )
{
    DebugRecorder aReports;
    ScratchRegistry aRegistry;
    const std::string strLongName( 100, 'n' );
    ASSERT_TRUE( aRegistry.Add( strLongName ) );
    Texts aTexts( { strLongName.c_str(), "b" } );
    MByteArray aBytes;
    aBytes.SetSize( 100 );
    // How often the class itself ran out, and not the system's call below it.
    const auto OwnFailures = [&]( int nOwnCode, auto aOperation )
    {
        int nOwn = 0;
        ForEachFailingNew(
            [&]( NewFault& rFault )
            {
                SetLastError( 1234 );
                rFault.Arm();
                const BOOL fDone = aOperation();
                rFault.Disarm();
                EXPECT_NE( rFault.Hit(), fDone != FALSE );
                nOwn += aRegistry.GetErrorCode() == nOwnCode;
                EXPECT_TRUE( fDone || aRegistry.GetErrorCode() == nOwnCode ||
                             aRegistry.GetErrorCode() == ERROR_NOT_ENOUGH_MEMORY );
            } );
        return nOwn;
    };
    const std::string strPath = aRegistry.Path( strLongName );
    EXPECT_NE( 0, OwnFailures( 1064, [&] { return aRegistry.Create( strPath.c_str() ); } ) );
    EXPECT_NE( 0, OwnFailures( 1234, [&] { return aRegistry.SetValue( "texts", aTexts ); } ) );
    EXPECT_NE( 0, OwnFailures( 1234, [&] { return aRegistry.SetValue( "bytes", aBytes ); } ) );
    EXPECT_NE( 0, OwnFailures( 1234, [&] { return aRegistry.GetValue( "texts", aTexts ); } ) );
    MByteArray aRead;
    EXPECT_NE( 0, OwnFailures( 1234, [&] { return aRegistry.GetValue( "bytes", aRead ); } ) );
    EXPECT_EQ( strLongName + "|b|", Shown( aTexts ) );

    aReports.Take();
    // The list, the string, its text; then the list's own node, which it reports itself; then none.
    std::vector<bool> aOwn;
    ForEachFailingNew(
        [&]( NewFault& rFault )
        {
            MStringArray aNew;
            rFault.Arm();
            aNew.Add( strLongName.c_str() );
            rFault.Disarm();
            EXPECT_EQ( rFault.Hit() ? 0 : 1, aNew.GetSize() );
            const std::string strSaid = aReports.Take();
            EXPECT_EQ( rFault.Hit(), !strSaid.empty() );
            aOwn.push_back( strSaid.find( "From void MStringArray::Add( LPCTSTR pNewString )\r\n"
                                          " Error: m_pMStringList = new MStringList() failed" ) !=
                            std::string::npos );
        } );
    EXPECT_EQ( std::vector<bool>( { true, true, true, false, false } ), aOwn );
}
