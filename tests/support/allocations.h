// What one thread has allocated.
#pragma once

struct Allocations
{
    unsigned long ulMade = 0;
    long lOutstanding = 0;
    unsigned long ulUntilFault = 0;
    bool fHit = false;
};

// The calling thread's; one form for each system.
Allocations& OfThisThread() noexcept;
