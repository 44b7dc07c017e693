// The look before a sleep. Putting a thread to sleep and waking it takes tens of microseconds where the waker runs on another
// processor; who waits for something that comes sooner than that had better stay awake.
//
// A wait spins for a bounded time, once, and only while that has been worth it: the first wait for a few microseconds, those
// after one that saw something come for as long as waking two sleepers takes. Each time that nothing came halves the next try,
// down to none; then one wait in many tries anew, as one object's waits may have become short. A process that has but one processor
// never spins.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <ctime>
#include <sched.h>

#if defined( __SSE2__ )
#include <emmintrin.h>
#endif

// Of one object, in this process.
class SpinWait
{
public:
    // Result: whether the look, which is to be cheap and to change nothing, gave true in time.
    //   MOST_PAUSES  to so many the pauses between two looks grow: every look takes the memory away from whoever works in it.
    template <int MOST_PAUSES = 1, class Look>
    bool Until( Look aLook ) noexcept
    {
        const uint32_t uBudget = TakeBudget();
        if ( uBudget == 0 )
            return false;
        const uint64_t ullEnd = Nanoseconds() + uBudget;
        int nPauses = 1;
        do
        {
            for ( int i = 0; i < PAUSES_BY_CLOCK; i += nPauses )
            {
                if ( aLook() )
                {
                    m_uBudget.store( MOST_NANOSECONDS, std::memory_order_relaxed );
                    return true;
                }
                for ( int j = 0; j < nPauses; ++j )
                    Pause();
                nPauses = std::min( nPauses * 2, MOST_PAUSES );
            }
        } while ( Nanoseconds() < ullEnd );
        m_uBudget.store( uBudget / 2 >= LEAST_NANOSECONDS ? uBudget / 2 : 0, std::memory_order_relaxed );
        return false;
    }

    // Between two looks: leaves the processor's other half its resources.
    static void Pause() noexcept
    {
#if defined( __SSE2__ )
        _mm_pause();
#else
        std::atomic_signal_fence( std::memory_order_seq_cst );
#endif
    }

private:
    static constexpr uint32_t MOST_NANOSECONDS = 60000;
    static constexpr uint32_t FIRST_NANOSECONDS = 8000;
    static constexpr uint32_t LEAST_NANOSECONDS = 1000;
    static constexpr uint32_t WAITS_BY_TRY = 256;
    static constexpr uint32_t FIRST_LONG_TRY = 8;
    static constexpr int PAUSES_BY_CLOCK = 64;

    // Several threads may wait for one object: what they make of it together is a guess all the same.
    uint32_t TakeBudget() noexcept
    {
        const uint32_t uBudget = m_uBudget.load( std::memory_order_relaxed );
        if ( uBudget != 0 )
            return uBudget;
        const uint32_t uWaits = m_uWaits.load( std::memory_order_relaxed );
        m_uWaits.store( uWaits + 1, std::memory_order_relaxed );
        const bool fTries = uWaits == 0 || uWaits % WAITS_BY_TRY == FIRST_LONG_TRY;
        if ( !fTries || !HasOtherProcessor() )
            return 0;
        return uWaits == 0 ? FIRST_NANOSECONDS : MOST_NANOSECONDS;
    }

    static bool HasOtherProcessor() noexcept
    {
        cpu_set_t aProcessors;
        CPU_ZERO( &aProcessors );
        return sched_getaffinity( 0, sizeof( aProcessors ), &aProcessors ) != 0 ||
               CPU_COUNT( &aProcessors ) > 1;
    }

    static uint64_t Nanoseconds() noexcept
    {
        timespec aNow{};
        clock_gettime( CLOCK_MONOTONIC, &aNow );
        return static_cast<uint64_t>( aNow.tv_sec ) * 1000000000u + static_cast<uint64_t>( aNow.tv_nsec );
    }

    std::atomic<uint32_t> m_uBudget{ 0 };
    std::atomic<uint32_t> m_uWaits{ 0 };
};
