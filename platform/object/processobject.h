// Other processes, by a descriptor that goes on meaning the same process when its number is given again.
#pragma once

#include "platform/object/waitable.h"

#include <atomic>

class ProcessObject final : public WaitableObject
{
public:
    // Takes over the descriptor.
    ProcessObject( int nDescriptor, DWORD dwProcessId ) noexcept;
    ~ProcessObject() override;

    int GetDescriptor() const noexcept { return m_nDescriptor; }
    DWORD GetProcessId() const noexcept { return m_dwProcessId; }

    Taking TryTake() noexcept override;
    void PutBack( Taking ) noexcept override {}
    Taking WaitAndTake( const WaitLimit& rLimit ) noexcept override;
    // Its descriptor tells.
    bool AddBell( Bell& ) noexcept override { return true; }
    void RemoveBell( Bell& ) noexcept override {}
    void AddDescriptors( PollSet& rSet ) noexcept override { rSet.Add( m_nDescriptor ); }
    // The child has a descriptor of its own, which the destructor closes.
    void AbandonInChild() noexcept override {}

    // 0 or the error (5 it has ended).
    DWORD Kill( UINT uExitCode ) noexcept;
    DWORD GetExitCode() noexcept;

private:
    int m_nDescriptor;
    std::atomic<ULONGLONG> m_ullKilled{ 0 }; // by this handle: a mark and the exit code
    const DWORD m_dwProcessId;
};
