// The thread sanitizer does not know this way of taking a lock: what it guards would seem to be unguarded. Linked in its builds alone.
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>
#include <sanitizer/tsan_interface.h>

extern "C" int pthread_mutex_clocklock( pthread_mutex_t* pLock, clockid_t nClock, const timespec* pLimit )
{
    static const auto pReal = reinterpret_cast<decltype( &pthread_mutex_clocklock )>(
        dlsym( RTLD_NEXT, "pthread_mutex_clocklock" ) );
    __tsan_mutex_pre_lock( pLock, __tsan_mutex_try_lock );
    const int nOutcome = pReal( pLock, nClock, pLimit );
    const bool fTaken = nOutcome == 0 || nOutcome == EOWNERDEAD;
    __tsan_mutex_post_lock( pLock, __tsan_mutex_try_lock | ( fTaken ? 0 : __tsan_mutex_try_lock_failed ), 0 );
    return nOutcome;
}
