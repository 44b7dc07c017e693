#include "ui/errorpages.h"

#include <bxtools/error.h>
#include <bxtools/nls.h>
#include <bxtools/platform.h>

namespace
{

MString LoadLabel( LPCTSTR pKey )
{
    return LoadNlsString( "BXBOX.ERRORWINDOW", "", pKey );
}

} // namespace

ErrorPages::ErrorPages( LPCTSTR szErrStream )
{
    const MString aStream( szErrStream );
    ULONG ulCount = 0;
    if ( IsErrorStream( aStream ) )
        GetAvailableErrorCountFromStream( ulCount, aStream );
    else if ( !aStream.IsEmpty() )
        m_aPages.push_back( { aStream, {}, {} } );
    for ( ULONG ulIndex = 0; ulIndex < ulCount; ++ulIndex )
        m_aPages.push_back( ReadPage( ulIndex, aStream ) );
    for ( const Page& rPage : m_aPages )
        m_aErrors.push_back( { rPage.aText, rPage.aDetails, rPage.aHelpFile, rPage.usHelpID } );
}

// An error that cannot be translated is shown by its record's text: somebody may still make sense of it.
ErrorPages::Page ErrorPages::ReadPage( ULONG ulIndex, const MString& aStream )
{
    Page aPage;
    ErrObjectClient aError;
    // A system error of 0 would give the text of what failed last in here.
    SetLastError( 0 );
    if ( !Error2ObjectFromStream( aError, ulIndex, aStream ) )
        aPage.aText = aStream.GetTokenStr( static_cast<USHORT>( ulIndex + 1 ), ERRSTREAM_RECORD_SEPARATOR );
    else if ( !aError.GetTranslatedErrText( aPage.aText ) )
        aError.ToStream( aPage.aText );
    else
    {
        aError.GetDetailsErrText( aPage.aDetails );
        aError.GetHelpData( aPage.aHelpFile, aPage.usHelpID );
    }
    return aPage;
}

ErrorLabels::ErrorLabels()
    : m_aTitle( LoadLabel( "Errors" ) ),
      m_aPosition( LoadLabel( "Error %1 of %2" ) ),
      m_aPrevious( LoadLabel( "&Previous" ) ),
      m_aNext( LoadLabel( "&Next" ) ),
      m_aCopy( LoadLabel( "&Copy" ) ),
      m_aClose( LoadLabel( "Close" ) ),
      m_aDetails( LoadLabel( "Details" ) ),
      m_aHelp( LoadLabel( "Help topic" ) )
{
}

WindowSystemErrorLabels ErrorLabels::Get() const
{
    return { m_aTitle, m_aPosition, m_aPrevious, m_aNext, m_aCopy, m_aClose, m_aDetails, m_aHelp };
}
