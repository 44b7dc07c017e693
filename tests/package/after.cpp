#include "parts.h"

#include <bxtools/error.h>
#include <bxtools/registry.h>

#include <windows.h>

bool ReadStream( const MString& rStream, MString& rText )
{
    MString aClass;
    CRegistry().GetClassName( aClass );
    ERR lNumber = 0;
    DWORD dwSystemError = ERROR_SUCCESS;
    if ( !GetOriginErrorValuesFromStream( rText, lNumber, dwSystemError, 0, rStream ) )
        return false;
    rText += "/";
    rText += dwSystemError;
    return aClass.IsEmpty() && lNumber == 7;
}
