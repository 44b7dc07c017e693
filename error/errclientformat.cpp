// The translated error record: how its texts are put together.
#include "core/callreport.h"
#include "error/errclienttexts.h"

#include <bxtools/errclient.h>
#include <bxtools/error.h>

namespace
{

constexpr std::string_view LINE_END = "\r\n";

// How many pieces a text has between its separators; an empty separator divides nothing.
size_t CountPieces( std::string_view aText, std::string_view aSeparator )
{
    size_t ulPieces = 1;
    if ( !aSeparator.empty() )
        for ( std::string_view aPiece; CutAt( aText, aSeparator, aPiece ); )
            ++ulPieces;
    return ulPieces;
}

std::string_view WithoutSurrounding( std::string_view aText, char cSign )
{
    const size_t ulFirst = aText.find_first_not_of( cSign );
    if ( ulFirst == std::string_view::npos )
        return {};
    return aText.substr( ulFirst, aText.find_last_not_of( cSign ) - ulFirst + 1 );
}

// "ERRCLS_X" of "MODULE.ERRCLS_X"; any other form stays as it is.
std::string_view ShortClassOf( std::string_view aErrCls )
{
    const size_t ulPoint = aErrCls.find( '.' );
    const bool fTwo = ulPoint != aErrCls.npos && aErrCls.find( '.', ulPoint + 1 ) == aErrCls.npos;
    return fTwo ? aErrCls.substr( ulPoint + 1 ) : aErrCls;
}

} // namespace

BOOL ErrObjectClient::FormatErrorMessage( MString& aTransText, const MString& aText )
{
    CallReport aReport(
        *this, "From BOOL ErrObjectClient::FormatErrorMessage( MString& aTransText, const MString& aText )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            aTransText = aText;
            const size_t ulPieces = CountPieces( ViewOf( aText ), ViewOf( m_aReplaceToken ) );
            if ( ulPieces <= 1 )
                return TRUE;
            if ( !CheckList() )
                return aReport.Fail( " Error: !CheckList()" );
            const ULONG ulCount = m_paStrList->ItemCount();
            if ( ulCount == 0 )
            {
                aReport.Warn(
                    " Error: ( lCount = m_paStrList->ItemCount() ) <= 0 -> wrong format, string with replace values for NLS error message has not been set" );
                aReport.Tail( ", usCount = " ).Tail( ulPieces );
                return TRUE;
            }
            if ( ulPieces - 1 != ulCount )
            {
                aReport.Warn( " Error: (long)( usCount - 1 ) != lCount -> wrong NLS error message format" );
                aReport.Tail( ", lCount = " ).Tail( ulCount ).Tail( ", usCount = " ).Tail( ulPieces );
                return TRUE;
            }
            return FillPlaces( aReport, aTransText, aText );
        } );
}

// Puts the parameters, as many as there are places, into the places of aText. Result: TRUE.
BOOL ErrObjectClient::FillPlaces( CallReport& aReport, MString& aTransText, const MString& aText )
{
    RWCString aFilled;
    std::string_view aRest = ViewOf( aText );
    std::string_view aPiece;
    for ( long i = 0; CutAt( aRest, ViewOf( m_aReplaceToken ), aPiece ); ++i )
    {
        const MString* pObj = m_paStrList->GetItem( i );
        if ( pObj == NULL )
        {
            aReport.Warn( " Error: ( pObj = m_paStrList->GetItem( i ) ) == NULL" );
            aReport.Tail( ", i = " ).Tail( i );
            return TRUE;
        }
        AppendTexts( aFilled, { aPiece, ViewOf( *pObj ) } );
    }
    AppendTexts( aFilled, { aPiece } );
    aTransText.RWCString::operator=( aFilled );
    return TRUE;
}

// Cuts the help section out of a message: "[help file;topic]".
//   fCutOffOnly   TRUE: what it says is not taken over.
BOOL ErrObjectClient::SetupHelpData( MString& aTranslatedErrMsg, BOOL fCutOffOnly )
{
    CallReport aReport(
        *this, "From BOOL ErrObjectClient::SetupHelpData( MString& aTranslatedErrMsg, BOOL fCutOffOnly )" );
    const std::string_view aText = ViewOf( aTranslatedErrMsg );
    const size_t ulStart = aText.find( '[' );
    if ( ulStart == aText.npos )
        return TRUE;
    const size_t ulEnd = aText.find( ']', ulStart );
    if ( ulEnd == aText.npos )
        return aReport.Fail(
            " Error: aTranslatedErrMsg.FindStr( ERR_NLS_MAPPING_SEC_END, lStartIndex ) failed -> wrong format in current NLS error message string" );
    if ( !fCutOffOnly )
    {
        std::string_view aInner = aText.substr( ulStart + 1, ulEnd - ulStart - 1 );
        std::string_view aPiece;
        CutAt( aInner, ";", aPiece );
        m_aHelpFileName.RWCString::assign( aPiece.data(), aPiece.size() );
        CutAt( aInner, ";", aPiece );
        m_usHelpID = static_cast<HELP_ID>( ReadUnsigned( aPiece ) );
    }
    aTranslatedErrMsg.Erase( ulStart, ulEnd - ulStart + 1 );
    return TRUE;
}

// Frames a text. First the carriage returns go, then the line feeds: those of a last CR LF are gone, the CR in
// front of it is not.
void ErrObjectClient::CheckFormat( MString& aText )
{
    RWCString aFramed;
    AppendTexts( aFramed, { LINE_END, WithoutSurrounding( WithoutSurrounding( ViewOf( aText ), '\r' ), '\n' ),
                            LINE_END } );
    aText.RWCString::operator=( aFramed );
}

// Appends the block that names class, number and library.
void ErrObjectClient::AppendLibInfo2TranslatedErrMsg( MString& aText, const MString& aErrCls, ERR lCurErr,
                                                      DWORD dwLastErr ) const
{
    const MString aNumber = Error2Str( aErrCls, lCurErr, dwLastErr );
    const MString aSource = NlsTextOr( aErrCls, "Description", "Unknown library description" );
    RWCString aBlock;
    AppendTexts( aBlock, { LINE_END, ViewOf( m_aErrClsLabel ), ": ", ShortClassOf( ViewOf( aErrCls ) ) } );
    AppendTexts( aBlock, { LINE_END, ViewOf( m_aErrorLabel ), ": ", ViewOf( aNumber ) } );
    AppendTexts( aBlock, { LINE_END, ViewOf( m_aSourceLabel ), ": ", ViewOf( aSource ) } );
    if ( IsMyErrorClass( aErrCls, ERRCLS_SYS_HRESULT ) )
    {
        MString aCode;
        Error2StrHex( lCurErr & 0xFFFF, 0, aCode, FALSE );
        const struct
        {
            LPCTSTR pLabel;
            MString aValue;
        } aLines[] = { { "SEVERITY", GetNLSSeverityDescr( lCurErr ) },
                       { "FACILITY", GetNLSFacilityDescr( lCurErr ) },
                       { "CODE", aCode } };
        for ( const auto& [pLabel, rValue] : aLines )
        {
            const MString aLabel = NlsTextOr( COMMON_SEC_HRES_FACILITY, pLabel, pLabel );
            AppendTexts( aBlock, { LINE_END, ViewOf( aLabel ), ": ", ViewOf( rValue ) } );
        }
    }
    aText.RWCString::append( aBlock.data(), aBlock.length() );
}

MString ErrObjectClient::Error2Str( const MString& aErrCls, ERR lCurErr, DWORD dwLastErr )
{
    MString aNumber;
    Error2StrHex( lCurErr, dwLastErr, aNumber, IsMyErrorClass( aErrCls, ERRCLS_SYS_LASTERROR ) );
    return aNumber;
}

MString ErrObjectClient::GetNLSSeverityDescr( ERR lCurErr )
{
    return NlsTextOr( COMMON_SEC_HRES_SEVERITY, lCurErr < 0 ? "1" : "0", MString() );
}

MString ErrObjectClient::GetNLSFacilityDescr( ERR lCurErr )
{
    return NlsTextOr( COMMON_SEC_HRES_FACILITY, MString( HRESULT_FACILITY( lCurErr ) ), MString() );
}

void ErrObjectClient::BuildDetails()
{
    MString aDetails;
    if ( !m_aOriginNLSText.IsEmpty() )
    {
        MString aOriginNLSText( m_aOriginNLSText );
        SetupHelpData( aOriginNLSText, TRUE );
        AppendTexts( aDetails, { ViewOf( aOriginNLSText ), LINE_END } );
        if ( m_fMappingFound )
        {
            AppendLibInfo2TranslatedErrMsg( aDetails, m_aErrCls, m_lCurErr, m_dwSysLastErr );
            AppendTexts( aDetails, { LINE_END } );
        }
    }
    if ( !m_aOptionalText.IsEmpty() )
        AppendTexts( aDetails, { ViewOf( m_aOptionalText ), LINE_END } );
    if ( !m_aOriginErrText.IsEmpty() && m_fOriginInDetails )
        AppendTexts( aDetails, { LINE_END, ViewOf( m_aOriginErrText ) } );
    m_aDetailsErrText = aDetails;
    m_fDetailsBuilt = TRUE;
}
