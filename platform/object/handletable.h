// The process's handles. A handle is a place in a table and the place's generation, never an address: a
// closed handle is recognised, also after its place was given to another object. Handles fit into 31 bits,
// are multiples of four, and are never small numbers.
#pragma once

#include "platform/object/kernelobject.h"
#include "platform/stopgate.h"

struct HandleSlot;

// A new handle for an object, taking over the caller's reference.
//   dwAccess  what may be done through this handle, in the bits of the object's kind.
// Result: null on failure, the object is told then that its handle was closed, and the reference is dropped. Errors: 8 out of memory, 4 too many handles.
HANDLE MakeHandle( KernelObject* pObject, DWORD dwAccess ) noexcept;

// Gives a handle back if its object is of one of the kinds. Error 6 otherwise; the object's own error when it could not
// complete what the handle was used for, though the handle is closed then, too. An object in use by another thread at
// this moment stays until that use ends.
BOOL CloseHandleOfKind( HANDLE hObject, DWORD dwKinds ) noexcept;

// A use of a handle's object: found on construction, and kept alive until destruction even when the handle is
// closed. On the stack only. While there is one, other threads stop this one only where it sleeps.
class HandleUse final : private Holding
{
public:
    // Errors, with IsGood() false: 6 no such handle, or an object of another kind; 5 the handle does not give
    // all of the rights in dwAccess.
    HandleUse( HANDLE hObject, DWORD dwKinds, DWORD dwAccess ) noexcept;
    ~HandleUse();
    HandleUse( const HandleUse& ) = delete;
    HandleUse& operator=( const HandleUse& ) = delete;

    bool IsGood() const noexcept { return m_pSlot != nullptr; }

    // Only while IsGood(). T is the class of the kind asked for.
    template <class T = KernelObject>
    T* GetObject() const noexcept
    {
        return static_cast<T*>( FindObject() );
    }
    DWORD GetAccess() const noexcept;

private:
    KernelObject* FindObject() const noexcept;
    void GiveBack() noexcept override;

    HandleSlot* m_pSlot;
};

// Nobody uses handles any more: the table goes, what the handles stand for stays.
void CloseHandleTable() noexcept;

// Fork handlers. In the child every handle of the parent is closed.
void LockHandleTable();
void UnlockHandleTable();
void ResetHandleTableInChild();
