#include "platform/object/handletable.h"
#include "platform/testobject.h"
#include "support/failnew.h"
#include "support/threads.h"

#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace
{
HANDLE ToHandle( ULONG_PTR ulValue )
{
    return reinterpret_cast<HANDLE>( ulValue );
}

ULONG_PTR ToNumber( HANDLE hObject )
{
    return reinterpret_cast<ULONG_PTR>( hObject );
}

// The last error of a look-up that fails, 0 of one that succeeds.
DWORD TryUse( HANDLE hObject )
{
    SetLastError( 0 );
    const HandleUse aUse( hObject, KIND_EVENT, 0 );
    EXPECT_EQ( aUse.IsGood(), GetLastError() == 0 );
    return GetLastError();
}
} // namespace

TEST( HandleTable, AClosedHandleIsRecognised )
{
    TestObject::Counts aCounts;
    std::set<HANDLE> aSeen;
    for ( int i = 0; i < 2000; ++i )
    {
        const HANDLE hObject = MakeHandle( new TestObject( aCounts ), 0 );
        const ULONG_PTR ulHandle = ToNumber( hObject );
        ASSERT_TRUE( ulHandle % 4 == 0 && ulHandle > 0xFFFF && ulHandle <= 0x7FFFFFFF );
        ASSERT_TRUE( aSeen.insert( hObject ).second );
        ASSERT_EQ( ERROR_INVALID_HANDLE + 0u, TryUse( ToHandle( ulHandle + 1 ) ) );
        ASSERT_TRUE( CloseHandle( hObject ) );
        ASSERT_FALSE( CloseHandle( hObject ) );
        ASSERT_EQ( ERROR_INVALID_HANDLE + 0u, TryUse( hObject ) );
    }
    EXPECT_EQ( 2000, aCounts.nDestroyed );
    for ( const HANDLE hBad : { HANDLE(), ToHandle( 4 ), ToHandle( 0x7FFFFFFC ), INVALID_HANDLE_VALUE,
                                ToHandle( ~ULONG_PTR( 3 ) ) } )
        EXPECT_EQ( ERROR_INVALID_HANDLE + 0u, TryUse( hBad ) );
}

TEST( HandleTable, HandlesAndUsersHoldTheObject )
{
    TestObject::Counts aCounts;
    TestObject* const pObject = new TestObject( aCounts );
    const HANDLE hFirst = MakeHandle( pObject, 0 );
    pObject->AddReference();
    const HANDLE hObject = MakeHandle( pObject, 0 );
    EXPECT_TRUE( CloseHandle( hFirst ) );
    {
        const HandleUse aUse( hObject, KIND_EVENT, 0 );
        EXPECT_TRUE( CloseHandle( hObject ) );
        EXPECT_EQ( ERROR_INVALID_HANDLE + 0u, TryUse( hObject ) );
        ASSERT_EQ( 0, aCounts.nDestroyed );
    }
    EXPECT_EQ( 1, aCounts.nDestroyed );
    const HANDLE hKey = MakeHandle( new TestObject( aCounts, KIND_REGISTRY_KEY ), 0 );
    EXPECT_FALSE( CloseHandle( hKey ) );
    EXPECT_TRUE( CloseHandleOfKind( hKey, KIND_REGISTRY_KEY ) );
    EXPECT_EQ( 2, aCounts.nDestroyed );
}

TEST( HandleTable, WithoutMemoryTheObjectIsDropped )
{
    TestObject::Counts aCounts;
    std::vector<HANDLE> aHandles;
    for ( bool fFailed = false; !fFailed; )
    {
        TestObject* const pObject = new TestObject( aCounts );
        NewFault aFault( 1 );
        aHandles.push_back( aFault.During( [&] { return MakeHandle( pObject, 0 ); } ) );
        fFailed = aFault.Hit();
        ASSERT_EQ( fFailed, aHandles.back() == NULL );
        ASSERT_EQ( fFailed, aCounts.nDestroyed != 0 );
    }
    EXPECT_EQ( ERROR_NOT_ENOUGH_MEMORY + 0u, GetLastError() );
    for ( const HANDLE hObject : aHandles )
        CloseHandle( hObject );
    EXPECT_EQ( aHandles.size(), static_cast<size_t>( aCounts.nDestroyed ) );
}

// Several threads look up and close the same handles while new objects take their places.
TEST( HandleTable, ThreadsMeetWholeObjectsOnly )
{
    TestObject::Counts aCounts;
    std::atomic<HANDLE> ahShared[8] = {};
    std::atomic<int> nClosed{ 0 };
    std::atomic<int> nWrong{ 0 };
    std::atomic<unsigned> uThread{ 0 };
    const auto Work = [&]
    {
        unsigned uSeed = uThread++;
        for ( int i = 0; i < 20000; ++i )
        {
            uSeed = uSeed * 1664525 + 1013904223;
            std::atomic<HANDLE>& rhShared = ahShared[uSeed >> 29];
            const HANDLE hObject = rhShared;
            if ( const HandleUse aUse( hObject, KIND_EVENT, 0 ); aUse.IsGood() )
            {
                nWrong += aUse.GetObject<TestObject>()->nAlive != 12345;
                if ( ( uSeed >> 20 & 3 ) == 0 )
                    nClosed += CloseHandle( hObject );
                continue;
            }
            rhShared = MakeHandle( new TestObject( aCounts ), 0 );
        }
    };
    OnThreads( 4, Work );
    EXPECT_EQ( 0, nWrong );
    EXPECT_EQ( nClosed, aCounts.nDestroyed );
    EXPECT_GT( nClosed, 1000 );
}
