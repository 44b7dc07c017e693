// The translated error record: what is looked up and what is kept. How texts are put together stands in
// errclientformat.cpp.
#include "core/callreport.h"
#include "core/guards.h"
#include "error/errclienttexts.h"

#include <bxtools/errclient.h>
#include <bxtools/error.h>
#include <bxtools/nls.h>

namespace
{

constexpr char NOT_INITIALIZED[] = " Error: !IsInitialized()";
constexpr char NOT_TRANSLATED[] = " Error: !GetTranslatedErrText( aTempStr )";

} // namespace

MString NlsTextOr( const MString& aSection, const MString& aKey, const MString& aDefault )
{
    BOOL fFound = FALSE;
    MString aText = LoadNlsStringEx( aSection, MString(), aKey, &fFound );
    return fFound ? aText : aDefault;
}

ErrObjectClient::ErrObjectClient()
{
    const LastErrorGuard aLastError;
    m_aErrClsLabel = NlsTextOr( BXTOOLS_COMMON_ERROR, "ErrCls", "ErrCls" );
    m_aErrorLabel = NlsTextOr( BXCOMMON_COMMON_ERROR, "Error", "Error" );
    m_aSourceLabel = NlsTextOr( BXTOOLS_COMMON_ERROR, "SourceDescription", "SourceDescription" );
    m_aReplaceToken = NlsTextOr( BXCOMMON_COMMON_ERROR, "Msg_Replace_Token", "%" );
}

ErrObjectClient::ErrObjectClient( const ErrObjectClient& aErrObjectClient ) = default;
ErrObjectClient::~ErrObjectClient() = default;
const ErrObjectClient& ErrObjectClient::operator=( const ErrObjectClient& aErrObjectClient )
{
    if ( this == &aErrObjectClient )
        return *this;
    ErrObjectBase::operator=( aErrObjectClient );
    m_aTranslatedErrMsg = aErrObjectClient.m_aTranslatedErrMsg;
    m_aDetailsErrText = aErrObjectClient.m_aDetailsErrText;
    m_aOriginNLSText = aErrObjectClient.m_aOriginNLSText;
    m_aMappedErrCls = aErrObjectClient.m_aMappedErrCls;
    m_lMappedCurErr = aErrObjectClient.m_lMappedCurErr;
    m_usHelpID = aErrObjectClient.m_usHelpID;
    m_aHelpFileName = aErrObjectClient.m_aHelpFileName;
    m_aErrClsLabel = aErrObjectClient.m_aErrClsLabel;
    m_aErrorLabel = aErrObjectClient.m_aErrorLabel;
    m_aSourceLabel = aErrObjectClient.m_aSourceLabel;
    m_aReplaceToken = aErrObjectClient.m_aReplaceToken;
    m_fMappingFound = aErrObjectClient.m_fMappingFound;
    m_fTranslated = aErrObjectClient.m_fTranslated;
    m_fDetailsBuilt = aErrObjectClient.m_fDetailsBuilt;
    m_fOriginInDetails = aErrObjectClient.m_fOriginInDetails;
    return *this;
}

const ErrObjectClient& ErrObjectClient::operator=( const ErrObjectBase& aErrObjectBase )
{
    ErrObjectBase::operator=( aErrObjectBase );
    return *this;
}

void ErrObjectClient::ClearValues()
{
    ForgetTexts();
    ErrObjectBase::ClearValues();
}

void ErrObjectClient::ForgetTexts()
{
    Clear( m_aTranslatedErrMsg );
    Clear( m_aDetailsErrText );
    Clear( m_aOriginNLSText );
    Clear( m_aMappedErrCls );
    Clear( m_aHelpFileName );
    m_lMappedCurErr = 0;
    m_usHelpID = 0;
    m_fMappingFound = FALSE;
    m_fTranslated = FALSE;
    m_fDetailsBuilt = FALSE;
    m_fOriginInDetails = FALSE;
}

BOOL ErrObjectClient::GetTranslatedErrText( MString& aTransText )
{
    CallReport aReport( *this, "From BOOL ErrObjectClient::GetTranslatedErrText( MString& aTransText )" );
    if ( !IsInitialized() )
        return aReport.Fail( NOT_INITIALIZED );
    if ( !m_fTranslated )
        return Init( aTransText ) || aReport.Fail( " Error: !Init( aTransText )" );
    aTransText = m_aTranslatedErrMsg;
    return TRUE;
}

BOOL ErrObjectClient::GetHelpData( MString& aHelpFileName, HELP_ID& usHelpID )
{
    CallReport aReport(
        *this, "From BOOL ErrObjectClient::GetHelpData( MString& aHelpFileName, HELP_ID& usHelpID )" );
    MString aTempStr;
    if ( !IsInitialized() )
        return aReport.Fail( NOT_INITIALIZED );
    if ( !m_fTranslated && !GetTranslatedErrText( aTempStr ) )
        return aReport.Fail( NOT_TRANSLATED );
    aHelpFileName = m_aHelpFileName;
    usHelpID = m_usHelpID;
    return TRUE;
}

BOOL ErrObjectClient::GetDetailsErrText( MString& aDetailsText )
{
    CallReport aReport( *this, "From BOOL ErrObjectClient::GetDetailsErrText( MString& aDetailsText )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            ClearDumpStr();
            MString aTempStr;
            if ( !IsInitialized() )
                return aReport.Fail( NOT_INITIALIZED );
            if ( !m_fTranslated && !GetTranslatedErrText( aTempStr ) )
                return aReport.Fail( NOT_TRANSLATED );
            if ( !m_fDetailsBuilt )
                BuildDetails();
            aDetailsText = m_aDetailsErrText;
            return TRUE;
        } );
}

BOOL ErrObjectClient::Init( MString& aTransText )
{
    CallReport aReport( *this, "From BOOL ErrObjectClient::Init( MString& aTransText )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            MString aText;
            BOOL fMapping = FALSE;
            if ( !GetTranslatedText( aText, m_aErrCls, m_lCurErr, m_dwSysLastErr, fMapping ) )
                return aReport.Fail(
                    " Error: !GetTranslatedText( aText, aOriginErrCls, lCurErr, dwLastErr, fMapping )" );
            if ( fMapping && !CheckForMapping( aText, m_aOriginNLSText, m_aMappedErrCls, m_lMappedCurErr,
                                               &m_fMappingFound ) )
                return aReport.Fail(
                    " Error: !CheckForMapping( aText, m_aOriginNLSText, m_aMappedErrCls, m_lMappedCurErr, &m_fMappingFound )" );
            if ( !FormatErrorMessage( m_aTranslatedErrMsg, aText ) )
                return aReport.Fail( " Error: !FormatErrorMessage( m_aTranslatedErrMsg, aText )" );
            if ( !SetupHelpData( m_aTranslatedErrMsg, FALSE ) )
                return aReport.Fail( " Error: !SetupHelpData( m_aTranslatedErrMsg, FALSE )" );
            CheckFormat( m_aTranslatedErrMsg );
            AppendLibInfo2TranslatedErrMsg( m_aTranslatedErrMsg,
                                            m_fMappingFound ? m_aMappedErrCls : m_aErrCls,
                                            m_fMappingFound ? m_lMappedCurErr : m_lCurErr, m_dwSysLastErr );
            m_fTranslated = TRUE;
            aTransText = m_aTranslatedErrMsg;
            return TRUE;
        } );
}

BOOL ErrObjectClient::GetTranslatedText( MString& aText, const MString& aOriginErrCls, ERR lCurErr,
                                         DWORD dwLastErr, BOOL& fMapping )
{
    CallReport aReport(
        *this,
        "From BOOL ErrObjectClient::GetTranslatedText( MString& aText, const MString& aOriginErrCls, ERR lCurErr, DWORD dwLastErr, BOOL& fMapping )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            fMapping = FALSE;
            m_fOriginInDetails = FALSE;
            BOOL pfMessageFound = FALSE;
            bool fOriginToo = false;
            if ( IsMyErrorClass( aOriginErrCls, ERRCLS_SYS_LASTERROR ) )
            {
                if ( !AppendLastErrMsg( aText, dwLastErr, pfMessageFound ) )
                    return aReport.Fail( " Error: !AppendLastErrMsg( aText, dwLastErr, pfMessageFound )" );
            }
            else if ( IsMyErrorClass( aOriginErrCls, ERRCLS_SYS_HRESULT ) )
            {
                if ( !AppendLastErrMsg( aText, static_cast<DWORD>( lCurErr ), pfMessageFound ) )
                    return aReport.Fail( " Error: !AppendLastErrMsg( aText, lCurErr, pfMessageFound )" );
                // The codes of any interface: what the system has for such a number may not be meant.
                fOriginToo = HRESULT_FACILITY( lCurErr ) == FACILITY_ITF;
            }
            else
            {
                aText = LoadNlsStringEx( aOriginErrCls, MString(), MString( lCurErr ), &fMapping );
                pfMessageFound = fMapping;
            }
            if ( !pfMessageFound )
                Clear( aText );
            if ( pfMessageFound && fOriginToo )
                AppendTexts( aText, { "\r\n" } );
            if ( !pfMessageFound || fOriginToo )
                AppendTexts( aText, { "\r\n", ViewOf( m_aOriginErrText ) } );
            return TRUE;
        } );
}

// Where an error could be shown as another one, which stands for it.
BOOL ErrObjectClient::CheckForMapping( MString&, MString&, MString&, ERR&, BOOL* pfMappingFound )
{
    *pfMappingFound = FALSE;
    return TRUE;
}

BOOL ErrObjectClient::IsMyErrorClass( const MString& aErrCls, LPCTSTR pMyErrCls )
{
    return ViewOf( aErrCls ) == pMyErrCls;
}
