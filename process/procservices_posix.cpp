#include "core/callreport.h"
#include "platform/errno_to_win32.h"
#include "platform/processtable.h"
#include "process/processmatch.h"
#include "process/procservices.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

constexpr DWORD SIGNAL_OTHERS = 1u << CAP_KILL;

// The calling thread's rights; the first record has those of the lower numbers.
struct Capabilities
{
    bool Read() noexcept { return syscall( SYS_capget, &m_aHeader, m_aSets ) == 0; }
    bool Write() noexcept { return syscall( SYS_capset, &m_aHeader, m_aSets ) == 0; }

    __user_cap_header_struct m_aHeader{ _LINUX_CAPABILITY_VERSION_3, 0 };
    __user_cap_data_struct m_aSets[_LINUX_CAPABILITY_U32S_3]{};
};

} // namespace

// There is nothing to be loaded.
BOOL SetupMyStruct( MyInfoStruct* pMyInfoStruct )
{
    pMyInfoStruct->m_dwPlatformId = VER_PLATFORM_WIN32_NT;
    return TRUE;
}

// The right to signal the processes of other users. A thread that was given it, but does not use it, begins to.
BOOL EnableDebugPrivilege( MyInfoStruct* )
{
    CallReport aReport( "From static BOOL EnableDebugPrivilege( MyInfoStruct* pMyInfoStruct )" );
    Capabilities aCapabilities;
    if ( !aCapabilities.Read() )
    {
        SetLastErrorFromErrno();
        return FailWithLastError( aReport, "OpenProcessToken failed with " );
    }
    __user_cap_data_struct& rSet = aCapabilities.m_aSets[0];
    if ( ( rSet.effective & SIGNAL_OTHERS ) != 0 )
        return TRUE;
    rSet.effective |= rSet.permitted & SIGNAL_OTHERS;
    if ( ( rSet.effective & SIGNAL_OTHERS ) != 0 && aCapabilities.Write() )
        return TRUE;
    SetLastError( ERROR_NOT_ALL_ASSIGNED );
    return FailWithLastError( aReport, "AdjustTokenPrivileges failed with " );
}

BOOL TerminateTask( CallReport&, const MyInfoStruct&, DWORD, WORD )
{
    return TRUE;
}

// Its number may have been given to another process between the walk's look at its path and its opening. From there on it
// leads to this process or to none.
bool IsStillMeant( const MyInfoStruct& rStruct, DWORD dwProcessId )
{
    ProcessTable aTable;
    if ( aTable.HasFailed() )
        return false;
    if ( IsListed( FileNamePart( aTable.GetPathOf( dwProcessId ) ), rStruct.m_pText ) )
        return true;
    SetLastError( ERROR_INVALID_PARAMETER );
    return false;
}
