// Whether a path is there and may be used.
#include "core/callreport.h"

#include <bxtools/path.h>
#include <bxtools/platform.h>

#include <cstring>
#include <iterator>

namespace
{

// The system's access check, by FILE_ACCESS_*.
constexpr int SYSTEM_MODES[] = { 0, 4, 2, 6 };

// What fits of a text, with a zero behind it when there is room for one. Result: whether there was.
bool CopyWithoutZero( LPTSTR szTo, USHORT uSize, LPCTSTR szFrom )
{
    szTo[0] = '\0';
    const size_t ulLength = strnlen( szFrom, uSize );
    std::memmove( szTo, szFrom, ulLength );
    if ( ulLength == uSize )
        return false;
    szTo[ulLength] = '\0';
    return true;
}

BOOL MayBeUsed( LPCTSTR szPath, int nMode )
{
    return _access( szPath, SYSTEM_MODES[nMode] ) == 0;
}

} // namespace

BOOL DLL_EXPORT FileExists( LPCTSTR szPath, int nMode, LPTSTR szFullPath, USHORT uSize )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT FileExists( LPCTSTR szPath, int nMode, LPTSTR szFullPath, USHORT uSize )" );
    if ( szPath == NULL )
        return aReport.Fail( " Error: szPath == NULL" );
    if ( szPath[0] == '\0' )
        return FALSE;
    const bool fCopied = szFullPath != NULL && uSize != 0;
    const bool fWhole = !fCopied || CopyWithoutZero( szFullPath, uSize, szPath );
    if ( nMode < 0 || nMode >= static_cast<int>( std::size( SYSTEM_MODES ) ) )
        return aReport.Fail( " Error: undefined access mode -> not supported" );
    // A copy that fills its buffer ends where the buffer does. Short of memory this is the empty path, reported.
    if ( !fWhole )
        return MayBeUsed( MString( szFullPath, uSize ), nMode );
    return MayBeUsed( fCopied ? szFullPath : szPath, nMode );
}
