// What CRegistry does through its table of virtual functions, and without memory.
#include "config/registrytest.h"
#include "support/failnew.h"
#include "support/recorder.h"
#include "support/virtualslots.h"

#include <numeric>
#include <stdexcept>
#include <utility>
#include <vector>

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
