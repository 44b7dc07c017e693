#include "platform/lifecycle.h"

#include "platform/debugout.h"
#include "platform/threadend.h"

void ClosePlatform() noexcept
{
    CloseThreadEnd();
    CloseDebugSinks();
}
