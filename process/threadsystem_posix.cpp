#include "process/threadsystem.h"

#include <bxtools/platform.h>

DWORD SuspendAndSettle( HANDLE aThread ) noexcept
{
    return SuspendThread( aThread );
}

void InitializeCom() noexcept {}

void UninitializeCom() noexcept {}
