// CRegistry against the system's registry, in a key of each test's own.
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/virtualslots.h"

#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <stdexcept>
#include <string>

namespace
{

const HKEY MACHINE = (HKEY)CRegistry::keyLocalMachine;

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
    using CRegistry::m_hKey;

    const std::string m_strRoot;
};

std::string Bytes( const MByteArray& aArray )
{
    return std::string( reinterpret_cast<const char*>( aArray.GetData() ),
                        static_cast<size_t>( aArray.GetSize() ) );
}

std::string Joined( const MStringArray& aArray )
{
    std::string strAll;
    for ( int i = 0; i < aArray.GetSize(); i++ )
        strAll += std::string( aArray.GetAt( i ) ) + "|";
    return strAll;
}

void Fill( MStringArray& aArray, const std::initializer_list<const char*>& aTexts )
{
    aArray.RemoveAll();
    for ( const char* pText : aTexts )
        aArray.Add( pText );
}

std::string KeyName( const CRegistry& rRegistry )
{
    MString aName;
    rRegistry.GetKeyName( aName );
    return aName.data();
}

using namespace std::string_literals;

} // namespace

TEST( StringArray, KeepsTheOrderHoweverItIsRead )
{
    MStringArray aArray;
    EXPECT_EQ( 0, aArray.GetSize() );
    EXPECT_EQ( "", aArray.GetAt( 0 ) );
    Fill( aArray, { "a", "", "bc" } );
    aArray.Add( NULL );
    EXPECT_EQ( "a||bc||", Joined( aArray ) );
    for ( const int nIndex : { 2, 0, 1, 2, 3 } )
        EXPECT_STREQ( nIndex == 0 ? "a" : nIndex == 2 ? "bc" : "", aArray.GetAt( nIndex ) );
    aArray.Add( "d" );
    EXPECT_EQ( "d", aArray.GetAt( 4 ) );
    EXPECT_EQ( "", aArray.GetAt( 5 ) );
    EXPECT_EQ( "", aArray.GetAt( -1 ) );
    EXPECT_EQ( "a", aArray.GetAt( 0 ) );
    aArray.RemoveAll();
    EXPECT_EQ( 0, aArray.GetSize() );
}

TEST( Registry, TypedValuesComeBackAsTheyWereStored )
{
    ScratchRegistry aRegistry;
    MString aText;
    DWORD dwNumber = 0;
    MByteArray aBytes;
    MStringArray aTexts;
    EXPECT_TRUE( aRegistry.SetValue( "text", MString( "C:\\data \xC3\xA4" ) ) );
    EXPECT_TRUE( aRegistry.GetValue( "TEXT", aText ) );
    EXPECT_EQ( "C:\\data \xC3\xA4", aText );
    EXPECT_EQ( "1:C:\\data \xC3\xA4\0"s, aRegistry.Raw( "text" ) );
    EXPECT_TRUE( aRegistry.SetValue( "number", 0x81020304u ) );
    EXPECT_TRUE( aRegistry.GetValue( "number", dwNumber ) );
    EXPECT_EQ( 0x81020304u, dwNumber );
    EXPECT_EQ( "4:\x04\x03\x02\x81", aRegistry.Raw( "number" ) );
    for ( const char cByte : "\1\0\xFF"s )
        aBytes.Add( static_cast<BYTE>( cByte ) );
    EXPECT_TRUE( aRegistry.SetValue( "bytes", aBytes ) );
    MByteArray aRead;
    EXPECT_TRUE( aRegistry.GetValue( "bytes", aRead ) );
    EXPECT_EQ( "\1\0\xFF"s, Bytes( aRead ) );
    EXPECT_TRUE( aRegistry.SetValue( "bytes", MByteArray() ) );
    EXPECT_TRUE( aRegistry.GetValue( "bytes", aRead ) );
    EXPECT_EQ( 0, aRead.GetSize() );

    Fill( aTexts, { "a", "bc" } );
    EXPECT_TRUE( aRegistry.SetValue( "texts", aTexts ) );
    EXPECT_EQ( "7:a\0bc\0\0"s, aRegistry.Raw( "texts" ) );
    Fill( aTexts, { "older" } );
    EXPECT_TRUE( aRegistry.GetValue( "texts", aTexts ) );
    EXPECT_EQ( "a|bc|", Joined( aTexts ) );
    Fill( aTexts, {} );
    EXPECT_TRUE( aRegistry.SetValue( "none", aTexts ) );
    EXPECT_EQ( "7:\0"s, aRegistry.Raw( "none" ) );
    Fill( aTexts, { "older" } );
    EXPECT_TRUE( aRegistry.GetValue( "none", aTexts ) );
    EXPECT_EQ( 0, aTexts.GetSize() );
    EXPECT_TRUE( aRegistry.DeleteValue( "none" ) );
    EXPECT_EQ( "error 2", aRegistry.Raw( "none" ) );
}

TEST( Registry, TypedReadersTakeAnyType )
{
    ScratchRegistry aRegistry;
    MString aText( "older" );
    DWORD dwNumber = 0xAABBCCDD;
    MByteArray aBytes;
    MStringArray aTexts;
    ASSERT_TRUE( aRegistry.SetRaw( "binary", 3, "\x01\x02" ) );
    EXPECT_TRUE( aRegistry.GetValue( "binary", dwNumber ) );
    EXPECT_EQ( 0xAABB0201u, dwNumber ) << "two bytes are two bytes";
    EXPECT_TRUE( aRegistry.GetValue( "binary", aText ) );
    EXPECT_EQ( "\x01\x02", aText );
    EXPECT_TRUE( aRegistry.GetValue( "binary", aTexts ) );
    EXPECT_EQ( "\x01\x02|", Joined( aTexts ) ) << "the end of the data ends a text";
    ASSERT_TRUE( aRegistry.SetRaw( "binary", 3, "\0ab"s ) );
    EXPECT_TRUE( aRegistry.GetValue( "binary", aTexts ) );
    EXPECT_EQ( 0, aTexts.GetSize() );
    ASSERT_TRUE( aRegistry.SetValue( "text", MString( "long text" ) ) );
    EXPECT_TRUE( aRegistry.GetValue( "text", aBytes ) );
    EXPECT_EQ( "long text\0"s, Bytes( aBytes ) );
    EXPECT_FALSE( aRegistry.GetValue( "text", dwNumber ) );
    EXPECT_EQ( ERROR_MORE_DATA, aRegistry.GetErrorCode() );
}

TEST( Registry, AFailedReadEmptiesStringsOnly )
{
    ScratchRegistry aRegistry;
    MString aText( "older" );
    DWORD dwNumber = 7;
    MByteArray aBytes;
    MStringArray aTexts;
    aBytes.Add( 7 );
    aTexts.Add( "older" );
    EXPECT_FALSE( aRegistry.GetValue( "missing", aBytes ) );
    EXPECT_EQ( ERROR_FILE_NOT_FOUND, aRegistry.GetErrorCode() );
    EXPECT_FALSE( aRegistry.GetValue( "missing", aTexts ) );
    EXPECT_FALSE( aRegistry.GetValue( "missing", dwNumber ) );
    EXPECT_FALSE( aRegistry.GetValue( "missing", aText ) );
    EXPECT_EQ( 1, aBytes.GetSize() );
    EXPECT_EQ( 1, aTexts.GetSize() );
    EXPECT_EQ( 7u, dwNumber );
    EXPECT_EQ( "", aText );

    EXPECT_TRUE( aRegistry.SetValue( "text", MString( 'x', 2047 ) ) );
    EXPECT_TRUE( aRegistry.GetValue( "text", aText ) );
    EXPECT_EQ( 2047u, aText.GetLength() );
    EXPECT_TRUE( aRegistry.SetValue( "text", MString( 'x', 2048 ) ) );
    EXPECT_FALSE( aRegistry.GetValue( "text", aText ) );
    EXPECT_EQ( ERROR_MORE_DATA, aRegistry.GetErrorCode() );
    EXPECT_EQ( "", aText );
}

TEST( Registry, NullNamesAreRefusedBeforeTheSystemIsAsked )
{
    CRegistry aRegistry; // without a key, any call to the system would give 6
    MString aText( "older" );
    DWORD dwNumber = 0;
    MByteArray aBytes;
    MStringArray aTexts;
    BYTE aData[4] = {};
    CRegistry::KeyValueTypes aType = CRegistry::typeString;
    const CRegistry::CreatePermissions aRead = CRegistry::permissionRead;
    const auto Refused = [&]( BOOL fResult ) { return !fResult && aRegistry.GetErrorCode() == 87; };
    EXPECT_TRUE( Refused( aRegistry.GetValue( NULL, aTexts ) ) );
    EXPECT_TRUE( Refused( aRegistry.GetValue( NULL, aText ) ) );
    EXPECT_TRUE( Refused( aRegistry.GetValue( NULL, dwNumber ) ) );
    EXPECT_TRUE( Refused( aRegistry.GetValue( NULL, aBytes ) ) );
    EXPECT_EQ( "older", aText );
    EXPECT_TRUE( Refused( aRegistry.GetStringValue( NULL, aText ) ) );
    EXPECT_EQ( "", aText );
    EXPECT_TRUE( Refused( aRegistry.GetStringArrayValue( NULL, aTexts ) ) );
    EXPECT_TRUE( Refused( aRegistry.GetDoubleWordValue( NULL, dwNumber ) ) );
    EXPECT_TRUE( Refused( aRegistry.GetBinaryValue( NULL, aBytes ) ) );
    EXPECT_TRUE( Refused( aRegistry.SetValue( NULL, aTexts ) ) );
    EXPECT_TRUE( Refused( aRegistry.SetValue( NULL, aText ) ) );
    EXPECT_TRUE( Refused( aRegistry.SetValue( NULL, dwNumber ) ) );
    EXPECT_TRUE( Refused( aRegistry.SetValue( NULL, aBytes ) ) );
    EXPECT_TRUE( Refused( aRegistry.SetValue( NULL, aType, aData, 4 ) ) );
    EXPECT_TRUE( Refused( aRegistry.SetValue( "name", aType, NULL, 0 ) ) );
    EXPECT_TRUE( Refused( aRegistry.QueryValue( NULL, aType, aData, dwNumber ) ) );
    EXPECT_TRUE( Refused( aRegistry.DeleteValue( NULL ) ) );
    EXPECT_TRUE( Refused( aRegistry.Create( NULL ) ) );
    EXPECT_TRUE( Refused( aRegistry.Open( NULL, aRead ) ) );
    for ( const char* pPath : { static_cast<const char*>( NULL ), "", "a\\" } )
        EXPECT_TRUE( Refused( aRegistry.DeleteKey( pPath ) ) );
    EXPECT_TRUE( Refused( aRegistry.GetSecurity( 4, NULL, dwNumber ) ) );
    EXPECT_TRUE( Refused( aRegistry.SetSecurity( 4, NULL ) ) );
    EXPECT_TRUE( Refused( aRegistry.Load( "key", NULL ) ) );
    EXPECT_TRUE( Refused( aRegistry.Load( NULL, "file" ) ) );
    EXPECT_TRUE( Refused( aRegistry.UnLoad( NULL ) ) );
    EXPECT_TRUE( Refused( aRegistry.Replace( "key", "new", NULL ) ) );
    EXPECT_TRUE( Refused( aRegistry.Restore( NULL, 0 ) ) );
    EXPECT_TRUE( Refused( aRegistry.Save( NULL, NULL ) ) );
    EXPECT_FALSE( aRegistry.Open( "Software", aRead ) );
    EXPECT_EQ( ERROR_INVALID_HANDLE, aRegistry.GetErrorCode() );
    EXPECT_TRUE( aRegistry.Close() );
    EXPECT_EQ( ERROR_INVALID_HANDLE, aRegistry.GetErrorCode() ) << "nothing to close, nothing reset";
}

TEST( Registry, RootsAreRecognisedInEitherWidth )
{
    ScratchRegistry aRegistry;
    ASSERT_TRUE( aRegistry.SetValue( "number", 7u ) );
    const auto Names = []( const CRegistry& rRegistry )
    {
        MString aRoot, aComputer;
        rRegistry.GetRegistryName( aRoot );
        rRegistry.GetComputerName( aComputer );
        return std::string( aRoot ) + ( aComputer.IsEmpty() ? "" : " somewhere" );
    };
    for ( const ULONG_PTR ulRoot :
          { ULONG_PTR( 0x80000002u ), ULONG_PTR( LONG_PTR( LONG( 0x80000002u ) ) ) } )
    {
        CRegistry aOther;
        EXPECT_TRUE( aOther.Connect( reinterpret_cast<HKEY>( ulRoot ) ) );
        EXPECT_EQ( "HKEY_LOCAL_MACHINE somewhere", Names( aOther ) );
        EXPECT_TRUE( aOther.Open( aRegistry.m_strRoot.c_str(), CRegistry::permissionRead ) );
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
    EXPECT_TRUE( aRegistry.Connect( hUser ) );
    EXPECT_EQ( "HKEY_CURRENT_USER somewhere", Names( aRegistry ) );
    EXPECT_TRUE( aRegistry.GetValue( "number", dwNumber ) ) << "connecting again closes nothing";
    EXPECT_TRUE( aRegistry.Connect( MACHINE ) );
}

TEST( Registry, KeysAreMadeCountedAndGoneThrough )
{
    ScratchRegistry aRegistry;
    CRegistry::CreationDisposition aDisposition = CRegistry::dispositionNone;
    const auto Again = [&]( const char* pName )
    {
        return aRegistry.Create( aRegistry.Path( pName ).c_str(), NULL, CRegistry::optionVolatile,
                                 CRegistry::permissionRead, NULL, &aDisposition );
    };
    EXPECT_TRUE( Again( "one" ) );
    EXPECT_EQ( CRegistry::dispositionCreatedNewKey, aDisposition );
    EXPECT_TRUE( Again( "ONE" ) );
    EXPECT_EQ( CRegistry::dispositionOpenedExistingKey, aDisposition );
    EXPECT_EQ( aRegistry.Path( "ONE" ), KeyName( aRegistry ) );
    EXPECT_FALSE( aRegistry.SetValue( "n", 1u ) );
    EXPECT_EQ( ERROR_ACCESS_DENIED, aRegistry.GetErrorCode() ) << "the permission was handed on";
    EXPECT_TRUE( Again( "two" ) );

    ASSERT_TRUE( aRegistry.Open( aRegistry.m_strRoot.c_str(), CRegistry::permissionAllAccess ) );
    EXPECT_TRUE( aRegistry.SetValue( "", MString( "default" ) ) );
    EXPECT_EQ( 2u, aRegistry.GetNumberOfSubkeys() );
    EXPECT_EQ( 0u, aRegistry.GetNumberOfValues() );
    EXPECT_TRUE( aRegistry.Flush() );
    EXPECT_TRUE( aRegistry.QueryInfo() );
    EXPECT_EQ( 1u, aRegistry.GetNumberOfValues() );
    MString aName, aClass( "older" );
    aRegistry.GetClassName( aClass );
    EXPECT_EQ( "own class", aClass );
    EXPECT_TRUE( aRegistry.EnumerateKeys( 1, aName, aClass ) );
    EXPECT_EQ( "two", aName );
    EXPECT_EQ( "", aClass );
    EXPECT_FALSE( aRegistry.EnumerateKeys( 2, aName, aClass ) );
    EXPECT_EQ( ERROR_NO_MORE_ITEMS, aRegistry.GetErrorCode() );
    EXPECT_EQ( "two", aName );

    CRegistry::KeyValueTypes aType = CRegistry::typeNone;
    BYTE aData[8];
    DWORD dwSize = sizeof( aData );
    EXPECT_TRUE( aRegistry.EnumerateValues( 0, aName, aType, aData, dwSize ) );
    EXPECT_EQ( 8u, dwSize );
    EXPECT_EQ( CRegistry::typeString, aType );
    EXPECT_EQ( "", aName );
    EXPECT_STREQ( "default", reinterpret_cast<char*>( aData ) );
    dwSize = 0;
    EXPECT_EQ( ERROR_INSUFFICIENT_BUFFER,
               ( aRegistry.GetSecurity( 4, aData, dwSize ), aRegistry.GetErrorCode() ) );
    EXPECT_NE( 0u, dwSize );
}

TEST( Registry, DeletingTakesTheSubtreeAndStaysOnTheParent )
{
    ScratchRegistry aRegistry;
    for ( const char* pKey : { "A\\B\\C\\D\\E", "A\\B\\C\\D2", "A\\B\\C\\D3\\E", "A\\B\\kept" } )
        ASSERT_TRUE( aRegistry.Add( pKey ) );
    EXPECT_TRUE( aRegistry.DeleteKey( aRegistry.Path( "A\\B\\C" ).c_str() ) );
    EXPECT_EQ( ERROR_SUCCESS, aRegistry.GetErrorCode() );
    EXPECT_EQ( aRegistry.Path( "A\\B" ), KeyName( aRegistry ) );
    EXPECT_EQ( 2u, aRegistry.GetNumberOfSubkeys() ) << "as counted when the parent was opened";
    EXPECT_TRUE( aRegistry.QueryInfo() );
    EXPECT_EQ( 1u, aRegistry.GetNumberOfSubkeys() );
    EXPECT_TRUE( aRegistry.SetValue( "open", 1u ) ) << "with all rights";
    EXPECT_TRUE( aRegistry.DeleteKey( "KEPT" ) );
    EXPECT_FALSE( aRegistry.DeleteKey( "kept" ) );
    EXPECT_EQ( ERROR_FILE_NOT_FOUND, aRegistry.GetErrorCode() );

    EXPECT_FALSE( aRegistry.DeleteKey( aRegistry.Path( "missing\\C" ).c_str() ) );
    EXPECT_EQ( ERROR_FILE_NOT_FOUND, aRegistry.GetErrorCode() );
    EXPECT_EQ( aRegistry.Path( "A\\B" ), KeyName( aRegistry ) ) << "though it is open no more";
    EXPECT_FALSE( aRegistry.QueryInfo() );
    EXPECT_EQ( ERROR_INVALID_HANDLE, aRegistry.GetErrorCode() );
}

TEST( Registry, LoadAndUnLoadWorkOnDifferentKeys )
{
    CRegistry aRegistry;
    ASSERT_TRUE( aRegistry.Connect( MACHINE ) );
    EXPECT_FALSE( aRegistry.Load( "BXToolsTest", "no such file" ) );
    EXPECT_NE( ERROR_INVALID_HANDLE, aRegistry.GetErrorCode() ) << "the root is there";
    EXPECT_FALSE( aRegistry.UnLoad( "BXToolsTest" ) );
    EXPECT_EQ( ERROR_INVALID_HANDLE, aRegistry.GetErrorCode() ) << "no key is open";
}

TEST( Registry, TypedOperationsGoThroughTheTable )
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
            if ( m_fThrow )
                throw std::runtime_error( "override" );
            return CRegistry::QueryInfo();
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
        std::string Calls() { return std::exchange( m_strCalls, "" ); }
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
    EXPECT_EQ( "set1 set7 set3 set4 ", aRegistry.Calls() );
    EXPECT_TRUE( rBase.GetValue( "n", aText ) && rBase.GetValue( "n", aTexts ) &&
                 rBase.GetValue( "n", aBytes ) && rBase.GetValue( "n", dwNumber ) );
    EXPECT_EQ( "query1 info query7 info query3 query4 ", aRegistry.Calls() );
    aRegistry.Add( "A" );
    EXPECT_TRUE( rBase.DeleteKey( aRegistry.Path( "A" ).c_str() ) );
    EXPECT_EQ( "open info ", aRegistry.Calls() );

    aRegistry.m_fThrow = true;
    EXPECT_FALSE( rBase.Open( aRegistry.m_strRoot.c_str(), CRegistry::permissionRead ) );
    EXPECT_EQ( ERROR_EXCEPTION_IN_SERVICE, aRegistry.GetErrorCode() );
    EXPECT_FALSE( rBase.DeleteKey( aRegistry.Path( "A" ).c_str() ) );
    EXPECT_EQ( ERROR_EXCEPTION_IN_SERVICE, aRegistry.GetErrorCode() );
    aRegistry.m_fThrow = false;
}

TEST( Registry, SlotsOfTheTableStandInTheirOrder )
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
    ASSERT_EQ( 43u, aSlots.size() );
    for ( size_t i = 0; i < aSlots.size(); i++ )
        EXPECT_EQ( i + 2, aSlots[i] ) << "operation " << i + 1;
}

TEST( OutOfMemory, RegistryOperationsFailWithACode )
{
    DebugRecorder aReports;
    ScratchRegistry aRegistry;
    const std::string strLongName( 100, 'n' );
    ASSERT_TRUE( aRegistry.Add( strLongName ) );
    MStringArray aTexts;
    MByteArray aBytes;
    Fill( aTexts, { strLongName.c_str(), "b" } );
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
    EXPECT_NE( 0, OwnFailures( 1234,
                               [&]
                               {
                                   MByteArray aNew;
                                   return aRegistry.GetValue( "bytes", aNew );
                               } ) );
    EXPECT_EQ( strLongName + "|b|", Joined( aTexts ) );

    aReports.Take();
    const std::string strReport = "From void MStringArray::Add( LPCTSTR pNewString )";
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
            aOwn.push_back(
                strSaid.find( strReport + "\r\n Error: m_pMStringList = new MStringList() failed" ) !=
                std::string::npos );
        } );
    // The list, the string, its text; then the list's own node, which it reports itself; then none.
    EXPECT_EQ( std::vector<bool>( { true, true, true, false, false } ), aOwn );
}
