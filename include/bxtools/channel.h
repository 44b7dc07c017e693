// ChannelBuffer: vectors of byte blocks from one process, the sender, to another one, the receiver, through memory that both
// share by the channel's name. One vector at a time: the sender returns when the receiver has handled it.
//
//     int DLL_EXPORT OnVector( DATAELEM* pDataVec, ULONG ulVecSize, ExtraData* pExtraData );
//
//     ChannelBuffer aReceiver;                              ChannelBuffer aSender;
//     aReceiver.Init( "Log", 0, 0, &OnVector, NULL );       aSender.Init( "Log", 1, 0, NULL, NULL );
//     aReceiver.ReceiverWaitsForData();                     aSender.SenderWritesData( aVector, 2 );
//
// In all of it:
// - The receiver has to be there before a sender's first use. Senders may be many; they take turns, each from before it
//   writes until it is acknowledged.
// - Only the memory bears the channel's name. The synchronisation objects have fixed names, so that all channels of one
//   namespace wait for each other, and a receiver may be woken for another channel's vector: one channel at a time; kept so.
// - Memory is reserved for vectors of up to 64 MiB, their sizes and 13 bytes included, or of what the first one to map it asked
//   for if that is more; it takes room only as vectors need it. A vector beyond that is refused.
// - A sender waits without limit. Its receiver gone, it waits for the next one, which gets the vector. A sender that is
//   killed costs its own vector at most, and a receiver that is killed none.
// - Nothing throws. Sending and receiving, when they fail, send one report to the library's debug hook; no other call does.
// Names are those of file mappings, see platform_objects.h; an empty one makes the first use fail.
#pragma once

#include <bxtools/export.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

#include <memory>

class CallReport;
struct ChannelMemory;
struct ChannelObjects;

// One block of a vector.
struct DATAELEM
{
    LPVOID pData; // the sender's may be null: the receiver gets a block of that size, with bytes nobody wrote
    ULONG ulLength; // in bytes; may be 0
};

// The receiver's own; the channel only hands a pointer to it on.
struct ExtraData;

// Handles one vector in the receiver. The vector and its bytes, which cannot be written to, are valid during the call only;
// what is kept must be copied. May throw, which counts as a failure. Must not send itself: all channels share one lock.
//   ulVecSize  its number of blocks, at least 1.
// Result: 0 for failure, which ends the receiver's loop; the sender is acknowledged all the same.
typedef int( DLL_EXPORT* CHANNELCALLBACK )( DATAELEM* pDataVec, ULONG ulVecSize, ExtraData* pExtraData );

// Threads: SenderWritesData, StopWaitingForData and IsRunLoop, any at once; each of the others by one thread, with no other call
// but those last two under way. The lock that a receiver's loop leaves behind is the thread's that ran it.
class DLL_EXPORT_MOD ChannelBuffer
{
public:
    // A sender that has no name yet: Init comes before the first use.
    //   pCallBackFunc, pExtraData  for a receiver; may be NULL. Both stay the caller's.
    explicit ChannelBuffer( CHANNELCALLBACK pCallBackFunc = NULL, ExtraData* pExtraData = NULL ) noexcept;
    // Share everything: the synchronisation objects, the memory and the receiver's vector, each freed by the last one that
    // has it. Settings, run-loop flag and what is grown later are each object's own. No handle is duplicated.
    ChannelBuffer( const ChannelBuffer& aChannelBuffer ) noexcept;
    ChannelBuffer& operator=( const ChannelBuffer& aChannelBuffer ) noexcept;
    // Gives back what no copy shares, and the lock with it if the calling thread has it: a receiver's loop ends with the lock
    // held. Destroyed by another thread it leaves it until the thread that ran the loop ends; senders wait so long.
    ~ChannelBuffer();

    // Sets the channel up, before the first use.
    //   pChannelName   NULL is the empty name.
    //   nIsSender      0: the receiver.
    //   ulSize         bytes that the memory has at first; 0 is 10. It grows as vectors need it.
    //   pCallBackFunc, pExtraData  taken by a receiver that has no callback yet; else left; kept so.
    // Result: FALSE when the memory is mapped already, or there is none for the name; nothing has changed then.
    BOOL Init( LPCTSTR pChannelName, int nIsSender, ULONG ulSize, CHANNELCALLBACK pCallBackFunc,
               ExtraData* pExtraData ) noexcept;

    // Sends one vector and returns when it has been acknowledged.
    //   pDataVec  the caller's; must not change meanwhile.
    // Result: TRUE when an acknowledgement came, whatever the callback made of it. FALSE when there is no receiver at the first
    // use, or the vector is too large; nothing is sent then. A vector that is null or has no blocks writes nothing, but
    // is signalled and acknowledged, with TRUE and without a report: the receiver gets the vector before it once more; kept so.
    BOOL SenderWritesData( DATAELEM* pDataVec, ULONG ulVecSize ) noexcept;

    // The receiver's loop: hands each vector to the callback, and acknowledges it, until it is stopped.
    // Result: TRUE when it was stopped. FALSE when it could not begin, when what stands in the memory is no vector, there is
    // no callback, or the callback failed; the vector is acknowledged all the same.
    // Either way the thread keeps the lock between senders and receiver, until the object is destroyed: senders wait; kept so.
    BOOL ReceiverWaitsForData();

    // Ends the receiver's loop after the next vector: it wakes nobody; kept so.
    // Result: FALSE, always; kept so.
    BOOL StopWaitingForData() noexcept;
    // Whether the loop goes on: TRUE until StopWaitingForData.
    BOOL IsRunLoop() const noexcept;

private:
    BOOL CheckInitState() noexcept;
    BOOL InternalInit() noexcept;
    BOOL InitSyncObjects() noexcept;
    void ClearSyncObjects() noexcept;
    BOOL Map() noexcept;
    BOOL Unmap() noexcept;
    void InternalClear() noexcept;
    BOOL CheckBuffSize( ULONG ulBytes ) noexcept;
    BOOL InternalWrite( const DATAELEM* pDataVec, ULONG ulVecSize ) noexcept;
    BOOL InternalRead( DATAELEM*& rpDataVec, ULONG& rulVecSize ) noexcept;
    BOOL SetupDataVector( ULONG ulBytes, ULONG& rulVecSize ) noexcept;
    BOOL CheckDataVector( ULONG ulVecSize ) noexcept;
    BOOL HandleVector( CallReport& rReport );
    void CopyMembers( const ChannelBuffer& aChannelBuffer ) noexcept;

    HANDLE m_hFileMapping = NULL;
    int m_nIsSender = 1;
    ULONG m_ulBufferSize = 0;
    BYTE* m_pView = NULL;
    MString m_aChannelName;
    CHANNELCALLBACK m_pCallBackFunc;
    ExtraData* m_pExtraData;
    BOOL m_fInitialized = FALSE;
    mutable CRITICAL_SECTION m_aCriticalSection; // each object's own
    HANDLE m_aHDLArray[2] = { NULL, NULL };
    DWORD m_dwHDLCount = 2;
    HANDLE m_hStartWorkEvent = NULL;
    HANDLE m_hAckDataReadEvent = NULL;
    HANDLE m_hCriticalSecMutex = NULL;
    BOOL m_fRunLoop = TRUE;
    ULONG m_ulReceiveVecCapacity = 0;
    // What copies share, and what the handles and pointers above belong to.
    std::shared_ptr<DATAELEM[]> m_pReceiveVec;
    std::shared_ptr<ChannelObjects> m_pObjects;
    std::shared_ptr<ChannelMemory> m_pMemory;
};
