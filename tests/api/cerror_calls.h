// Checks of the C family written in C. Each gives NULL, or the text of the first expression that does not hold.
#pragma once

#ifdef __cplusplus
extern "C"
{
#endif

    const char* CheckOwnErrors( void );
    const char* CheckLosingAll( void );
    const char* CheckStreams( void );
    // Nine failing calls, each with a report of its own.
    const char* CheckNullArguments( void );

#ifdef __cplusplus
}
#endif
