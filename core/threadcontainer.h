// The container of one thread's objects.
#pragma once

#include "core/threadregistry.h"

#include <bxtools/mstring.h>

#include <cstddef>
#include <memory>

class _CThreadGlobalObjectInterface;

// Holds the objects of one thread in the order of their first request.
// Copies share the list of objects, whose last owner destroys it, and see what the others add.
// Threads: the one it belongs to.
class CThreadGlobalObjectInterface : public BaseObject2
{
public:
    // Keeps the log hook only; kept so: the debug hook is always the library's own.
    CThreadGlobalObjectInterface( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );
    CThreadGlobalObjectInterface( const CThreadGlobalObjectInterface& ) = default;
    CThreadGlobalObjectInterface& operator=( const CThreadGlobalObjectInterface& ) = default;
    // Destroys every object, from first to last, unless a copy is left.
    ~CThreadGlobalObjectInterface() noexcept( false );

    // The object for the pair, made on the first request; NULL when it cannot be had. A pair whose creator gave
    // nothing stays in the list, and its creator is called again at the next request.
    LPVOID GetObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc );
    // The object for the pair if it is there; NULL without one. Makes nothing.
    LPVOID PeekObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc );
    // A served object that was kept here; NULL without one.
    LPVOID GetServed( ServedNumber eNumber ) const { return m_aServed[static_cast<size_t>( eNumber )]; }
    // Keeps one that GetObject gave, which stays where it is until it is dropped, or the list ends.
    void KeepServed( ServedNumber eNumber, LPVOID plObj )
    {
        m_aServed[static_cast<size_t>( eNumber )] = plObj;
    }
    // Destroys one, if it is there.
    void DropServed( const ServedObject& rServed );

    // Names the container after the process and the calling thread.
    //   nMode  GLOBAL_OBJ_FROM_PROCESS or GLOBAL_OBJ_FROM_THREAD, which make no difference; any other is refused.
    BOOL SetThisData( int nMode );
    // The upper-cased task name, and the thread's id in decimal.
    MString GetProcName() const { return m_stProcName; }
    MString GetThreadName() const { return m_stThreadName; }
    // 0; nothing sets it.
    int GetProcType() const { return m_nProcType; }

    // Destroys and frees the container, which was made with new.
    void OnDeleteSelf();

private:
    LPVOID FindObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc, long* plIndex );
    CThreadGlobalObjectElemInterface* FindElement( CreateThreadElemFuc pCreateFunc,
                                                   DeleteThreadElemFuc pDeleteFunc, long* plIndex );
    BOOL CheckList();
    LPVOID AppendObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc );

    MString m_stProcName;
    MString m_stThreadName;
    int m_nProcType = 0;
    std::shared_ptr<_CThreadGlobalObjectInterface> m_paList;

    // So that a request for one of them needs neither the list, whose lookups walk it, nor a lock.
    LPVOID m_aServed[static_cast<size_t>( ServedNumber::Count )] = {};
};

// What a container, possibly null, has of a served object.
inline LPVOID FindServed( LPVOID pThreadGlobalObject, const ServedObject& rServed )
{
    if ( pThreadGlobalObject == NULL )
        return NULL;
    return static_cast<const CThreadGlobalObjectInterface*>( pThreadGlobalObject )
        ->GetServed( rServed.m_eNumber );
}
