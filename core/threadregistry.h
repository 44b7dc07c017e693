// The registry of per-thread objects. A part of the library that wants one object per thread hands a pair of
// functions to GetThreadSpecialObject: the first makes the object, on the thread's first request for the pair; the
// second destroys it, on the same thread when the thread ends, or at process detach for the thread that performs it.
//
// The registry knows nothing but such pairs. What it owns: one thread-local slot, in which each thread that calls in
// gets a container of its objects (core/threadcontainer.h), and the libraries that were loaded at process attach.
// Every failing member reports once to the hook of the object; nothing is thrown.
#pragma once

#include "core/guards.h"

#include <bxtools/baseobject.h>

#include <atomic>
#include <cstdarg>

class CThreadGlobalObjectInterface;
class CallReport;
class _HANDLEList;

// Makes an object, which becomes the thread's. Result: the object, NULL on failure (the next request tries again).
// Must not rely on another per-thread object being present, and must not wait for another thread.
typedef LPVOID( DLL_EXPORT* CreateThreadElemFuc )();

// Destroys such an object. NULL, which comes where the object could never be made, is to be reported.
// Result: TRUE when the object was destroyed; the registry does not use it.
typedef BOOL( DLL_EXPORT* DeleteThreadElemFuc )( LPVOID );

// The calling thread's object for the pair, made on its first request.
// Result: the object, the registry's; NULL with a report when it cannot be had, as always after process detach.
// Threads: any; each has its own objects. The last error is preserved. Never throws.
LPVOID GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc );

// The objects that the library itself keeps per thread.
enum class ServedNumber
{
    BuffServer,
    ErrServerList,
    NLSServer,
    Count
};

// One of them: the pair, and what its accessor reports when it cannot be had.
struct ServedObject
{
    ServedNumber m_eNumber;
    CreateThreadElemFuc m_pCreateFunc;
    DeleteThreadElemFuc m_pDeleteFunc;
    LPCTSTR m_pHeader;
    LPCTSTR m_pText;
};

// GetThreadSpecialObject for such an object, with both reports. Once the thread has it, this costs no more than a
// thread-local pointer of the system's own, so that no caller need keep the object.
LPVOID GetServedObject( const ServedObject& rServed );
// The same for a thread that has not asked for it yet.
LPVOID MakeServedObject( const ServedObject& rServed );
// Destroys the calling thread's object, if it has one; the next request makes a new one. The last error is preserved.
void DropServedObject( const ServedObject& rServed );

// How a container came to be.
inline constexpr int GLOBAL_OBJ_FROM_PROCESS = 1; // made during process attach
inline constexpr int GLOBAL_OBJ_FROM_THREAD = 2;  // made on a thread's first use

// One object of one thread, with the pair of functions that make and destroy it.
class CThreadGlobalObjectElemInterface : public BaseObject2
{
public:
    CThreadGlobalObjectElemInterface( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc );
    // Hands the object to the deleter, also when there is none: the deleter then reports it. Lets nothing but the
    // forced unwinding of a cancelled thread pass.
    ~CThreadGlobalObjectElemInterface() noexcept( false );
    CThreadGlobalObjectElemInterface( const CThreadGlobalObjectElemInterface& ) = delete;
    CThreadGlobalObjectElemInterface& operator=( const CThreadGlobalObjectElemInterface& ) = delete;

    // The object, made now if there is none yet; NULL when the creator gives none, or throws.
    LPVOID GetObj();
    // The object if there is one.
    LPVOID PeekObj() const { return m_plObj; }
    BOOL CompareEqual( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc ) const;

private:
    LPVOID m_plObj = NULL;
    CreateThreadElemFuc m_pCreatorFunc;
    DeleteThreadElemFuc m_pDeleteFunc;
};

// The registry itself.
// Threads: any. The attach lock is held while something is made, and while a container or the slot is given up; what a
// thread has already is found without it, so that nobody waits for another thread's creator, and no deleter runs with it.
class DLLMainGlobalThreadData : public BaseObject2
{
public:
    // No libraries, no slot, count 0; reports to the library's debug hook.
    DLLMainGlobalThreadData();
    // Releases the cells of the library handles and the locks: only when no thread can call in any more. Detaches
    // nothing.
    ~DLLMainGlobalThreadData();
    DLLMainGlobalThreadData( const DLLMainGlobalThreadData& ) = delete;
    DLLMainGlobalThreadData& operator=( const DLLMainGlobalThreadData& ) = delete;

    // Loads the libraries, allocates the slot and makes the calling thread's container, unless it has one.
    //   pMyDbgFunc  becomes the debug hook; NULL leaves it as it is. Behind it come the names of the libraries to
    //               load, ended by a null pointer.
    // Result: FALSE with one report when a step failed; the steps before it are not undone. A second attach is
    // counted and refused; kept so.
    BOOL OnProcessATTACH( MYDBGFUNC pMyDbgFunc, ... );
    // Destroys the calling thread's objects (a thread without any first gets a container; kept so), frees the slot,
    // releases the libraries. Containers of other threads are left alone; those threads end silently.
    // Result: FALSE when the container or the slot could not be given back, each with a report; the rest is done.
    BOOL OnProcessDETACH();
    // Does nothing. Result: TRUE.
    BOOL OnThreadATTACH();
    // Destroys the calling thread's objects. Result: TRUE, also for a thread that has none.
    BOOL OnThreadDETACH();

    // The calling thread's container, made if needed; NULL with a report when it cannot be had.
    CThreadGlobalObjectInterface* GetThreadGlobalObject();
    // See the free function of that name.
    LPVOID GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc );

    // Keeps a served object in the calling thread's container, where GetServedObject looks first.
    void KeepServedObject( ServedNumber eNumber, LPVOID lValue ) const;
    // See the free function of that name.
    void DropServedObject( const ServedObject& rServed ) const;
    // The thread-local slot of the containers.
    DWORD GetSlot() const { return m_dwTlsGlobalOffset.load( std::memory_order_relaxed ); }

    // Enter and leave the function-level lock, which is another than the attach lock.
    void LockOnFunctionLevel() BX_ACQUIRE( m_aFunctionSection );
    void UnLockOnFunctionLevel() BX_RELEASE( m_aFunctionSection );

protected:
    // Frees the cells of the library handles, without releasing the libraries.
    void DeleteHandleList();

private:
    static BOOL CheckTLS( std::atomic<DWORD>& rTlsOffset, BOOL fCreate );
    BOOL CheckHandleList() BX_REQUIRES( m_aAttachSection );
    BOOL LoadLibraries( va_list argptr ) BX_REQUIRES( m_aAttachSection );
    BOOL KeepLibrary( CallReport& rReport, HMODULE hTempModule ) BX_REQUIRES( m_aAttachSection );
    long CountLibraries();
    HMODULE GetLibrary( long lIndex );
    void FreeLibraries();
    void AwaitThreadEnd();
    CThreadGlobalObjectInterface* ReadSlot() const;
    void DeleteUnlessStored( LPVOID pThreadGlobalObject ) const;
    LPVOID CreateThreadGlobalObject( int nMode ) BX_REQUIRES( m_aAttachSection );
    BOOL DeleteThreadGlobalObject( BOOL fOnThreadDetach );
    CThreadGlobalObjectInterface* TakeThreadGlobalObject( BOOL fOnThreadDetach );
    CThreadGlobalObjectInterface* internalGetThreadGlobalObject( BOOL fOnThreadDetach )
        BX_REQUIRES( m_aAttachSection );
    LPVOID MakeThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc );

    _HANDLEList* m_pLibraryHandleList BX_GUARDED_BY( m_aAttachSection ) = NULL;
    CriticalSection m_aAttachSection;
    CriticalSection m_aFunctionSection;
    std::atomic<DWORD> m_dwTlsGlobalOffset{ TLS_OUT_OF_INDEXES };
    LONG volatile m_lProcessCount = 0;
};
