// What the rest of the layer needs of the module family.
#pragma once

// Fork handlers.
void LockModules();
void UnlockModules();
