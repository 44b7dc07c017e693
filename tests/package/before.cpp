// The order is what this is about.
// clang-format off
#include <windows.h>

#include <bxtools/error.h>
#include <bxtools/registry.h>

#include "parts.h"
// clang-format on

bool MakeStream( MString& rStream )
{
    // A member that <windows.h> has a macro for.
    MString aClass;
    CRegistry().GetClassName( aClass );
    return GetFileAttributesA( "missing.txt" ) == INVALID_FILE_ATTRIBUTES &&
           SetLastErr( ERRCLS_SYS_LASTERROR, 7, 0, "GetFileAttributes failed", "", "missing.txt" ) &&
           AllErrors2Stream( rStream ) && aClass.IsEmpty();
}
