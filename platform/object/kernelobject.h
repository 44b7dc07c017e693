// What a handle stands for.
#pragma once

#include <bxtools/wintypes.h>

#include <atomic>

// One bit each, so that a caller can ask for any of several kinds.
enum ObjectKind : DWORD
{
    KIND_EVENT = 1u << 0,
    KIND_MUTEX = 1u << 1,
    KIND_MAPPING = 1u << 2,
    KIND_FILE = 1u << 3,
    KIND_THREAD = 1u << 4,
    KIND_PROCESS = 1u << 5,
    KIND_TOKEN = 1u << 6,
    KIND_SNAPSHOT = 1u << 7,
    // What CloseHandle takes.
    KINDS_OF_CLOSE_HANDLE = ( 1u << 8 ) - 1,
    // Handles with a closing call of their own.
    KIND_FILE_SEARCH = 1u << 8,
    KIND_REGISTRY_KEY = 1u << 9,
    // Waited for, without a handle.
    KIND_MESSAGE_QUEUE = 1u << 10
};

// Counted: each handle holds one reference, whoever makes the object holds the first.
class KernelObject
{
public:
    KernelObject( const KernelObject& ) = delete;
    KernelObject& operator=( const KernelObject& ) = delete;

    ObjectKind GetKind() const noexcept { return m_eKind; }

    void AddReference() noexcept { m_lReferences.fetch_add( 1, std::memory_order_relaxed ); }
    // Destroys the object with its last reference.
    void Release() noexcept
    {
        if ( DropReference() )
            Destroy();
    }
    // For who cannot free memory just now. True: it was the last reference, and Destroy is left to do.
    bool DropReference() noexcept { return m_lReferences.fetch_sub( 1, std::memory_order_acq_rel ) == 1; }
    void Destroy() noexcept { delete this; }

    // A handle of the object is being closed: what it was used for and could not be completed, as an error; 0 otherwise.
    virtual DWORD FinishUse() noexcept { return 0; }
    // A handle of the object was closed; uses of it may still be under way, and its reference is dropped after them.
    virtual void HandleClosed() noexcept {}

    // In the child of a fork, once for each handle of the parent, before its reference is dropped: the object
    // gives up what it shares with the parent (descriptors, its entry in a shared list) without changing it
    // for the parent. An object that another thread is just making or destroying while the process forks is
    // not told.
    virtual void AbandonInChild() noexcept = 0;

protected:
    explicit KernelObject( ObjectKind eKind ) noexcept : m_eKind( eKind ) {}
    virtual ~KernelObject() = default;

private:
    std::atomic<LONG> m_lReferences{ 1 };
    const ObjectKind m_eKind;
};
