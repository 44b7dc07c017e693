// A place where threads meet: each waits there for the others. For threads of Windows as well, where std::barrier and
// std::atomic::wait of this library (libstdc++ 12, which has no futex there) may sleep through what they wait for.
#pragma once

#include <condition_variable>
#include <mutex>

class Meeting
{
public:
    explicit Meeting( int nThreads ) : m_nThreads( nThreads ) {}

    // Returns when all threads have arrived; the next arrival begins the next meeting.
    void ArriveAndWait()
    {
        std::unique_lock aLock( m_aMutex );
        const int nMeeting = m_nMeeting;
        if ( ++m_nArrived == m_nThreads )
        {
            m_nArrived = 0;
            ++m_nMeeting;
            m_aComplete.notify_all();
        }
        m_aComplete.wait( aLock, [&] { return m_nMeeting != nMeeting; } );
    }

private:
    const int m_nThreads;
    std::mutex m_aMutex;
    std::condition_variable m_aComplete;
    int m_nArrived = 0;
    int m_nMeeting = 0;
};
