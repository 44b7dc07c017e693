#include "core/threadstop.h"
#include "platform/stopgate.h"

void DeferThreadStop() noexcept
{
    RaiseStopGate();
}

void AllowThreadStop() noexcept
{
    LowerStopGate();
}
