// The debug switch and the debug level, which all processes of one namespace share. Plain values: whoever reads the
// settings last has written them. Nothing here is constructed at run time, since they are read while the library starts.
#pragma once

#include <bxtools/wintypes.h>

#include <atomic>

// Both zero in the file image.
struct SharedDebugValues
{
    std::atomic<ULONG> ulEnabled;
    std::atomic<ULONG> ulLevel;
};
// At a fixed address, so that reading is one load.
extern SharedDebugValues g_aSharedDebugValues;

// At the library's start: lets other processes share the values. Where that cannot be (standard error says why when the
// namespace folder is refused) they stay this process's own.
void ShareDebugValues() noexcept;

inline bool IsDebugEnabled() noexcept
{
    return g_aSharedDebugValues.ulEnabled.load( std::memory_order_relaxed ) != 0;
}

inline ULONG GetDebugLevel() noexcept
{
    return g_aSharedDebugValues.ulLevel.load( std::memory_order_relaxed );
}

// Most processes find what they would write: then the page is not written to, which is dear the first time.
inline void SetSharedDebugValue( std::atomic<ULONG>& rValue, ULONG ulNew ) noexcept
{
    if ( rValue.load( std::memory_order_relaxed ) != ulNew )
        rValue.store( ulNew, std::memory_order_relaxed );
}

inline void SetDebugEnabled( bool fEnabled ) noexcept
{
    SetSharedDebugValue( g_aSharedDebugValues.ulEnabled, fEnabled ? 1 : 0 );
}

inline void SetDebugLevel( ULONG ulLevel ) noexcept
{
    SetSharedDebugValue( g_aSharedDebugValues.ulLevel, ulLevel );
}
