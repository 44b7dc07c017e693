// Watches of keys: RegNotifyChangeKeyValue.
//
// Each key of an image tells in which image it, or anything below it, was changed last, in each of the four ways; so a look
// at the newest image says whether a watch has something to tell, however many changes there were. The look is worth
// taking when a file was renamed in the store's folder, which the system tells.
#pragma once

#include "platform/object/event.h"
#include "platform/registry/regkey.h"

class RegWatch final : public EventFeeder
{
public:
    RegWatch( RegistryKey& rKey, DWORD dwKinds, bool fSubtree ) noexcept
        : m_rKey( rKey ),
          m_dwKinds( dwKinds ),
          m_fSubtree( fSubtree )
    {
    }
    ~RegWatch();
    RegWatch( const RegWatch& ) = delete;
    RegWatch& operator=( const RegWatch& ) = delete;

    // From now on the descriptor tells of changes; of those after this image, once the sequence is set.
    LONG Open() noexcept;
    void SetSequence( ULONGLONG ullSequence ) noexcept { m_ullSequence = ullSequence; }
    // For a watch without an event: the close of the key's handle ends its wait.
    LONG OpenToWait() noexcept;
    // Sets an event when it fires. Error 8: out of memory.
    LONG Attach( Event& rEvent ) noexcept;
    // Waits until it fires, or the key's handle is closed.
    void Wait() noexcept;

    int GetDescriptor() const noexcept override { return m_nChanges; }
    bool HasFired() noexcept override;

    // The key's handle is being closed.
    void TellClosed() noexcept;
    void CloseDescriptors() noexcept;
    bool IsOver() const noexcept { return m_fFired.load( std::memory_order_acquire ); }
    bool IsOfEvent() const noexcept { return m_pEvent != nullptr; }

    RegWatch* m_pNext = nullptr; // in the key's list

private:
    bool HasChanged() const noexcept;

    RegistryKey& m_rKey;
    const DWORD m_dwKinds;
    const bool m_fSubtree;
    ULONGLONG m_ullSequence = 0;
    Event* m_pEvent = nullptr; // with a reference
    int m_nChanges = -1;
    int m_nClosed = -1;
    std::atomic<bool> m_fFired{ false };
};

// The key's handle is being closed: its events are set and its waits end.
void TellRegWatchesOfClose( RegistryKey& rKey ) noexcept;
void AbandonRegWatchesInChild( RegistryKey& rKey ) noexcept;
