// Descriptors that the layer keeps lie high, out of the way of programs that close and count on the low ones.
// Straight to the kernel: the C library's calls are cancellation points.
#pragma once

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

constexpr int NO_DESCRIPTOR = -1;

// Moves a descriptor, which may be NO_DESCRIPTOR, to where ours lie, close-on-exec; leaves it where it is when that cannot
// be.
inline int MoveDescriptorHigh( int nLow ) noexcept
{
    constexpr int FIRST_DESCRIPTOR = 500;
    const int nHigh = nLow >= 0
                          ? static_cast<int>( syscall( SYS_fcntl, nLow, F_DUPFD_CLOEXEC, FIRST_DESCRIPTOR ) )
                          : NO_DESCRIPTOR;
    if ( nHigh < 0 )
        return nLow;
    syscall( SYS_close, nLow );
    return nHigh;
}

// Closes it unless it is none.
inline void CloseDescriptor( int& rnDescriptor ) noexcept
{
    if ( rnDescriptor >= 0 )
        syscall( SYS_close, rnDescriptor );
    rnDescriptor = NO_DESCRIPTOR;
}
