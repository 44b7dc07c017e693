// What the registry class's operations have in common.
#pragma once

#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

#include <cstring>
#include <cxxabi.h>

// A copy of a text; NULL is "". Throws where there is no memory.
inline MString CopyOf( LPCTSTR pText )
{
    MString aText;
    if ( pText != NULL )
        aText.assign( pText, std::strlen( pText ) );
    return aText;
}

// Runs aBody; any exception becomes error 1064 and FALSE. The forced unwinding of a cancelled thread passes. (It
// comes without an object: the reference is bound to null.)
template <class Body>
__attribute__( ( no_sanitize( "null", "alignment" ) ) ) BOOL Guarded( LONG& rErrorCode, Body&& aBody )
{
    try
    {
        return aBody();
    }
    catch ( abi::__forced_unwind& )
    {
        throw;
    }
    catch ( ... )
    {
        rErrorCode = ERROR_EXCEPTION_IN_SERVICE;
        return FALSE;
    }
}
