// Which file the name of a profile means.
#pragma once

#include <bxtools/wintypes.h>

#include <climits>
#include <string>

class IniPath
{
public:
    // Result: 0 or the Win32 number.
    DWORD Set( const char* pFileName ) noexcept;
    const char* Text() const noexcept { return m_szPath; }

private:
    char m_szPath[PATH_MAX];
};

// The folder of a path: "." when it has none.
std::string FolderOfIni( const std::string& strPath );
// Of a file that is not there: 2, or 3 when its folder is not there either.
DWORD MissingIniError( const std::string& strPath );
