// The layer's own locks: zero-initialised critical sections, so that they need no constructor and outlive
// everything. Who holds one is not stopped by other threads.
#pragma once

#include "platform/stopgate.h"

#include <bxtools/platform.h>

// Holds a lock for a scope.
class LockedScope
{
public:
    explicit LockedScope( CRITICAL_SECTION& rLock ) noexcept : m_rLock( rLock )
    {
        EnterCriticalSection( &m_rLock );
    }
    ~LockedScope() { LeaveCriticalSection( &m_rLock ); }
    LockedScope( const LockedScope& ) = delete;
    LockedScope& operator=( const LockedScope& ) = delete;

private:
    const StopGate m_aGate;
    CRITICAL_SECTION& m_rLock;
};
