// OutputDebugStringA raises an exception for a debugger; a handler in the process sees it first.
#include "support/debugcapture.h"

#include <mutex>
#include <windows.h>

namespace
{

struct Capture
{
    std::mutex aLock;
    std::string strText;
    PVOID pHandler = NULL;
};

Capture& TheCapture()
{
    static Capture aCapture;
    return aCapture;
}

LONG CALLBACK OnException( PEXCEPTION_POINTERS pPointers )
{
    const EXCEPTION_RECORD& rRecord = *pPointers->ExceptionRecord;
    if ( rRecord.ExceptionCode != DBG_PRINTEXCEPTION_C || rRecord.NumberParameters < 2 )
        return EXCEPTION_CONTINUE_SEARCH;
    const std::lock_guard aGuard( TheCapture().aLock );
    TheCapture().strText += reinterpret_cast<LPCSTR>( rRecord.ExceptionInformation[1] );
    return EXCEPTION_CONTINUE_EXECUTION;
}

} // namespace

void PrepareTestProcess( char** ) {}

void StartDebugCapture()
{
    TakeDebugOutput();
    // The handler runs in the thread that writes, whose allocations a test may let fail.
    TheCapture().strText.reserve( 1 << 16 );
    TheCapture().pHandler = AddVectoredExceptionHandler( 1, &OnException );
}

void EndDebugCapture()
{
    RemoveVectoredExceptionHandler( TheCapture().pHandler );
    const std::lock_guard aGuard( TheCapture().aLock );
    std::string().swap( TheCapture().strText );
}

std::string TakeDebugOutput()
{
    const std::lock_guard aGuard( TheCapture().aLock );
    const std::string strTaken = TheCapture().strText;
    TheCapture().strText.clear();
    return strTaken;
}
