#include "parts.h"

#include <bxtools/error.h>
#include <bxtools/registry.h>

#include <stdio.h>

// An exception that the run-time library throws and the program catches.
static const char* HowPositionPastTheEndIsTold( const MString& rText )
{
    try
    {
        (void)rText.GetAt( rText.GetLength() );
    }
    catch ( const RWBoundsErr& )
    {
        return "caught";
    }
    return "not told";
}

// Prints one line: what was read back, how many records the stream has, and what became of the exception.
int main()
{
    MString aClass;
    CRegistry().GetClassName( aClass );
    MString aStream;
    MString aText;
    ULONG ulCount = 0;
    if ( !aClass.IsEmpty() || !MakeStream( aStream ) || !ReadStream( aStream, aText ) ||
         !GetAvailableErrorCountFromStream( ulCount, aStream ) )
        return 1;
    printf( "%s %u %s\n", static_cast<LPCTSTR>( aText ), static_cast<unsigned>( ulCount ),
            HowPositionPastTheEndIsTold( aText ) );
    return 0;
}
