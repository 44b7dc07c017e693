#include "ui/errorpages.h"

#include "error/errstream.h"

#include <bxtools/nls.h>
#include <bxtools/platform.h>

namespace
{

MString ToMString( std::string_view aText )
{
    MString aCopy;
    aCopy.assign( aText.data(), aText.size() );
    return aCopy;
}

MString LoadLabel( LPCTSTR pKey )
{
    return LoadNlsString( "BXBOX.ERRORWINDOW", "", pKey );
}

} // namespace

ErrorPages::ErrorPages( LPCTSTR szErrStream )
{
    const std::string_view aStream( szErrStream != NULL ? szErrStream : "" );
    ErrStreamReader aReader( aStream );
    if ( !aReader.IsStream() && !aStream.empty() )
        m_aPages.push_back( { ToMString( aStream ), {}, {} } );
    // One by one: a stream that is asked for its errors by their numbers is read from its start for each.
    for ( std::string_view aRecord; aReader.Next( aRecord ); )
        m_aPages.push_back( ReadPage( aRecord ) );
    for ( const Page& rPage : m_aPages )
        m_aErrors.push_back( { rPage.aText, rPage.aDetails, rPage.aHelpFile, rPage.usHelpID } );
}

// An error that cannot be translated is shown by its record's text: somebody may still make sense of it.
ErrorPages::Page ErrorPages::ReadPage( std::string_view aRecord )
{
    Page aPage;
    ErrObjectClient aError;
    // A system error of 0 would give the text of what failed last in here.
    SetLastError( 0 );
    const MString aText = ToMString( aRecord );
    if ( !aError.FromStream( aText ) )
        aPage.aText = aText;
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
