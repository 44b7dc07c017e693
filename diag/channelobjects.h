// What a channel has of the system: the objects that all channels share, and the memory under the channel's name. Copies of a
// channel share both; the last one gives them back.
#pragma once

#include "core/guards.h"

// Memory that somebody has mapped cannot grow. So there is this much of it from the start, and takes no room.
constexpr ULONG CHANNEL_RESERVED_BYTES = 64 * 1024 * 1024;

struct ChannelObjects
{
    ChannelObjects() = default;
    // Gives the mutex back if the calling thread has it.
    ~ChannelObjects();
    ChannelObjects( const ChannelObjects& ) = delete;
    ChannelObjects& operator=( const ChannelObjects& ) = delete;

    // False: not all of them are there. The receiver makes what a sender only opens.
    bool Make( bool fSender ) noexcept;
    // For a sender that has gate and mutex. What a killed one left half-way must wake nobody, nor may a late
    // acknowledgement of its vector be taken for one of the next.
    void ForgetLastVector() noexcept;
    // For a receiver that begins. The one before may have been killed with a vector; its sender waits on.
    void WakeForUnreadVector() noexcept;

    KernelHandle aMutex;
    KernelHandle aStartWork;
    KernelHandle aAckDataRead;
    // A sender holds the gate from before it writes until it is acknowledged, and the vector is unread from when it is
    // written until then.
    KernelHandle aGate;
    KernelHandle aUnread; // a manual event, which neither wait nor kill takes away
};

// A sender's turn, until it is acknowledged.
class SenderTurn
{
public:
    explicit SenderTurn( ChannelObjects& rObjects ) noexcept;
    ~SenderTurn();
    SenderTurn( const SenderTurn& ) = delete;
    SenderTurn& operator=( const SenderTurn& ) = delete;

    bool IsMine() const noexcept { return m_fMine; }

private:
    ChannelObjects& m_rObjects;
    const bool m_fMine;
};

struct ChannelMemory
{
    ChannelMemory() = default;
    ~ChannelMemory();
    ChannelMemory( const ChannelMemory& ) = delete;
    ChannelMemory& operator=( const ChannelMemory& ) = delete;

    // Makes or opens it, and maps its first bytes.
    bool Make( LPCTSTR pName, bool fSender, ULONG ulBytes ) noexcept;
    // What could be released is null then. FALSE: not everything could.
    BOOL Release() noexcept;

    HANDLE hMapping = NULL;
    LPVOID pView = NULL;
};
