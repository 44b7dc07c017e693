#include "tools/process/processlist.h"

#include "process/processmatch.h"
#include "tools/errors/decodedrecord.h"
#include "tools/toolfailure.h"

#include <bxtools/platform.h>
#include <bxtools/process.h>

namespace
{

BOOL DLL_EXPORT TakeProcess( DWORD dwPID, WORD whTask16, LPCTSTR szFileName, LPARAM lParam )
{
    if ( whTask16 == 0 )
        reinterpret_cast<std::vector<ListedProcess>*>( lParam )->push_back( { dwPID, szFileName } );
    return TRUE;
}

} // namespace

std::vector<ListedProcess> ListProcesses()
{
    std::vector<ListedProcess> aProcesses;
    if ( EnumProcs( TakeProcess, reinterpret_cast<LPARAM>( &aProcesses ) ) )
        return aProcesses;
    throw ToolFailure( ExitCode::Input,
                       "the processes cannot be listed: " + GetSystemText( GetLastError() ) );
}

std::vector<ListedProcess> ListProcesses( const std::string& aNames )
{
    std::vector<ListedProcess> aProcesses = ListProcesses();
    std::erase_if( aProcesses,
                   [&aNames]( const ListedProcess& rProcess ) {
                       return rProcess.dwId == GetCurrentProcessId() ||
                              !IsListed( FileNamePart( rProcess.aPath ), aNames );
                   } );
    return aProcesses;
}
