// What both systems have in common.
#include "process/procservices.h"

#include "core/callreport.h"
#include "file/longpath.h"
#include "process/processmatch.h"

#include <bxtools/mstring.h>

#include <cstring>

namespace
{

// A short form on Windows; an ordinary letter on Linux.
constexpr char SHORT_FORM_MARK = MYCH_DELIMDIR == '/' ? '\0' : '~';

} // namespace

std::string_view ProgramName( LPCTSTR szFileName, MString& aLongPath )
{
    if ( SHORT_FORM_MARK != '\0' && std::strchr( szFileName, SHORT_FORM_MARK ) != NULL &&
         InternalShortToLong( MString( szFileName ), aLongPath ) )
        return FileNamePart( { aLongPath.data(), aLongPath.length() } );
    return FileNamePart( szFileName );
}

BOOL FailWithLastError( CallReport& rReport, LPCTSTR pText )
{
    const DWORD dwLastError = GetLastError();
    rReport.Fail( pText );
    rReport.Tail( static_cast<LONG>( dwLastError ) ).Tail( "\n" );
    return FALSE;
}
