// What the process is called.
#pragma once

#include <bxtools/mstring.h>

// The file name of the process's executable, without its folder; empty when the system does not tell.
MString GetTaskName();
