#include "nls/nlswalk.h"

#include "core/callreport.h"
#include "error/syserrtext.h"
#include "nls/nlslookup.h"

namespace
{

constexpr char FONT_SECTION[] = "Font";

} // namespace

NlsWalk::NlsWalk( LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode )
    : m_lpszSec( lpszSec ),
      m_lpszSecCom( lpszSecCom ),
      m_nMode( nMode )
{
}

BOOL NlsWalk::Begin( CallReport& rReport )
{
    if ( m_lpszSec == NULL )
        return rReport.Fail( " Error: lpszSec == NULL" );
    if ( *m_lpszSec == '\0' )
        return rReport.Fail( " Error: *lpszSec == NIL" );
    if ( !HasMode( NLSWNDOBJMODE_STD ) && !HasMode( NLSWNDOBJMODE_REPLACE ) )
        return rReport.Fail(
            " Error: !ISMODE_NLS( nMode, NLSWNDOBJMODE_STD ) && !ISMODE_NLS( nMode, NLSWNDOBJMODE_REPLACE )" );
    m_pBuf.reset( MyTCHARFactory( GlobalBufLen ) );
    if ( m_pBuf == NULL )
        return rReport.Fail( " Error: ( pBuf = MyTCHARFactory( GlobalBufLen ) ) == NULL" );
    if ( HasMode( NLSWNDOBJMODE_FONT ) )
    {
        m_aFontSec = MString( m_lpszSec ) + FONT_SECTION;
        if ( m_lpszSecCom != NULL && *m_lpszSecCom != '\0' )
            m_aFontSecCom = MString( m_lpszSecCom ) + FONT_SECTION;
    }
    return TRUE;
}

MString NlsWalk::Translate() const
{
    MString aText( LookUpNlsText( m_lpszSec, m_lpszSecCom, m_pBuf.get() ).pText );
    if ( HasMode( NLSWNDOBJMODE_REPLACE ) && !aText.IsEmpty() )
        ReplaceAllBackSlashChars( aText );
    return aText;
}

void NlsWalk::LookUpFont() const
{
    if ( HasMode( NLSWNDOBJMODE_FONT ) )
        LookUpNlsText( m_aFontSec, m_aFontSecCom, m_pBuf.get() );
}

BOOL FailNlsWalk( CallReport& rReport, LPCTSTR pText )
{
    const DWORD dwLastErr = GetLastError();
    rReport.Fail( pText );
    return TailLastErrMsg( rReport, dwLastErr );
}
