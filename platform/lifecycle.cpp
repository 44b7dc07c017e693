#include "platform/lifecycle.h"

#include "platform/debugout.h"
#include "platform/threadend.h"
#include "platform/tls.h"

void ClosePlatform() noexcept
{
    CloseThreadEnd();
    ReleaseTlsOfThread();
    CloseDebugSinks();
}
