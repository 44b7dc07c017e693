// Events.
#pragma once

#include "platform/object/eventfeeder.h"
#include "platform/object/namedobjects.h"
#include "platform/object/objectbells.h"
#include "platform/object/spinwait.h"
#include "platform/object/waitable.h"

#include <atomic>
#include <cstdint>
#include <memory>

class Event final : public WaitableObject
{
public:
    // Of this process only.
    Event( bool fManualReset, bool fSet ) noexcept;
    // One with a name.
    explicit Event( std::unique_ptr<NamedObject> pNamed ) noexcept;
    ~Event() override;

    // The state of a new one with a name, before anybody else can find it.
    void Initialise( bool fManualReset, bool fSet ) noexcept;

    // Never fail; keep errno and the last error.
    void Set() noexcept;
    void Reset() noexcept;

    // From now on waits of this process look at the feeder, too, and it sets the event once. Whoever attaches it holds
    // a reference to the event until it is detached or has fired; nothing of it is called after DetachFeeder, which waits
    // for a look that is under way.
    // Other processes that wait for an event with a name do not see the feeder. False: out of memory (8).
    bool AttachFeeder( EventFeeder& rFeeder ) noexcept;
    void DetachFeeder( EventFeeder& rFeeder ) noexcept;

    Taking TryTake() noexcept override;
    void PutBack( Taking eTaking ) noexcept override;
    Taking WaitAndTake( const WaitLimit& rLimit ) noexcept override;
    bool AddBell( Bell& rBell ) noexcept override { return m_aBells.Add( rBell ); }
    void RemoveBell( Bell& rBell ) noexcept override { m_aBells.Remove( rBell ); }
    void AddDescriptors( PollSet& rSet ) noexcept override;
    void HandleClosed() noexcept override;
    void AbandonInChild() noexcept override {}

private:
    struct AttachedFeeder;

    bool ClearIfSet() noexcept;
    Taking TakeWord() noexcept;
    void Detach( AttachedFeeder* pBefore, AttachedFeeder* pAttached ) noexcept;
    void AskFeeders() noexcept;
    void WakeSleepers() noexcept;
    void SetAndTellProcesses() noexcept;
    void MarkAwaited( PollSet& rSet ) noexcept;
    bool SleepOnWord( const WaitLimit& rLimit ) noexcept;

    const std::unique_ptr<NamedObject> m_pNamed; // null without a name
    std::atomic<uint32_t> m_uOwnWord{ 0 };
    std::atomic<uint32_t> m_uOwnManualReset{ 0 };
    std::atomic<uint32_t>& m_ruWord;
    std::atomic<uint32_t>& m_ruManualReset;
    ObjectBells m_aBells;
    std::atomic<AttachedFeeder*> m_pFeeders{ nullptr };
    SpinWait m_aSpin;
};
