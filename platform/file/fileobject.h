// Files behind handles.
#pragma once

#include "platform/file/sharedescriptor.h"
#include "platform/object/kernelobject.h"

// A range that a handle and its duplicates have locked.
struct LockedRange
{
    ULONGLONG ullStart;
    ULONGLONG ullBytes;
    LockedRange* pNext;
};

// One opening of a file, which the duplicates of a handle have in common: its sharing and its locked ranges. Counted.
class FileOpening
{
public:
    FileOpening() noexcept = default;
    FileOpening( const FileOpening& ) = delete;
    FileOpening& operator=( const FileOpening& ) = delete;

    void AddReference() noexcept { m_lReferences.fetch_add( 1, std::memory_order_relaxed ); }
    void Release() noexcept;

    // Not open for a handle without access.
    ShareDescriptor& GetShare() noexcept { return m_aShare; }
    // No other handle can read or write, and so none can have locked a range.
    void SetAlone( bool fAlone ) noexcept { m_fAlone = fAlone; }

    // The functions that return an error return 0 for success.
    DWORD LockRange( ULONGLONG ullStart, ULONGLONG ullBytes ) noexcept;
    DWORD UnlockRange( ULONGLONG ullStart, ULONGLONG ullBytes ) noexcept;
    // Whether somebody else keeps others away from part of the bytes that follow the position of nData.
    bool IsRangeBarred( int nData, DWORD dwBytes ) const noexcept;

private:
    ~FileOpening();

    std::atomic<LONG> m_lReferences{ 1 };
    ShareDescriptor m_aShare;
    bool m_fAlone = false;
    CRITICAL_SECTION m_aRangesLock{};
    LockedRange* m_pRanges = nullptr;
};

class FileObject final : public KernelObject
{
public:
    // Takes over the descriptor and the caller's reference.
    FileObject( int nData, FileOpening& rOpening ) noexcept;
    ~FileObject() override;

    int GetData() const noexcept { return m_nData; }
    FileOpening& GetOpening() const noexcept { return m_rOpening; }

    // Whether programs that are started get the data's descriptor.
    bool SetInherited( bool fInherited ) noexcept;
    // What was written, and had no room where it was to go.
    DWORD FinishUse() noexcept override;
    // Of a child it takes nothing away but the sharing: the child may go on to start a program.
    void AbandonInChild() noexcept override;

private:
    int m_nData;
    bool m_fInherited = false;
    FileOpening& m_rOpening;
};

// A descriptor until an object takes it.
class DescriptorGuard
{
public:
    explicit DescriptorGuard( int nDescriptor = NO_DESCRIPTOR ) noexcept : m_nDescriptor( nDescriptor ) {}
    ~DescriptorGuard() { CloseDescriptor( m_nDescriptor ); }
    DescriptorGuard( const DescriptorGuard& ) = delete;
    DescriptorGuard& operator=( const DescriptorGuard& ) = delete;

    int Get() const noexcept { return m_nDescriptor; }
    void Set( int nDescriptor ) noexcept
    {
        CloseDescriptor( m_nDescriptor );
        m_nDescriptor = nDescriptor;
    }
    int Detach() noexcept
    {
        const int nDescriptor = m_nDescriptor;
        m_nDescriptor = NO_DESCRIPTOR;
        return nDescriptor;
    }

private:
    int m_nDescriptor;
};

// Held from before a sharing descriptor is opened until its object has a handle, so that a fork finds every one behind a
// handle and the child can let go of it. Openings do not wait for each other; a fork waits for them, one second at most.
class ForkHeldOff
{
public:
    ForkHeldOff() noexcept;
    ~ForkHeldOff();
    ForkHeldOff( const ForkHeldOff& ) = delete;
    ForkHeldOff& operator=( const ForkHeldOff& ) = delete;
};

// Fork handlers.
void HoldFileOpenings();
void ResumeFileOpenings();
void ResumeFileOpeningsInChild();
