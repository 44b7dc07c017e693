// For calls into the C library that are cancellation points: a thread that is cancelled inside ours ends behind them.
#pragma once

#include <pthread.h>

class NoCancellation
{
public:
    NoCancellation() noexcept { pthread_setcancelstate( PTHREAD_CANCEL_DISABLE, &m_nState ); }
    ~NoCancellation() { pthread_setcancelstate( m_nState, nullptr ); }
    NoCancellation( const NoCancellation& ) = delete;
    NoCancellation& operator=( const NoCancellation& ) = delete;

private:
    int m_nState = PTHREAD_CANCEL_ENABLE;
};
