#include "core/callreport.h"
#include "process/processmatch.h"
#include "process/procservices.h"

#include <bxtools/mstring.h>
#include <bxtools/process.h>

namespace
{

BOOL DLL_EXPORT OnEnumProcessSearch( DWORD dwPID, WORD whTask16, LPCTSTR szFileName, LPARAM lParam )
{
    MyInfoStruct& rStruct = *reinterpret_cast<MyInfoStruct*>( lParam );
    MString aLongPath;
    if ( dwPID == GetCurrentProcessId() ||
         !IsSameName( ProgramName( szFileName, aLongPath ), rStruct.m_pText ) )
        return TRUE;
    rStruct.m_dwProcess32ID = dwPID;
    rStruct.m_dwTask16 = whTask16;
    return FALSE;
}

} // namespace

BOOL DLL_EXPORT FindProcess( LPCTSTR pProcess, DWORD* pProcess32ID, WORD* pProcess16ID )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT FindProcess( LPCTSTR pProcess, DWORD* pProcess32ID, WORD* pProcess16ID )" );
    if ( pProcess == NULL )
        return aReport.Fail( " Error: pProcess == NULL" );
    if ( *pProcess == '\0' )
        return aReport.Fail( " Error: STRLEN( pProcess ) == 0" );
    if ( pProcess32ID == NULL && pProcess16ID == NULL )
        return aReport.Fail( " Error: pProcess32ID == NULL && pProcess16ID == NULL" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            MyInfoStruct aStruct;
            aStruct.m_pText = pProcess;
            if ( !EnumProcs( OnEnumProcessSearch, reinterpret_cast<LPARAM>( &aStruct ) ) )
                return aReport.Fail( " Error: !EnumProcs( OnEnumProcessSearch, (LPARAM)&aStruct )" );
            if ( pProcess32ID != NULL )
                *pProcess32ID = aStruct.m_dwProcess32ID;
            if ( pProcess16ID != NULL )
                *pProcess16ID = static_cast<WORD>( aStruct.m_dwTask16 );
            return TRUE;
        } );
}
