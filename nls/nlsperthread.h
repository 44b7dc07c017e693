// The NLS server of each thread.
#pragma once

class NLSServer;

// The calling thread's server, made by its first request with the settings that hold then, and destroyed when the thread ends.
// Result: the server, the thread's, whatever its status is; NULL with reports when it cannot be had.
NLSServer* GetNLSServer();

// Destroys the calling thread's server, if it has one: the next request makes a new one.
void DropNLSServer();
