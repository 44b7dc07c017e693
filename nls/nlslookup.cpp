#include "nls/nlslookup.h"

#include "core/guards.h"
#include "nls/keytext.h"
#include "nls/nlsperthread.h"

#include <bxtools/nlsserver.h>

namespace
{

constexpr char KEY_NOT_FOUND[] = " Key not found, Key = ";

// A name in upper case.
class UpperText : public KeyText
{
public:
    explicit UpperText( std::string_view aName ) noexcept : KeyText( aName.size() ) { AppendUpper( aName ); }
};

std::string_view View( LPCTSTR pText ) noexcept
{
    return pText != NULL ? std::string_view( pText ) : std::string_view();
}

// One part of the note on a key without a text.
void AppendNote( MString& rNote, const NLSServer& rServer, LPCTSTR pSection, LPCTSTR pKey )
{
    rNote += KEY_NOT_FOUND;
    if ( !rServer.IsEditMode() )
        rNote += rServer.GetCountryCode();
    rNote += MString( "." ) + pSection + "." + pKey;
}

// Asks the server for the key in one section. Result: FALSE when the server cannot be used.
BOOL AskServer( NLSServer& rServer, LPCTSTR pSection, LPCTSTR pKey, MString& rNote, NlsText& rText )
{
    DATABUFTYPE pData = NULL;
    BOOL fFound = FALSE;
    if ( !rServer.ReadStringValue( pSection, pKey, TRUE, &fFound, &pData, NULL ) )
        return FALSE;
    if ( fFound )
        rText = { pData, TRUE, NULL };
    else if ( rServer.IsDebugMessages() )
        AppendNote( rNote, rServer, pSection, pKey );
    return TRUE;
}

// Why there was no text; NULL when the sections just have none.
LPCTSTR AskSections( NLSServer& rServer, std::string_view aSection, std::string_view aCommonSection,
                     std::string_view aKey, MString& rNote, NlsText& rText )
{
    const UpperText stLocalSec( aSection );
    const UpperText stLocalKey( aKey );
    if ( stLocalSec.Text() == NULL || stLocalKey.Text() == NULL ||
         !AskServer( rServer, stLocalSec.Text(), stLocalKey.Text(), rNote, rText ) )
        return " Error: !( bStat = pLocalNLSServer->ReadStringValue( stLocalSec, stLocalKey, TRUE, &bFound, &pstRet, pFullKey ) )";
    if ( rText.fFound || aCommonSection.empty() )
        return NULL;
    const UpperText stLocalSecCom( aCommonSection );
    if ( stLocalSecCom.Text() == NULL ||
         !AskServer( rServer, stLocalSecCom.Text(), stLocalKey.Text(), rNote, rText ) )
        return " Error: !( bStat = pLocalNLSServer->ReadStringValue( stLocalSecCom, stLocalKey, TRUE, &bFound, &pstRet, pFullKey ) )";
    return NULL;
}

} // namespace

NlsText LookUpNlsText( LPCTSTR pstSec, LPCTSTR pstSecCom, LPCTSTR pstKey ) noexcept
{
    if ( pstKey == NULL )
        return { NULL, FALSE, " Error: pstKey == NULL" };
    if ( *pstKey == '\0' )
        return { pstKey, FALSE, " Error: *pstKey == NIL" };
    const LastErrorGuard aLastError;
    NLSServer* const pLocalNLSServer = GetNLSServer();
    if ( pLocalNLSServer == NULL )
        return { pstKey, FALSE, " Error: ( pLocalNLSServer = GetNLSServer() ) == NULL" };
    NlsText aText = { pstKey, FALSE, NULL };
    MString aNote;
    aText.pError =
        AskSections( *pLocalNLSServer, View( pstSec ), View( pstSecCom ), View( pstKey ), aNote, aText );
    if ( !aText.fFound && !aNote.IsEmpty() )
        MyDbgMessage( "From LoadNlsString(...)", aNote );
    return aText;
}
