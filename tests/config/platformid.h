// What MConfig asks the system for when it makes its copies of files; one form for each system.
#pragma once

#include <bxtools/wintypes.h>

#include <string>

// VER_PLATFORM_WIN32_WINDOWS: the system is one of the Windows 95 family for the library.
void PretendPlatformId( DWORD dwPlatformId );

// The folder of temporary files; empty: that of the system again.
void SetTemporaryFolder( const std::string& strFolder );
