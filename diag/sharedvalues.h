// The debug switch and the debug level, which all processes of one namespace share. Plain values: whoever reads the
// settings last has written them. Nothing here is constructed at run time, since they are read while the library starts.
#pragma once

#include <bxtools/wintypes.h>

#include <atomic>

struct SharedDebugValues
{
    std::atomic<ULONG> ulEnabled;
    std::atomic<ULONG> ulLevel;
};

// Never null. As long as nothing shared is to be had, a process has values of its own.
extern std::atomic<SharedDebugValues*> g_pSharedDebugValues;

inline SharedDebugValues& GetSharedDebugValues() noexcept
{
    return *g_pSharedDebugValues.load( std::memory_order_acquire );
}

inline bool IsDebugEnabled() noexcept
{
    return GetSharedDebugValues().ulEnabled.load( std::memory_order_relaxed ) != 0;
}

inline ULONG GetDebugLevel() noexcept
{
    return GetSharedDebugValues().ulLevel.load( std::memory_order_relaxed );
}

inline void SetDebugEnabled( bool fEnabled ) noexcept
{
    GetSharedDebugValues().ulEnabled.store( fEnabled ? 1 : 0, std::memory_order_relaxed );
}

inline void SetDebugLevel( ULONG ulLevel ) noexcept
{
    GetSharedDebugValues().ulLevel.store( ulLevel, std::memory_order_relaxed );
}
