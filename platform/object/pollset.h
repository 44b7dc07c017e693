// The descriptors that a wait on several objects polls beside its bell.
#pragma once

#include "platform/object/waitlimit.h"
#include "platform/stopgate.h"

#include <array>
#include <cstddef>
#include <poll.h>

class PollSet final : private Holding
{
public:
    PollSet() noexcept = default;
    ~PollSet() { Clear(); }
    PollSet( const PollSet& ) = delete;
    PollSet& operator=( const PollSet& ) = delete;

    // Empties it, and closes what it owns.
    void Clear() noexcept;
    // The descriptor stays the object's. A full set drops it.
    void Add( int nDescriptor ) noexcept { AddEntry( nDescriptor, false ); }
    // The descriptor is closed by the set with the next Clear.
    void AddOwned( int nDescriptor ) noexcept { AddEntry( nDescriptor, true ); }

    // Until the next Clear there is no sleep: what the caller looks at is changing.
    void LookAgain() noexcept { m_fLookAgain = true; }

    // Sleeps until one of them is readable, a signal came or the limit is over. No cancellation point; keeps errno.
    // False: the last error says why (6, a descriptor was closed behind our back).
    bool Sleep( const WaitLimit& rLimit ) noexcept;
    // The same in a thread that has windows: their events are handled meanwhile, and end the sleep as well.
    bool SleepWithWindows( const WaitLimit& rLimit ) noexcept;

private:
    // Room for the pipes of a bell, and for two descriptors of each of the objects of a wait.
    static constexpr size_t MOST_ENTRIES = 160;

    void AddEntry( int nDescriptor, bool fOwned ) noexcept;
    void GiveBack() noexcept override { Clear(); }

    size_t m_nCount = 0;
    bool m_fLookAgain = false;
    std::array<pollfd, MOST_ENTRIES> m_aEntries;
    std::array<bool, MOST_ENTRIES> m_afOwned;
};
