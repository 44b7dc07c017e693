#include "platform/lifecycle.h"

#include "platform/bell.h"
#include "platform/debugout.h"
#include "platform/namedobjects.h"
#include "platform/threadend.h"
#include "platform/tls.h"

void ClosePlatform() noexcept
{
    CloseThreadEnd();
    CloseBells();
    CloseNamedObjects();
    ReleaseTlsOfThread();
    CloseDebugSinks();
}
