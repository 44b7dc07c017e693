#include "process/threadsystem.h"

#include <bxtools/platform.h>

DWORD SuspendAndSettle( HANDLE aThread ) noexcept
{
    return SuspendThread( aThread );
}

bool InitializeCom() noexcept
{
    return false;
}

void UninitializeCom() noexcept {}
