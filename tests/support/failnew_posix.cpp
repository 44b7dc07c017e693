#include "support/allocations.h"
#include "support/failnew.h"

// The loader binds every library to the program's operators.
void TakeOverAllocations() {}

Allocations& OfThisThread() noexcept
{
    static thread_local constinit Allocations t_aOwn;
    return t_aOwn;
}
