// Both walks over the processes, of which a system takes one only.
#include "process/processes.h"
#include "process/processmatch.h"
#include "process/processwalks.h"

#include <gtest/gtest.h>

#include <map>

namespace
{

using Listed = std::map<DWORD, std::string>;

BOOL DLL_EXPORT Take( DWORD dwPID, WORD, LPCTSTR szFileName, LPARAM lParam )
{
    reinterpret_cast<Listed*>( lParam )->emplace( dwPID, szFileName );
    return TRUE;
}

BOOL DLL_EXPORT TakeOne( DWORD, WORD, LPCTSTR, LPARAM lParam )
{
    ++*reinterpret_cast<int*>( lParam );
    return FALSE;
}

} // namespace

TEST( ProcessWalks, OfBothFamiliesFindTheProcessesUntilTheyAreStopped )
{
    const NamedProgram aProgram( "Walked" );
    const auto pProcess = aProgram.Start( "bystander" );
    for ( const auto pWalk : { &EnumOnNT, &EnumOnWindows95 } )
    {
        Listed aListed;
        EXPECT_TRUE( pWalk( &Take, reinterpret_cast<LPARAM>( &aListed ) ) );
        EXPECT_EQ( 1u, aListed.count( GetCurrentProcessId() ) );
        const std::string strName = aListed[static_cast<DWORD>( pProcess->Id() )];
        // One family tells paths, the other may tell names alone.
        EXPECT_TRUE( IsSameName( aProgram.strName, strName ) ||
                     IsSameName( aProgram.strName, FileNamePart( strName ) ) )
            << strName;
        int nTaken = 0;
        EXPECT_TRUE( pWalk( &TakeOne, reinterpret_cast<LPARAM>( &nTaken ) ) );
        EXPECT_EQ( 1, nTaken );
    }
}
