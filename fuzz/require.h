// What a fuzzer holds its answers to.
#pragma once

// Ends the program with the input at hand when the answer is wrong.
inline void Require( bool fHolds )
{
    if ( !fHolds )
        __builtin_trap();
}
