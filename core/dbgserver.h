// The front end of the data log, of which the process has one.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// Nothing is logged yet: the log server and the log file are not part of this library.
class DBGServer
{
public:
    DBGServer();
    ~DBGServer();
    DBGServer( const DBGServer& ) = delete;
    DBGServer& operator=( const DBGServer& ) = delete;
};

// Makes the front end; NULL when there is no memory.
LPVOID DLL_EXPORT CreateDBGServer();
// Destroys it; NULL is reported and gives FALSE.
BOOL DLL_EXPORT DeleteDBGServer( LPVOID lValue );
