// The values are a section of the library's image that all processes share.
#include "diag/sharedvalues.h"

__attribute__( ( section( "shared" ), shared ) ) constinit SharedDebugValues g_aSharedDebugValues{ 0, 0 };

void ShareDebugValues() noexcept {}
