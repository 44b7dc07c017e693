#include "core/taskname.h"

#include <bxtools/platform.h>

#include <string_view>

MString GetTaskName()
{
    TCHAR szPath[4096];
    const DWORD dwLength = GetModuleFileNameA( NULL, szPath, sizeof( szPath ) );
    const std::string_view aPath( szPath, dwLength );
    const std::string_view aName = aPath.substr( aPath.find_last_of( "/\\" ) + 1 );
    return MString( aName.data(), static_cast<int>( aName.size() ) );
}
