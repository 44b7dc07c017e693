#include "core/taskname.h"

#include <bxtools/platform.h>

#include <string_view>

namespace
{

struct ExecutablePath
{
    ExecutablePath() : m_dwLength( GetModuleFileNameA( NULL, m_szPath, sizeof( m_szPath ) ) ) {}

    TCHAR m_szPath[4096];
    DWORD m_dwLength;
};

} // namespace

MString GetTaskName()
{
    // Asked for once, by process attach: the system may take its loader's lock to answer, which an ending thread holds
    // while it waits for the registry's.
    static const ExecutablePath aExecutable;
    const std::string_view aPath( aExecutable.m_szPath, aExecutable.m_dwLength );
    const std::string_view aName = aPath.substr( aPath.find_last_of( "/\\" ) + 1 );
    return MString( aName.data(), static_cast<int>( aName.size() ) );
}
