#include "platform/lifecycle.h"

#include "platform/bell.h"
#include "platform/debugout.h"
#include "platform/inicache.h"
#include "platform/namedobjects.h"
#include "platform/threadend.h"
#include "platform/tls.h"

void ClosePlatform() noexcept
{
    CloseThreadEnd();
    CloseBells();
    CloseNamedObjects();
    ReleaseTlsOfThread();
    CloseIniCache();
    CloseDebugSinks();
}
