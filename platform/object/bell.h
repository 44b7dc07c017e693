// What wakes a thread that waits for several objects at once: each of them gets its bell, and whoever makes one ready
// rings. Within a process a bell is a descriptor; for objects that processes share it is a pipe with a name, which costs
// nothing when nobody listens any more.
//
// A ring is never lost: it stays in the descriptor until the listener drains the bell. The order is for the listener
// "add the bell, drain, look at the object", and for the other side "change the object, look for bells, ring"; both use
// sequentially consistent operations for what the other one looks at.
#pragma once

#include "platform/object/bellpipe.h"
#include "platform/object/pollset.h"

#include <bxtools/wintypes.h>

#include <array>
#include <atomic>
#include <memory>

class Bell
{
public:
    // The calling thread's bell, kept until the thread's end. Null: the last error says why.
    static Bell* OfThread() noexcept;

    // For objects of this process; any thread, while the bell is added to the object. Keeps errno.
    void Ring() noexcept;
    // For objects that processes share: where their bells are found, and the name. 0: the last error says why.
    SharedBellName GetSharedName( NamespaceScope eScope ) noexcept;

    // The listener's side, of the bell's own thread only. Whatever rang before Drain is forgotten by it.
    void Drain() noexcept;
    void AddDescriptors( PollSet& rSet ) const noexcept;

    Bell( const Bell& ) = delete;
    Bell& operator=( const Bell& ) = delete;

private:
    friend class BellRegister;

    Bell() noexcept = default;
    ~Bell();
    bool Open() noexcept;
    bool IsOpen() const noexcept;
    void Close() noexcept;
    void RemovePipes() noexcept;
    DWORD OpenPipe( NamespaceScope eScope, SharedBellPipe& rPipe ) noexcept;

    int m_nRinger = -1;
    std::array<SharedBellPipe, 2> m_aPipes{ { { -1, 0, nullptr }, { -1, 0, nullptr } } };
    Bell* m_pNext = nullptr;
};

// The bells that listen to one object of this process.
class LocalBells
{
public:
    LocalBells() noexcept = default;
    ~LocalBells();
    LocalBells( const LocalBells& ) = delete;
    LocalBells& operator=( const LocalBells& ) = delete;

    // False: out of memory (8). A bell may be added more than once, and is removed as often.
    bool Add( Bell& rBell ) noexcept;
    void Remove( const Bell& rBell ) noexcept;
    // One load when there is none.
    void RingAll() noexcept;

private:
    struct Entry
    {
        Bell* pBell;
        Entry* pNext;
    };

    std::atomic<Entry*> m_pFirst{ nullptr };
};

// At the end of each thread.
void CloseBellOfThread() noexcept;
// Of a thread that was ended by force; null is fine.
void CloseBellOf( Bell* pBell ) noexcept;
// At the library's end: of the calling thread, and the names of all others.
void CloseBells() noexcept;

// Fork handlers. In the child no thread has a bell.
void LockBells();
void UnlockBells();
void ResetBellsInChild();
