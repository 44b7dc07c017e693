// Where the debug messages of all processes are seen; one file for each system.
#pragma once

#include <bxtools/wintypes.h>

#include <cstdint>
#include <memory>
#include <string>

struct SeenMessage
{
    int64_t nMicroseconds; // since 1970
    DWORD dwProcess;
    DWORD dwThread;       // 0: not known
    std::string aProcess; // what is kept of the program's name; empty: not known
    std::string aText;
    uint64_t nLost; // bytes of the text that were too many to be kept
};

class MessageSource
{
public:
    // Throws a ToolFailure where messages cannot be seen.
    //   fKept  begins with those that are kept from before.
    explicit MessageSource( bool fKept );
    ~MessageSource();
    MessageSource( const MessageSource& ) = delete;
    MessageSource& operator=( const MessageSource& ) = delete;

    // The next message. False: there is none now.
    bool Next( SeenMessage& rMessage );
    // Sleeps until there may be one.
    void Wait();
    // Pieces of messages that could not be seen, since the last call.
    uint64_t TakeMissed();

private:
    struct State;
    std::unique_ptr<State> m_pState;
};

// As much of a program's name as messages carry.
std::string KeptPartOfName( const std::string& aProcess );
