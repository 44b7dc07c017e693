// What the thread sanitizer cannot follow, a test leaves out.
#pragma once

#if defined( __SANITIZE_THREAD__ )
constexpr bool THREAD_SANITIZER = true;
#else
constexpr bool THREAD_SANITIZER = false;
#endif

// It waits for ever for a thread that left without telling it.
#define SKIP_WHERE_FORCED_ENDS_ARE_NOT_FOLLOWED()                                                            \
    if ( THREAD_SANITIZER )                                                                                  \
    GTEST_SKIP() << "the thread was ended by force"
