#include "platform/lifecycle.h"

#include "platform/debug/debugout.h"
#include "platform/object/bell.h"
#include "platform/object/handletable.h"
#include "platform/object/namedobjects.h"
#include "platform/profile/inicache.h"
#include "platform/registry/regkey.h"
#include "platform/thread/messagequeue.h"
#include "platform/threadend.h"
#include "platform/tls.h"

#include <dlfcn.h>

namespace
{
constinit bool g_fUnloaded = false;

// Functions like this one come before the destructors of objects when a library is unloaded, and after them when the
// process ends.
[[gnu::destructor]] void NoteUnload()
{
    g_fUnloaded = true;
}

// Libraries that came with the program are an exception: they end in the order of an unload with the process.
bool CameWithProgram() noexcept
{
    void* const pProgram = dlopen( nullptr, RTLD_LAZY );
    const bool fCame = pProgram == nullptr || dlsym( pProgram, "_Z11CloseHandlePv" ) != nullptr;
    if ( pProgram != nullptr )
        dlclose( pProgram );
    return fCame;
}
} // namespace

void ClosePlatform() noexcept
{
    CloseThreadEnd();
    CloseQueueOfThread();
    CloseBells();
    CloseNamedObjects();
    ReleaseTlsOfThread();
    CloseIniCache();
    CloseDebugSinks();
    // When the process ends other threads may be at these.
    if ( g_fUnloaded && !CameWithProgram() )
    {
        CloseRegistry();
        CloseHandleTable();
    }
}
