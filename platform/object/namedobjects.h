// Objects that processes share by name.
//
// A process has one KernelObject for each name that it uses; all its handles lead to that one, and its first and its last
// handle alone touch the shared file, where the process stands entered as a holder in between. The object of a name whose
// last handle went is kept for a while, so that making and closing it over and over costs no system call.
#pragma once

#include "platform/object/kernelobject.h"
#include "platform/object/objectfile.h"

#include <memory>

// What a KernelObject with a name has of it.
class NamedObject
{
public:
    ObjectFile& GetFile() noexcept { return m_aFile; }
    ObjectHeader& GetHeader() noexcept { return m_aFile.GetHeader(); }

    // The object's HandleClosed.
    void HandleClosed() noexcept;

private:
    friend class NameTable;

    ObjectFile m_aFile;
    ObjectLeaf m_aLeaf;
    ProcessSlot m_aSlot{ 0, 0 };
    ULONGLONG m_ullHash = 0;
    DWORD m_dwHandles = 0;
    KernelObject* m_pObject = nullptr; // whose part this is
    NamedObject* m_pNextInBucket = nullptr;
    // While no handle is left: longest unused first.
    NamedObject* m_pNextIdle = nullptr;
    NamedObject* m_pPreviousIdle = nullptr;
};

// What differs between the kinds when an object is made or opened.
class ObjectMaker
{
public:
    virtual ObjectKind GetKind() const noexcept = 0;
    virtual ULONGLONG GetDataBytes() const noexcept { return 0; }
    // How many of them are there from the start; the others are allocated when somebody asks for them.
    virtual ULONGLONG GetAllocatedBytes() const noexcept { return GetDataBytes(); }
    // The object for this process; null: out of memory.
    virtual KernelObject* MakeObject( std::unique_ptr<NamedObject> pNamed ) noexcept = 0;
    // Gives a new object its first state. Nobody holds it. False: somebody still uses the old one of that name, whose
    // file cannot serve again.
    virtual bool Initialise( KernelObject& rObject ) noexcept = 0;

protected:
    ~ObjectMaker() = default;
};

// A handle to the object of a name.
//   fCreate  make it where there is none.
// Sets the last error, with fCreate also on success: 183 it existed, 0 it did not.
HANDLE MakeNamedHandle( const ObjectName& rName, ObjectMaker& rMaker, bool fCreate, DWORD dwAccess ) noexcept;

// A handle to the object of a name that exists; 2 there is none, 87 null name.
HANDLE OpenNamedHandle( LPCSTR pName, ObjectMaker& rMaker, DWORD dwAccess ) noexcept;

// A handle to an object without a name, taking over the reference; null: 8. Sets the last error to 0 on success.
HANDLE MakeUnnamedHandle( KernelObject* pObject, DWORD dwAccess ) noexcept;

// At the library's end: what this process left in the folders is removed, as far as it has no handles to it.
void CloseNamedObjects() noexcept;

// Fork handlers. The child has no names.
void LockNamedObjects();
void UnlockNamedObjects();
void ResetNamedObjectsInChild();
