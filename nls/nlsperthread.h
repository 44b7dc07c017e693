// The NLS server of each thread.
#pragma once

#include <bxtools/nlsserver.h>

#include <utility>

// The calling thread's server, made by its first request with the settings that hold then, and destroyed when the thread ends.
// Result: the server, the thread's, whatever its status is; NULL with reports when it cannot be had.
NLSServer* GetNLSServer();

// Gives up the calling thread's server, if it has one: the next request makes a new one.
void DropNLSServer();

// Such a server, which lives until it has been given up and nobody holds it any more.
class ThreadNLSServer final : public NLSServer
{
public:
    ThreadNLSServer() : NLSServer( 0, NULL ) {}

    void Hold() noexcept { ++m_ulHolders; }
    void Release() noexcept
    {
        if ( --m_ulHolders == 0 )
            delete this;
    }

private:
    ULONG m_ulHolders = 1; // who made it
};

// Keeps what GetNLSServer gave: a debug hook may change the settings in the middle of a lookup.
class HeldNLSServer
{
public:
    HeldNLSServer() noexcept = default;
    explicit HeldNLSServer( NLSServer* pServer ) noexcept
        : m_pServer( static_cast<ThreadNLSServer*>( pServer ) )
    {
        if ( m_pServer != NULL )
            m_pServer->Hold();
    }
    HeldNLSServer( HeldNLSServer&& rOther ) noexcept : m_pServer( std::exchange( rOther.m_pServer, nullptr ) )
    {
    }
    HeldNLSServer& operator=( HeldNLSServer&& rOther ) noexcept
    {
        std::swap( m_pServer, rOther.m_pServer );
        return *this;
    }
    ~HeldNLSServer()
    {
        if ( m_pServer != NULL )
            m_pServer->Release();
    }

private:
    ThreadNLSServer* m_pServer = NULL;
};
