#include "core/threadregistry.h"

#include "core/callreport.h"
#include "core/dllmain.h"
#include "core/threadcontainer.h"

#include <bxtools/lists.h>

#include <memory>
#include <utility>

namespace
{

// How often a container is destroyed that a deleter has called into being while its thread's last one went.
constexpr int MAX_DELETE_ROUNDS = 4;

} // namespace

CThreadGlobalObjectElemInterface::CThreadGlobalObjectElemInterface( CreateThreadElemFuc pCreateFunc,
                                                                    DeleteThreadElemFuc pDeleteFunc )
    : m_pCreatorFunc( pCreateFunc ),
      m_pDeleteFunc( pDeleteFunc )
{
}

CThreadGlobalObjectElemInterface::~CThreadGlobalObjectElemInterface() noexcept( false )
{
    CallReport aReport( *this, "From CThreadGlobalObjectElemInterface::~CThreadGlobalObjectElemInterface()" );
    if ( m_pDeleteFunc == NULL )
        aReport.Fail( " Error: m_pDeleteFunc == NULL -> wrong initializaton" );
    else
        aReport.Guard( FALSE, " Error: (*m_pDeleteFunc)() caused uncaught exception",
                       [this]() { return m_pDeleteFunc( m_plObj ); } );
}

LPVOID CThreadGlobalObjectElemInterface::GetObj()
{
    if ( m_plObj != NULL )
        return m_plObj;
    CallReport aReport( *this, "From LPVOID CThreadGlobalObjectElemInterface::GetObj()" );
    if ( m_pCreatorFunc == NULL )
        return aReport.FailNull( " Error: m_pCreatorFunc == NULL -> wrong initializaton" );
    return aReport.Guard( LPVOID( NULL ), " Error: m_plObj = (*m_pCreatorFunc)() caused uncaught exception",
                          [this]() { return m_plObj = m_pCreatorFunc(); } );
}

BOOL CThreadGlobalObjectElemInterface::CompareEqual( CreateThreadElemFuc pCreateFunc,
                                                     DeleteThreadElemFuc pDeleteFunc ) const
{
    return m_pCreatorFunc == pCreateFunc && m_pDeleteFunc == pDeleteFunc;
}

DLLMainGlobalThreadData::DLLMainGlobalThreadData() = default;

DLLMainGlobalThreadData::~DLLMainGlobalThreadData()
{
    DeleteHandleList();
}

BOOL DLLMainGlobalThreadData::OnProcessATTACH( MYDBGFUNC pMyDbgFunc, ... )
{
    if ( pMyDbgFunc != NULL )
        m_pMyDbgFunc = pMyDbgFunc;
    CallReport aReport( *this, "From BOOL DLLMainGlobalThreadData::OnProcessATTACH()" );
    const LockGuard aLock( m_aAttachSection );
    va_list argptr;
    va_start( argptr, pMyDbgFunc );
    const BOOL fLoaded = LoadLibraries( argptr );
    va_end( argptr );
    if ( !fLoaded )
        return aReport.Fail( " Error: !LoadLibraries( (va_list) argptr )" );
    if ( !CheckTLS( m_dwTlsGlobalOffset, TRUE ) )
        return aReport.Fail( " Error: !CheckTLS( m_dwTlsGlobalOffset ), TRUE" );
    if ( ReadSlot() == NULL )
    {
        const LPVOID pThreadGlobalObject = CreateThreadGlobalObject( GLOBAL_OBJ_FROM_PROCESS );
        if ( pThreadGlobalObject == NULL )
            return aReport.Fail( " Error: CreateThreadGlobalObject( GLOBAL_OBJ_FROM_PROCESS ) == 0" );
        DeleteUnlessStored( pThreadGlobalObject );
    }
    if ( InterlockedIncrement( &m_lProcessCount ) != 1 )
        return aReport.Fail( " Error: InterlockedIncrement( &m_lProcessCount ) -> m_lProcessCount > 1" );
    return TRUE;
}

BOOL DLLMainGlobalThreadData::OnProcessDETACH()
{
    static constexpr char HEADER[] = "From BOOL DLLMainGlobalThreadData::OnProcessDETACH()";
    CallReport aSlotReport( std::as_const( *this ), HEADER );
    CallReport aObjectReport( std::as_const( *this ), HEADER );
    if ( ReadSlot() == NULL )
        AwaitThreadEnd();
    if ( !DeleteThreadGlobalObject( FALSE ) )
        aObjectReport.Fail( " Error: !DeleteThreadGlobalObject()" );
    {
        const LockGuard aLock( m_aAttachSection );
        // The index is nobody's business any more before another part of the process may get it.
        const DWORD dwTlsGlobalOffset = m_dwTlsGlobalOffset.exchange( TLS_OUT_OF_INDEXES );
        if ( !TlsFree( dwTlsGlobalOffset ) )
        {
            m_dwTlsGlobalOffset = dwTlsGlobalOffset;
            aSlotReport.Fail( " Error: !TlsFree( m_dwTlsGlobalOffset )" );
        }
    }
    FreeLibraries();
    InterlockedDecrement( &m_lProcessCount );
    return !aObjectReport.Failed() && !aSlotReport.Failed();
}

BOOL DLLMainGlobalThreadData::OnThreadATTACH()
{
    return TRUE;
}

BOOL DLLMainGlobalThreadData::OnThreadDETACH()
{
    const LastErrorGuard aLastError;
    if ( ReadSlot() == NULL )
        return TRUE;
    CallReport aReport( std::as_const( *this ), "From BOOL DLLMainGlobalThreadData::OnThreadDETACH()" );
    if ( !DeleteThreadGlobalObject( TRUE ) )
        return aReport.Fail( " Error: !DeleteThreadGlobalObject( TRUE )" );
    return TRUE;
}

CThreadGlobalObjectInterface* DLLMainGlobalThreadData::GetThreadGlobalObject()
{
    const LastErrorGuard aLastError;
    if ( CThreadGlobalObjectInterface* pObj = ReadSlot(); pObj != NULL )
        return pObj;
    CallReport aReport(
        std::as_const( *this ),
        "From CThreadGlobalObjectInterface* DLLMainGlobalThreadData::GetThreadGlobalObject()" );
    AwaitThreadEnd();
    const LockGuard aLock( m_aAttachSection );
    CThreadGlobalObjectInterface* pObj = internalGetThreadGlobalObject( FALSE );
    if ( pObj == NULL )
        aReport.Fail( " Error: ( pObj = internalGetThreadGlobalObject() ) == NULL" );
    return pObj;
}

LPVOID DLLMainGlobalThreadData::GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc,
                                                        DeleteThreadElemFuc pDeleteFunc )
{
    const LastErrorGuard aLastError;
    if ( CThreadGlobalObjectInterface* pThreadGlobalObject = ReadSlot(); pThreadGlobalObject != NULL )
    {
        if ( LPVOID lValue = pThreadGlobalObject->PeekObject( pCreateFunc, pDeleteFunc ); lValue != NULL )
            return lValue;
    }
    return MakeThreadSpecialObject( pCreateFunc, pDeleteFunc );
}

LPVOID DLLMainGlobalThreadData::MakeThreadSpecialObject( CreateThreadElemFuc pCreateFunc,
                                                         DeleteThreadElemFuc pDeleteFunc )
{
    CallReport aReport(
        std::as_const( *this ),
        "From LPVOID DLLMainGlobalThreadData::GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )" );
    AwaitThreadEnd();
    return aReport.Guard(
        LPVOID( NULL ), SEVERE_ERROR,
        [&]() -> LPVOID
        {
            const LockGuard aLock( m_aAttachSection );
            CThreadGlobalObjectInterface* pThreadGlobalObject = internalGetThreadGlobalObject( FALSE );
            if ( pThreadGlobalObject == NULL )
                return aReport.FailNull(
                    " Error: ( pThreadGlobalObject = internalGetThreadGlobalObject() ) == NULL" );
            const LPVOID lValue = pThreadGlobalObject->GetObject( pCreateFunc, pDeleteFunc );
            if ( lValue == NULL )
                aReport.Fail(
                    " Error: ( lValue = pThreadGlobalObject->GetObject( pCreateFunc, pDeleteFunc ) ) == 0" );
            return lValue;
        } );
}

void DLLMainGlobalThreadData::KeepServedObject( ServedNumber eNumber, LPVOID lValue ) const
{
    const LastErrorGuard aLastError;
    if ( CThreadGlobalObjectInterface* pThreadGlobalObject = ReadSlot(); pThreadGlobalObject != NULL )
        pThreadGlobalObject->KeepServed( eNumber, lValue );
}

void DLLMainGlobalThreadData::DropServedObject( const ServedObject& rServed ) const
{
    const LastErrorGuard aLastError;
    if ( CThreadGlobalObjectInterface* pThreadGlobalObject = ReadSlot(); pThreadGlobalObject != NULL )
        pThreadGlobalObject->DropServed( rServed );
}

void DLLMainGlobalThreadData::LockOnFunctionLevel()
{
    m_aFunctionSection.Enter();
}

void DLLMainGlobalThreadData::UnLockOnFunctionLevel()
{
    m_aFunctionSection.Leave();
}

BOOL DLLMainGlobalThreadData::CheckTLS( std::atomic<DWORD>& rTlsOffset, BOOL fCreate )
{
    if ( rTlsOffset != TLS_OUT_OF_INDEXES )
        return TRUE;
    if ( !fCreate )
        return FALSE;
    // Whether there was a slot left shows when it is used.
    rTlsOffset = TlsAlloc();
    return TRUE;
}

// The calling thread is about to get a container, which its end must give back. Comes before the attach lock is taken,
// because it may wait for the system's loader.
void DLLMainGlobalThreadData::AwaitThreadEnd()
{
    if ( CheckTLS( m_dwTlsGlobalOffset, FALSE ) )
        RequestThreadEndNotice();
}

// The calling thread's container, NULL without one and without a slot. Changes the last error.
CThreadGlobalObjectInterface* DLLMainGlobalThreadData::ReadSlot() const
{
    // The thread that finds something in the slot has stored it itself.
    return static_cast<CThreadGlobalObjectInterface*>( TlsGetValue( GetSlot() ) );
}

LPVOID DLLMainGlobalThreadData::CreateThreadGlobalObject( int nMode )
{
    CallReport aReport( std::as_const( *this ),
                        "From LPVOID DLLMainGlobalThreadData::CreateThreadGlobalObject( int nMode )" );
    if ( !CheckTLS( m_dwTlsGlobalOffset, FALSE ) )
        return aReport.FailNull( " Error: !CheckTLS( m_dwTlsGlobalOffset )" );
    CThreadGlobalObjectInterface* pThreadGlobalObject = aReport.Guard(
        (CThreadGlobalObjectInterface*)NULL,
        " Error: pThreadGlobalObject = new CThreadGlobalObjectInterface( m_pMyDbgFunc, m_pMyLogFunc ) failed",
        [this]() { return new CThreadGlobalObjectInterface( m_pMyDbgFunc, m_pMyLogFunc ); } );
    if ( pThreadGlobalObject == NULL )
        return NULL;
    // A container that could not be stored or named is returned all the same; the caller looks at the slot again.
    if ( !TlsSetValue( m_dwTlsGlobalOffset, pThreadGlobalObject ) )
        aReport.Fail( " Error: !TlsSetValue( m_dwTlsGlobalOffset, (LPVOID) pThreadGlobalObject )" );
    else if ( !pThreadGlobalObject->SetThisData( nMode ) )
        aReport.Fail( " Error: !pThreadGlobalObject->SetThisData( nMode )" );
    return pThreadGlobalObject;
}

// Frees a container that did not get into the slot: no thread would ever find it again.
void DLLMainGlobalThreadData::DeleteUnlessStored( LPVOID pThreadGlobalObject ) const
{
    if ( ReadSlot() != pThreadGlobalObject )
        static_cast<CThreadGlobalObjectInterface*>( pThreadGlobalObject )->OnDeleteSelf();
}

CThreadGlobalObjectInterface* DLLMainGlobalThreadData::internalGetThreadGlobalObject( BOOL fOnThreadDetach )
{
    CallReport aReport(
        std::as_const( *this ),
        "From CThreadGlobalObjectInterface* DLLMainGlobalThreadData::internalGetThreadGlobalObject()" );
    CThreadGlobalObjectInterface* pThreadGlobalObject = ReadSlot();
    // The end of a thread after process detach is no failure.
    if ( pThreadGlobalObject != NULL || fOnThreadDetach )
        return pThreadGlobalObject;
    if ( !CheckTLS( m_dwTlsGlobalOffset, FALSE ) )
        return aReport.FailNull( " Error: !CheckTLS( m_dwTlsGlobalOffset )" );
    const LPVOID pNewObject = CreateThreadGlobalObject( GLOBAL_OBJ_FROM_THREAD );
    if ( pNewObject == NULL )
        return aReport.FailNull( " Error: CreateThreadGlobalObject( GLOBAL_OBJ_FROM_THREAD ) == 0" );
    pThreadGlobalObject = ReadSlot();
    if ( pThreadGlobalObject == NULL )
        aReport.Fail(
            " Error: ( pThreadGlobalObject = (CThreadGlobalObjectInterface*) TlsGetValue( m_dwTlsGlobalOffset ) ) == NULL" );
    DeleteUnlessStored( pNewObject );
    return pThreadGlobalObject;
}

// Takes the calling thread's container out of the slot, which goes first, so that a deleter that calls in makes a fresh
// start and finds nothing half destroyed.
CThreadGlobalObjectInterface* DLLMainGlobalThreadData::TakeThreadGlobalObject( BOOL fOnThreadDetach )
{
    const LockGuard aLock( m_aAttachSection );
    CThreadGlobalObjectInterface* pThreadGlobalObject = internalGetThreadGlobalObject( fOnThreadDetach );
    if ( pThreadGlobalObject != NULL )
        TlsSetValue( m_dwTlsGlobalOffset, NULL );
    return pThreadGlobalObject;
}

// The attach lock is not held while objects are destroyed, which are the thread's own: some release a library, and so
// wait for the loader's lock, with which other threads end.
BOOL DLLMainGlobalThreadData::DeleteThreadGlobalObject( BOOL fOnThreadDetach )
{
    CallReport aReport(
        std::as_const( *this ),
        "From BOOL DLLMainGlobalThreadData::DeleteThreadGlobalObject( BOOL fOnThreadDetach )" );
    CThreadGlobalObjectInterface* pThreadGlobalObject = TakeThreadGlobalObject( fOnThreadDetach );
    if ( pThreadGlobalObject == NULL && !fOnThreadDetach )
        return aReport.Fail(
            " Error: ( pThreadGlobalObject = internalGetThreadGlobalObject( fOnThreadDetach ) ) == NULL" );
    for ( int nRound = 1; pThreadGlobalObject != NULL; ++nRound )
    {
        pThreadGlobalObject->OnDeleteSelf();
        pThreadGlobalObject = nRound < MAX_DELETE_ROUNDS ? TakeThreadGlobalObject( TRUE ) : NULL;
    }
    return TRUE;
}
