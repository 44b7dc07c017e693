// The libraries that the registry loads at process attach and holds until process detach.
#include "core/callreport.h"
#include "core/threadregistry.h"

#include <bxtools/error.h>
#include <bxtools/lists.h>
#include <bxtools/mstring.h>
#include <bxtools/platform.h>

#include <memory>
#include <new>
#include <utility>

BOOL DLLMainGlobalThreadData::CheckHandleList()
{
    if ( m_pLibraryHandleList == NULL )
        m_pLibraryHandleList = new ( std::nothrow ) _HANDLEList( m_pMyDbgFunc );
    return m_pLibraryHandleList != NULL;
}

BOOL DLLMainGlobalThreadData::LoadLibraries( va_list argptr )
{
    CallReport aReport( std::as_const( *this ),
                        "From BOOL DLLMainGlobalThreadData::LoadLibraries( va_list argptr )" );
    for ( LPCTSTR pObj = va_arg( argptr, LPCTSTR ); pObj != NULL; pObj = va_arg( argptr, LPCTSTR ) )
    {
        const HMODULE hTempModule = LoadLibraryA( pObj );
        if ( hTempModule == NULL )
        {
            MString stLastError;
            BOOL fMessageFound = FALSE;
            AppendLastErrMsg( stLastError, GetLastError(), fMessageFound );
            aReport.Fail( " Error: ( hTempModule = LoadLibrary( pObj ) ) == NULL" );
            aReport.Tail( ", pObj = " ).Tail( pObj ).Tail( LPCTSTR( stLastError ) );
            return FALSE;
        }
        if ( !KeepLibrary( aReport, hTempModule ) )
        {
            FreeLibrary( hTempModule );
            return FALSE;
        }
    }
    return TRUE;
}

BOOL DLLMainGlobalThreadData::KeepLibrary( CallReport& rReport, HMODULE hTempModule )
{
    std::unique_ptr<HMODULE> pTempModuleObj( new ( std::nothrow ) HMODULE( hTempModule ) );
    if ( pTempModuleObj == NULL )
        return rReport.Fail( " Error: phTempModuleObj = new HMODULE() failed" );
    if ( !CheckHandleList() || !m_pLibraryHandleList->Append( pTempModuleObj.get() ) )
        return rReport.Fail( " Error: !CheckHandleList()" );
    pTempModuleObj.release();
    return TRUE;
}

long DLLMainGlobalThreadData::CountLibraries()
{
    const LockGuard aLock( m_aAttachSection );
    return m_pLibraryHandleList != NULL ? static_cast<long>( m_pLibraryHandleList->ItemCount() ) : 0;
}

HMODULE DLLMainGlobalThreadData::GetLibrary( long lIndex )
{
    const LockGuard aLock( m_aAttachSection );
    const HMODULE* phTempModuleObj =
        m_pLibraryHandleList != NULL ? m_pLibraryHandleList->GetItem( lIndex ) : NULL;
    return phTempModuleObj != NULL ? *phTempModuleObj : NULL;
}

// The attach lock is not held while a library goes: the system's loader has a lock of its own, with which it calls
// the ends of threads and the constructors of libraries, and those take the attach lock.
void DLLMainGlobalThreadData::FreeLibraries()
{
    CallReport aReport( std::as_const( *this ), "From void DLLMainGlobalThreadData::FreeLibraries()" );
    const long lCount = CountLibraries();
    for ( long lIndex = 0; lIndex < lCount; ++lIndex )
    {
        const HMODULE hTempModule = GetLibrary( lIndex );
        if ( hTempModule == NULL )
            aReport.Fail( " Error: phTempModuleObj == NULL" );
        else if ( !FreeLibrary( hTempModule ) )
            aReport.Fail( " Error: !FreeLibrary( *phTempModuleObj )" );
        aReport.ReportNow();
    }
}

void DLLMainGlobalThreadData::DeleteHandleList()
{
    const LockGuard aLock( m_aAttachSection );
    delete std::exchange( m_pLibraryHandleList, nullptr );
}
