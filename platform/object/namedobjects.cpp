#include "platform/object/namedobjects.h"

#include "platform/forkhandlers.h"
#include "platform/locked.h"
#include "platform/object/handletable.h"
#include "platform/object/nametable.h"

#include <cerrno>

namespace
{
// Guards the table of names.
constinit CRITICAL_SECTION g_aLock{};
} // namespace

void NamedObject::HandleClosed() noexcept
{
    const LockedScope aLocked( g_aLock );
    NameTable::RemoveHandle( *this );
}

HANDLE MakeNamedHandle( const ObjectName& rName, ObjectMaker& rMaker, bool fCreate, DWORD dwAccess ) noexcept
{
    const StopGate aGate;
    InstallForkHandlers();
    KernelObject* pObject = nullptr;
    Joining eJoining = Joining::GoToFile;
    {
        const LockedScope aLocked( g_aLock );
        NamedObject* pNamed = NameTable::Find( rName );
        if ( pNamed != nullptr )
            eJoining = NameTable::JoinKnown( *pNamed, rMaker, fCreate );
        if ( eJoining == Joining::GoToFile )
        {
            if ( pNamed != nullptr )
                NameTable::Remove( *pNamed );
            const int nSavedErrno = errno;
            eJoining = NameTable::JoinFile( rName, rMaker, fCreate, pNamed );
            errno = nSavedErrno;
        }
        if ( eJoining == Joining::Failed )
            return nullptr;
        pObject = NameTable::AddHandle( *pNamed );
    }
    if ( fCreate )
        SetLastError( eJoining == Joining::Existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS );
    return MakeHandle( pObject, dwAccess );
}

HANDLE OpenNamedHandle( LPCSTR pName, ObjectMaker& rMaker, DWORD dwAccess ) noexcept
{
    if ( pName == nullptr )
    {
        SetLastError( ERROR_INVALID_PARAMETER );
        return nullptr;
    }
    const ObjectName aName( pName );
    if ( !aName.IsGood() )
        return nullptr;
    if ( aName.IsEmpty() )
    {
        SetLastError( ERROR_FILE_NOT_FOUND );
        return nullptr;
    }
    return MakeNamedHandle( aName, rMaker, false, dwAccess );
}

HANDLE MakeUnnamedHandle( KernelObject* pObject, DWORD dwAccess ) noexcept
{
    const StopGate aGate;
    InstallForkHandlers();
    SetLastError( pObject != nullptr ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY );
    return pObject != nullptr ? MakeHandle( pObject, dwAccess ) : nullptr;
}

void CloseNamedObjects() noexcept
{
    const LockedScope aLocked( g_aLock );
    NameTable::RemoveAllIdle();
    if ( NameTable::IsEmpty() )
        GiveProcessSlotsBack();
}

void LockNamedObjects()
{
    EnterCriticalSection( &g_aLock );
}

void UnlockNamedObjects()
{
    LeaveCriticalSection( &g_aLock );
}

void ResetNamedObjectsInChild()
{
    NameTable::RemoveAllInChild();
    UnlockNamedObjects();
}
