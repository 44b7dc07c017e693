#include "diag/sharedvalues.h"

// This process's own values: on, without any level, which is what holds where there are no settings.
constinit SharedDebugValues g_aSharedDebugValues{ 1, 0 };
