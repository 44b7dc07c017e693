#include "diag/sharedvalues.h"

// On, without any level: what holds where there are no settings.
static constinit SharedDebugValues g_aOwnValues{ 1, 0 };

constinit std::atomic<SharedDebugValues*> g_pSharedDebugValues{ &g_aOwnValues };
