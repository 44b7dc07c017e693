// Windows only: the walks over the processes, of which EnumProcs takes the one of the system's family.
#pragma once

#include <bxtools/process.h>

// FALSE: the family's libraries or functions are not there, or nothing can be listed.
BOOL EnumOnNT( ENUMPROCSFUNC lpProc, LPARAM lParam );
BOOL EnumOnWindows95( ENUMPROCSFUNC lpProc, LPARAM lParam );
