// A viewer of the ring of debug messages.
#pragma once

#include "platform/debug/debugring.h"

#include <string>

struct DebugRingMessage
{
    uint64_t ullTime; // nanoseconds since 1970
    uint32_t dwProcess;
    uint32_t dwThread;
    uint32_t nPieces;
    uint64_t ullLength;     // of the text as it was written; the rest of a longer one is lost
    std::string strProcess; // the writer's program, up to 16 characters
    std::string strText;
};

// Each reader has a position of its own and takes nothing away from the others. For one thread.
class DebugRingReader
{
public:
    enum class Start
    {
        Oldest, // what is still in the ring, and what comes
        Newest  // only what comes
    };
    // Opens the namespace's ring, which is made where there is none.
    explicit DebugRingReader( Start eStart );
    ~DebugRingReader();
    DebugRingReader( const DebugRingReader& ) = delete;
    DebugRingReader& operator=( const DebugRingReader& ) = delete;

    // Whether there is a ring: not when the folder is refused or full.
    bool IsOpen() const { return m_pRing != nullptr; }

    // The next whole message, in the order of the ring. False: there is none now. A message that has been reserved but is
    // not written yet holds up those behind it only for as long as Wait says.
    bool Next( DebugRingMessage& rMessage );
    // Sleeps until there may be another message. Where a message is missing that newer ones have overtaken, for a quarter
    // of a second at most: then it is given up, its writer was killed. May return early, also for a signal.
    void Wait();
    // The next call of Next gives up at once what is not written yet and has been overtaken: for a look at what is there.
    void GiveUpUnwritten() { m_fGiveUp = true; }

    // Pieces (numbers of the ring) that were overwritten, damaged or never written before they could be read, since the
    // last call. Each message that was written is either read or counted here, in each of its pieces.
    uint64_t TakeMissed();

private:
    enum class Look
    {
        Message,
        Skipped,
        Nothing
    };
    bool Open();
    Look LookAtPosition( DebugRingMessage& rMessage );
    Look SkipUnwritten( uint64_t ullNext );
    bool CopyPiece( uint64_t ullNumber, DebugPiece& rPiece, char* pText ) const;
    bool AppendPieces( const DebugPiece& rFirst, DebugRingMessage& rMessage ) const;
    uint64_t FindWritten( uint64_t ullNext ) const;
    bool IsOvertaken( uint64_t ullNext ) const;
    bool IsReadable() const;
    bool IsRetired() const;
    void Skip( uint64_t ullPieces );

    DebugRing* m_pRing = nullptr;
    DebugRingFile m_aFile{};
    uint64_t m_ullPosition = 0;
    uint64_t m_ullMissed = 0;
    bool m_fGiveUp = false; // what is not written yet
    uint64_t m_ullGap = UINT64_MAX;
    uint64_t m_ullGapSeen = 0;
};
