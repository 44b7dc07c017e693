#include "platform/lifecycle.h"

#include "platform/debug/debugout.h"
#include "platform/object/bell.h"
#include "platform/object/namedobjects.h"
#include "platform/profile/inicache.h"
#include "platform/thread/messagequeue.h"
#include "platform/threadend.h"
#include "platform/tls.h"

void ClosePlatform() noexcept
{
    CloseThreadEnd();
    CloseQueueOfThread();
    CloseBells();
    CloseNamedObjects();
    ReleaseTlsOfThread();
    CloseIniCache();
    CloseDebugSinks();
}
