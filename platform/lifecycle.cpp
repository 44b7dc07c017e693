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

namespace
{
constinit bool g_fUnloaded = false;

// Functions like this one come before the destructors of objects when the library is unloaded, and after them when the
// process ends.
[[gnu::destructor]] void NoteUnload()
{
    g_fUnloaded = true;
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
    if ( g_fUnloaded )
    {
        CloseRegistry();
        CloseHandleTable();
    }
}
