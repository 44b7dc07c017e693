#include "process/threadsystem.h"

#include <objbase.h>

// The system only asks the thread to stand still; its registers cannot be read before it does.
DWORD SuspendAndSettle( HANDLE aThread ) noexcept
{
    const DWORD dwBefore = SuspendThread( aThread );
    if ( dwBefore == SUSPENSION_FAILED )
        return dwBefore;
    CONTEXT aContext = {};
    aContext.ContextFlags = CONTEXT_CONTROL;
    GetThreadContext( aThread, &aContext );
    return dwBefore;
}

bool InitializeCom() noexcept
{
    return SUCCEEDED( CoInitialize( NULL ) );
}

void UninitializeCom() noexcept
{
    CoUninitialize();
}
