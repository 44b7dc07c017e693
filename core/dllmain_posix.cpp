// The process-wide object is constructed when the library is loaded and destroyed when it is unloaded or the process
// ends, so it drives the notifications itself. Ends of threads come from the platform layer.
#include "core/dllmain.h"
#include "platform/lifecycle.h"
#include "platform/threadend.h"

#include <cstddef>

namespace
{

void OnThreadEnd()
{
    DllMain( NULL, DLL_THREAD_DETACH, NULL );
}

} // namespace

void OnGlobalObjectConstructed()
{
    // A load cannot be refused from here. What fails is reported, and the calls that need it fail.
    SetThreadEndFunc( &OnThreadEnd );
    DllMain( NULL, DLL_PROCESS_ATTACH, NULL );
}

LibraryEnd OnGlobalObjectEnds()
{
    // First, so that a container made by the detach does not ask for a notice that would come too late.
    CloseThreadEnd();
    DllMain( NULL, DLL_PROCESS_DETACH, NULL );
    ClosePlatform();
    // The object stays usable: when the process ends, its other threads still run.
    return LibraryEnd::Detached;
}

void RequestThreadEndNotice()
{
    RequestThreadEnd();
}
