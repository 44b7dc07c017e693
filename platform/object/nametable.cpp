#include "platform/object/nametable.h"

#include "platform/nocancellation.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>
#include <new>

namespace
{
// So many names without a handle are kept.
constexpr DWORD MOST_IDLE = 64;

Joining Fail( DWORD dwError ) noexcept
{
    SetLastError( dwError );
    return Joining::Failed;
}

uint64_t SecondsNow() noexcept
{
    timespec aNow{};
    clock_gettime( CLOCK_REALTIME_COARSE, &aNow );
    return static_cast<uint64_t>( aNow.tv_sec );
}
} // namespace

void NameTable::EnterIdle( NamedObject& rNamed ) noexcept
{
    rNamed.m_pNextIdle = nullptr;
    rNamed.m_pPreviousIdle = m_pLastIdle;
    ( m_pLastIdle != nullptr ? m_pLastIdle->m_pNextIdle : m_pFirstIdle ) = &rNamed;
    m_pLastIdle = &rNamed;
    ++m_dwIdle;
}

// Harmless for one that is not idle.
void NameTable::LeaveIdle( NamedObject& rNamed ) noexcept
{
    if ( rNamed.m_pPreviousIdle == nullptr && m_pFirstIdle != &rNamed )
        return;
    ( rNamed.m_pPreviousIdle != nullptr ? rNamed.m_pPreviousIdle->m_pNextIdle : m_pFirstIdle ) =
        rNamed.m_pNextIdle;
    ( rNamed.m_pNextIdle != nullptr ? rNamed.m_pNextIdle->m_pPreviousIdle : m_pLastIdle ) =
        rNamed.m_pPreviousIdle;
    rNamed.m_pNextIdle = rNamed.m_pPreviousIdle = nullptr;
    --m_dwIdle;
}

void NameTable::Add( NamedObject& rNamed ) noexcept
{
    NamedObject*& rpBucket = BucketOf( rNamed.m_ullHash );
    rNamed.m_pNextInBucket = rpBucket;
    rpBucket = &rNamed;
}

// The table's reference goes; the object itself may live on in uses, or as its owner's mutex.
void NameTable::Remove( NamedObject& rNamed ) noexcept
{
    LeaveIdle( rNamed );
    NamedObject** ppLink = &BucketOf( rNamed.m_ullHash );
    while ( *ppLink != &rNamed )
        ppLink = &( *ppLink )->m_pNextInBucket;
    *ppLink = rNamed.m_pNextInBucket;
    rNamed.m_pObject->Release();
}

// With the guard, of an object that does not exist. It stays Dead until everything stands.
Joining NameTable::GiveBirth( NamedObject& rNamed, ObjectMaker& rMaker ) noexcept
{
    ObjectHeader& rHeader = rNamed.GetHeader();
    rHeader.eState = ObjectState::Dead;
    rNamed.m_aFile.ClearHoldersAndBells();
    if ( !rMaker.Initialise( *rNamed.m_pObject ) )
        return Joining::Again;
    rHeader.ullMade = SecondsNow();
    rNamed.m_aFile.EnterHolder( rNamed.m_aSlot );
    rHeader.eState = ObjectState::Live;
    return Joining::Made;
}

// Of an object whose file is mapped, while this process has no handle to it.
Joining NameTable::JoinMapped( NamedObject& rNamed, ObjectMaker& rMaker, bool fCreate ) noexcept
{
    ObjectHeader& rHeader = rNamed.GetHeader();
    const ObjectGuard aGuard( rHeader );
    if ( !aGuard.IsGood() )
        return Joining::Again;
    const ObjectState eState = rHeader.eState;
    const bool fSameKind = rHeader.uKind == rMaker.GetKind();
    if ( eState == ObjectState::Live && rNamed.m_aFile.HasLivingHolder( rNamed.m_aSlot ) )
    {
        if ( !fSameKind )
            return Fail( ERROR_INVALID_HANDLE );
        rNamed.m_aFile.EnterHolder( rNamed.m_aSlot );
        return Joining::Existed;
    }
    if ( eState == ObjectState::Live || eState == ObjectState::Dead )
    {
        if ( !fCreate )
            return Fail( ERROR_FILE_NOT_FOUND );
        // The bytes of a mapping are not used twice: its size may differ, and they would have to be cleared.
        if ( fSameKind && rMaker.GetKind() != KIND_MAPPING )
            return GiveBirth( rNamed, rMaker );
    }
    return Joining::Again;
}

Joining NameTable::JoinKnown( NamedObject& rNamed, ObjectMaker& rMaker, bool fCreate ) noexcept
{
    if ( rNamed.m_dwHandles > 0 )
        return rNamed.m_pObject->GetKind() == rMaker.GetKind() ? Joining::Existed
                                                               : Fail( ERROR_INVALID_HANDLE );
    // The object here must be of the kind that the file is asked for.
    const Joining eJoining = rNamed.m_pObject->GetKind() == rMaker.GetKind()
                                 ? JoinMapped( rNamed, rMaker, fCreate )
                                 : Joining::GoToFile;
    return eJoining == Joining::Again ? Joining::GoToFile : eJoining;
}

KernelObject* NameTable::MakeObject( std::unique_ptr<NamedObject> pNamed, ObjectMaker& rMaker ) noexcept
{
    NamedObject& rNamed = *pNamed;
    KernelObject* const pObject = rMaker.MakeObject( std::move( pNamed ) );
    if ( pObject == nullptr )
        SetLastError( ERROR_NOT_ENOUGH_MEMORY );
    else
        rNamed.m_pObject = pObject;
    return pObject;
}

// With the folder's lock.
void NameTable::RemoveFile( NamedObject& rNamed ) noexcept
{
    {
        const ObjectGuard aGuard( rNamed.GetHeader() );
        rNamed.GetHeader().eState = ObjectState::Unlinked;
    }
    RemoveObjectFile( rNamed.m_aFile.GetScope(), rNamed.m_aLeaf.data() );
}

// With the folder's lock.
Joining NameTable::TryFile( const ObjectName& rName, const ProcessSlot& rSlot, ObjectMaker& rMaker,
                            bool fCreate, NamedObject*& rpNamed ) noexcept
{
    std::unique_ptr<NamedObject> pNamed( new ( std::nothrow ) NamedObject );
    if ( pNamed == nullptr )
        return Fail( ERROR_NOT_ENOUGH_MEMORY );
    NamedObject& rNamed = *pNamed;
    rNamed.m_aLeaf = rName.MakeLeaf();
    rNamed.m_aSlot = rSlot;
    rNamed.m_ullHash = rName.GetHash();
    const ObjectFile::Opening eOpening = rNamed.m_aFile.Open( rName.GetScope(), rNamed.m_aLeaf, rSlot );
    if ( eOpening == ObjectFile::Opening::Damaged )
    {
        RemoveObjectFile( rName.GetScope(), rNamed.m_aLeaf.data() );
        return Joining::Again;
    }
    const bool fNew = eOpening == ObjectFile::Opening::Missing;
    if ( eOpening == ObjectFile::Opening::Failed || ( fNew && !fCreate ) )
        return Joining::Failed;
    if ( fNew && !rNamed.m_aFile.Make( rName, rNamed.m_aLeaf, rMaker.GetKind(), rMaker.GetDataBytes(),
                                       rMaker.GetAllocatedBytes(), rSlot ) )
        return Joining::Failed;
    if ( !rNamed.m_aFile.HasName( rName ) )
        return Fail( ERROR_INVALID_HANDLE );
    KernelObject* const pObject = MakeObject( std::move( pNamed ), rMaker );
    if ( pObject == nullptr )
    {
        if ( fNew )
            RemoveObjectFile( rName.GetScope(), rName.MakeLeaf().data() );
        return Joining::Failed;
    }
    const Joining eJoining = fNew ? GiveBirth( rNamed, rMaker ) : JoinMapped( rNamed, rMaker, fCreate );
    if ( eJoining == Joining::Made || eJoining == Joining::Existed )
    {
        rpNamed = &rNamed;
        Add( rNamed );
        return eJoining;
    }
    if ( eJoining == Joining::Again )
        RemoveFile( rNamed );
    const DWORD dwError = GetLastError();
    pObject->Release();
    SetLastError( dwError );
    return eJoining;
}

Joining NameTable::JoinFile( const ObjectName& rName, ObjectMaker& rMaker, bool fCreate,
                             NamedObject*& rpNamed ) noexcept
{
    const NoCancellation aNoCancellation;
    ProcessSlot aSlot;
    if ( !TakeProcessSlot( rName.GetScope(), aSlot ) )
        return Joining::Failed;
    ChangeSlot( rName.GetScope(), aSlot );
    const FolderLock aFolderLock( rName.GetScope() );
    if ( !aFolderLock.IsGood() )
        return Fail( ERROR_NO_SYSTEM_RESOURCES );
    // A file that was given up goes the first time, what somebody put in its place the second.
    constexpr int ATTEMPTS = 4;
    for ( int i = 0; i < ATTEMPTS; ++i )
    {
        const Joining eJoining = TryFile( rName, aSlot, rMaker, fCreate, rpNamed );
        if ( eJoining != Joining::Again )
            return eJoining;
    }
    return Fail( ERROR_ACCESS_DENIED );
}

// After somebody closed our descriptor: what is entered under another slot is entered anew.
void NameTable::ChangeSlot( NamespaceScope eScope, const ProcessSlot& rSlot ) noexcept
{
    for ( NamedObject* pBucket : m_apBuckets )
    {
        for ( NamedObject* pNamed = pBucket; pNamed != nullptr; )
        {
            NamedObject& rNamed = *pNamed;
            pNamed = pNamed->m_pNextInBucket;
            if ( rNamed.m_aFile.GetScope() != eScope || rNamed.m_aSlot == rSlot )
                continue;
            if ( rNamed.m_dwHandles == 0 )
            {
                Remove( rNamed );
                continue;
            }
            const ObjectGuard aGuard( rNamed.GetHeader() );
            rNamed.m_aSlot = rSlot;
            rNamed.m_aFile.EnterHolder( rSlot );
        }
    }
}

void NameTable::RemoveHandle( NamedObject& rNamed ) noexcept
{
    if ( --rNamed.m_dwHandles > 0 )
        return;
    bool fDead = false;
    {
        const ObjectGuard aGuard( rNamed.GetHeader() );
        fDead = rNamed.m_aFile.LeaveHolder( rNamed.m_aSlot );
        if ( fDead && rNamed.GetHeader().eState == ObjectState::Live )
            rNamed.GetHeader().eState = ObjectState::Dead;
    }
    EnterIdle( rNamed );
    if ( rNamed.m_pObject->GetKind() == KIND_MAPPING )
        RemoveIdle( rNamed );
    else if ( m_dwIdle > MOST_IDLE )
        RemoveIdle( *m_pFirstIdle );
}

// Of one without a handle: the table forgets it, and where no other process holds it, its file goes, too.
void NameTable::RemoveIdle( NamedObject& rNamed ) noexcept
{
    const NoCancellation aNoCancellation;
    const int nSavedErrno = errno;
    const DWORD dwSavedError = GetLastError();
    const NamespaceScope eScope = rNamed.m_aFile.GetScope();
    // Not without the folder's lock; what is left then the next sweep takes.
    if ( HasProcessSlot( eScope, rNamed.m_aSlot ) )
    {
        const FolderLock aFolderLock( eScope );
        if ( aFolderLock.IsGood() && !IsHeldByOthers( rNamed ) )
            RemoveFile( rNamed );
    }
    Remove( rNamed );
    SetLastError( dwSavedError );
    errno = nSavedErrno;
}

// Also true of a file that was given up by others, whose name may be another file's by now.
bool NameTable::IsHeldByOthers( NamedObject& rNamed ) noexcept
{
    const ObjectGuard aGuard( rNamed.GetHeader() );
    const ObjectState eState = rNamed.GetHeader().eState;
    return eState == ObjectState::Unlinked ||
           ( eState == ObjectState::Live && rNamed.m_aFile.HasLivingHolder( rNamed.m_aSlot ) );
}

void NameTable::RemoveAllIdle() noexcept
{
    while ( m_pFirstIdle != nullptr )
        RemoveIdle( *m_pFirstIdle );
}

bool NameTable::IsEmpty() noexcept
{
    return std::all_of( std::begin( m_apBuckets ), std::end( m_apBuckets ),
                        []( const NamedObject* pBucket ) { return pBucket == nullptr; } );
}

// The shared files are the parent's and stay as they are.
void NameTable::RemoveAllInChild() noexcept
{
    for ( NamedObject*& rpBucket : m_apBuckets )
    {
        while ( rpBucket != nullptr )
        {
            rpBucket->m_aFile.Close();
            Remove( *rpBucket );
        }
    }
}
