// Processes that end, by intention, while some of their memory has lost its owner: where threads go on until the end,
// or where the one who could free it is gone.
#pragma once

// No check for leaks at the end of this process.
void AllowLeftovers();
