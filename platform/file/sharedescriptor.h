// What the users of a file know of each other: locks at a descriptor that belongs to one opening of a file, apart from the
// one its data goes through, and that no other program inherits. The system drops them with the process, however it ends.
//
// The locks are open-file-description locks, which conflict within a process, too. Beyond all data lie
//
//   the gate         one byte; whoever changes or examines what follows is inside it
//   four areas       one for each claim: reads, writes, denies reads, denies writes
//
// and at the data's own positions the ranges that LockFile locked. A claim is a lock on the first byte of its area, one that
// excludes nobody: claims of others are asked for, never waited for. Such a lock needs a descriptor that can read. One that
// can only write has only excluding locks, and takes one of the area's other bytes for itself.
//
// Where nobody inside the gate can write, it keeps nobody out. Then both of two processes may claim before either asks; each
// withdraws and tries again, as long as it sees another one inside. That they are never both successful does not depend
// on it.
#pragma once

#include "platform/highdescriptor.h"

#include <bxtools/wintypes.h>

class FilePath;

enum ShareClaim : unsigned
{
    CLAIM_NONE = 0,
    CLAIM_READS = 1u << 0,
    CLAIM_WRITES = 1u << 1,
    CLAIM_DENIES_READS = 1u << 2,
    CLAIM_DENIES_WRITES = 1u << 3
};

// The functions that return an error return 0 for success.
class ShareDescriptor
{
public:
    ShareDescriptor() noexcept = default;
    ~ShareDescriptor() { Close(); }
    ShareDescriptor( const ShareDescriptor& ) = delete;
    ShareDescriptor& operator=( const ShareDescriptor& ) = delete;

    // For reading, or for writing and, where that is allowed, for reading. False: errno says why.
    bool Open( const FilePath& rPath, bool fWrite ) noexcept;
    // Everything it holds ends, also where a child that was just forked still has a copy.
    void Close() noexcept;
    // In the child of a fork: what the parent holds stays.
    void Abandon() noexcept { CloseDescriptor( m_nDescriptor ); }
    // NO_DESCRIPTOR when it is not open.
    int Get() const noexcept { return m_nDescriptor; }

    // Waits for other openings, which take no longer than this one, but for nobody else (32).
    DWORD EnterGate() noexcept;
    void LeaveGate() noexcept;

    // Inside the gate: makes the claims unless another descriptor's claims are among the ones not to be met (32).
    DWORD Claim( unsigned uClaims, unsigned uNotToMeet ) noexcept;
    // For any descriptor of a file: whether another one denies reads, and not only until it leaves the gate again.
    static bool IsReadingDenied( int nDescriptor ) noexcept;

    // Locks, for itself alone, a range that it has not locked yet. Errors: 33 somebody else has a part of it, 50 there are
    // no locks in this file system.
    DWORD LockRange( ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept;
    void UnlockRange( ULONGLONG ullStart, ULONGLONG ullEnd ) noexcept;
    bool IsRangeLockedByOther( ULONGLONG ullStart, ULONGLONG ullEnd ) const noexcept;

    // The first position that no range reaches.
    static constexpr ULONGLONG RANGES_END = ULONGLONG{ 1 } << 62;

private:
    DWORD MakeClaims( unsigned uClaims ) noexcept;
    DWORD MakeClaimByWriting( ULONGLONG ullArea ) noexcept;
    bool MeetsClaims( unsigned uClaims ) const noexcept;
    bool IsOtherInGate() const noexcept;
    template <class Take, class Undo>
    DWORD Contend( DWORD dwRefusal, Take aTake, Undo aUndo ) noexcept;

    int m_nDescriptor = NO_DESCRIPTOR;
    bool m_fReads = false;
    bool m_fWrites = false;
    bool m_fHasLocks = true; // the file system has them, as far as is known
};

// Inside a descriptor's gate for a scope.
class ShareGate
{
public:
    explicit ShareGate( ShareDescriptor& rShare ) noexcept
        : m_rShare( rShare ),
          m_dwError( rShare.EnterGate() )
    {
    }
    ~ShareGate()
    {
        if ( m_dwError == 0 )
            m_rShare.LeaveGate();
    }
    ShareGate( const ShareGate& ) = delete;
    ShareGate& operator=( const ShareGate& ) = delete;

    // 0 inside.
    DWORD GetError() const noexcept { return m_dwError; }

private:
    ShareDescriptor& m_rShare;
    const DWORD m_dwError;
};
