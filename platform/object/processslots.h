// Which processes that use the folder are alive.
//
// A file "processes" in the folder has a slot for each of them. While a process lives it holds locks on two bytes of the
// file that stand for its slot; the kernel takes them away however it ends, and no copy of the descriptor keeps them: it
// is closed in programs that are started and in children of fork. Each process that takes a slot raises the slot's
// generation, so that (slot, generation) never means two processes.
#pragma once

#include "platform/namespacefolder.h"
#include "platform/stopgate.h"

#include <bxtools/wintypes.h>

struct ProcessSlot
{
    DWORD dwSlot;
    DWORD dwGeneration; // never 0

    bool operator==( const ProcessSlot& ) const noexcept = default;
};

// Global, or Local where both are the same folder: names in one folder are one space.
NamespaceScope FindCommonScope( NamespaceScope eScope ) noexcept;

// This process's slot, taken on first use, and again when somebody closed our descriptor or removed the folder; it may
// have changed then, and what was entered under the old one counts for nothing. Taking the slot of a killed process
// removes what that one left in the folder. False: the last error says why (also 1450 no slot left).
bool TakeProcessSlot( NamespaceScope eScope, ProcessSlot& rSlot ) noexcept;

// Whether this process still has that slot. Takes none.
bool HasProcessSlot( NamespaceScope eScope, const ProcessSlot& rSlot ) noexcept;

// After TakeProcessSlot.
bool IsProcessAlive( NamespaceScope eScope, const ProcessSlot& rSlot ) noexcept;

// The folder's lock, for making and removing files. Dies with the process, never with the thread. After TakeProcessSlot;
// scopes may be nested.
class FolderLock
{
public:
    explicit FolderLock( NamespaceScope eScope ) noexcept;
    ~FolderLock();
    FolderLock( const FolderLock& ) = delete;
    FolderLock& operator=( const FolderLock& ) = delete;

    // False: the system gave no lock.
    bool IsGood() const noexcept { return m_fGood; }

private:
    const StopGate m_aGate;
    const NamespaceScope m_eScope;
    bool m_fGood = true;
};

// Which process a slot is: for showing it. Reads the folder's file alone, without a slot of our own.
//   rFind  called for each slot whose process is alive.
class ProcessVisitor
{
public:
    virtual void OnProcess( const ProcessSlot& rSlot, DWORD dwProcess ) = 0;

protected:
    ~ProcessVisitor() = default;
};
bool VisitProcesses( NamespaceScope eScope, ProcessVisitor& rVisitor );

// Gives the slots back: a clean end. Only when this process holds nothing in the folders any more.
void GiveProcessSlotsBack() noexcept;

// Fork handlers. The child has no slot.
void LockProcessSlots();
void UnlockProcessSlots();
void ResetProcessSlotsInChild();
