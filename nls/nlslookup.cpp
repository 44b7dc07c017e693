#include "nls/nlslookup.h"

#include "core/guards.h"
#include "nls/keytext.h"
#include "nls/textview.h"

namespace
{

constexpr char KEY_NOT_FOUND[] = " Key not found, Key = ";

// One part of the note on a key without a text.
void AppendNote( MString& rNote, const NLSServer& rServer, std::string_view aSection, std::string_view aKey )
{
    rNote += KEY_NOT_FOUND;
    if ( !rServer.IsEditMode() )
        rNote += rServer.GetCountryCode();
    rNote += MString( "." ) + UpperText( aSection ).Text() + "." + UpperText( aKey ).Text();
}

// Asks the server for the key in one section. Result: FALSE when the server cannot be used.
BOOL AskServer( NLSServer& rServer, std::string_view aSection, std::string_view aKey, MString& rNote,
                NlsText& rText )
{
    DATABUFTYPE pData = NULL;
    BOOL fFound = FALSE;
    if ( !rServer.ReadInUpperCase( aSection, aKey, &fFound, &pData ) )
        return FALSE;
    if ( fFound )
    {
        rText.pText = pData;
        rText.fFound = TRUE;
    }
    else if ( rServer.IsDebugMessages() )
        AppendNote( rNote, rServer, aSection, aKey );
    return TRUE;
}

// Why there was no text; NULL when the sections just have none.
LPCTSTR AskSections( NLSServer& rServer, std::string_view aSection, std::string_view aCommonSection,
                     std::string_view aKey, MString& rNote, NlsText& rText )
{
    if ( !AskServer( rServer, aSection, aKey, rNote, rText ) )
        return " Error: !( bStat = pLocalNLSServer->ReadStringValue( stLocalSec, stLocalKey, TRUE, &bFound, &pstRet, pFullKey ) )";
    if ( rText.fFound || aCommonSection.empty() )
        return NULL;
    if ( !AskServer( rServer, aCommonSection, aKey, rNote, rText ) )
        return " Error: !( bStat = pLocalNLSServer->ReadStringValue( stLocalSecCom, stLocalKey, TRUE, &bFound, &pstRet, pFullKey ) )";
    return NULL;
}

} // namespace

NlsText LookUpNlsText( LPCTSTR pstSec, LPCTSTR pstSecCom, LPCTSTR pstKey )
{
    if ( pstKey == NULL )
        return { NULL, FALSE, " Error: pstKey == NULL" };
    return LookUpNlsText( ViewOf( pstSec ), ViewOf( pstSecCom ), ViewOf( pstKey ) );
}

NlsText LookUpNlsText( std::string_view aSection, std::string_view aCommonSection, std::string_view aKey )
{
    if ( aKey.empty() )
        return { aKey.data(), FALSE, " Error: *pstKey == NIL" };
    const LastErrorGuard aLastError;
    NLSServer* const pLocalNLSServer = GetNLSServer();
    if ( pLocalNLSServer == NULL )
        return { aKey.data(), FALSE, " Error: ( pLocalNLSServer = GetNLSServer() ) == NULL" };
    NlsText aText = { aKey.data(), FALSE, NULL, HeldNLSServer( pLocalNLSServer ) };
    MString aNote;
    aText.pError = AskSections( *pLocalNLSServer, aSection, aCommonSection, aKey, aNote, aText );
    if ( !aText.fFound && !aNote.IsEmpty() )
        MyDbgMessage( "From LoadNlsString(...)", aNote );
    return aText;
}
