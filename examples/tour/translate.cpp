#include "examples/tour/translate.h"

#include "examples/tour/narrate.h"

#include <bxtools/errclient.h>
#include <bxtools/error.h>
#include <bxtools/nlsserver.h>

namespace
{

// As an installation's settings in the registry do for all threads, and a program for its own.
void UseLanguage( const MString& aTexts, USHORT usLanguage )
{
    NlsSettings aSettings;
    aSettings.fEditMode = TRUE;
    aSettings.stLanguagePath = aTexts;
    aSettings.usCountryCode = usLanguage;
    SetNlsSettings( &aSettings );
}

} // namespace

bool ShowTranslated( const MString& aStream, const MString& aTexts, USHORT usLanguage )
{
    UseLanguage( aTexts, usLanguage );
    ULONG ulCount = 0;
    GetAvailableErrorCountFromStream( ulCount, aStream );
    // One record is filled again and again: it has read its labels in this language.
    ErrObjectClient aError;
    MString aText;
    for ( ULONG ulIndex = 0; ulIndex < ulCount; ulIndex++ )
    {
        if ( !Error2ObjectFromStream( aError, ulIndex, aStream ) || !aError.GetTranslatedErrText( aText ) )
            return false;
        // An empty line, the message, an empty line and the block that names the error.
        aText.EraseAllChars( '\r' );
        Narrate( "     %s. %s", MString( ulIndex + 1 ).data(), aText.GetToken( 1, '\n' ).data() );
    }
    for ( USHORT usLine = 3; usLine < aText.GetTokenCount( '\n' ); usLine++ )
        Narrate( "        %s", aText.GetToken( usLine, '\n' ).data() );
    SetNlsSettings( NULL );
    return true;
}
