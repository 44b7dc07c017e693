#include "core/callreport.h"
#include "core/guards.h"
#include "core/taskname.h"
#include "nls/keytext.h"

#include <bxtools/nlsserver.h>
#include <bxtools/path.h>

#include <new>

namespace
{

std::string_view View( LPCTSTR pText ) noexcept
{
    return pText != NULL ? pText : "";
}

} // namespace

NLSServer::NLSServer( USHORT MaxKeyLen, LPCTSTR releaseFile )
{
    CallReport aReport( *this, "From NLSServer::NLSServer(...)" );
    BOOL fEditFlag = FALSE;
    m_fStatus = aReport.Guard(
        [&]()
        {
            if ( !::GetNlsContentsFromIniFile( &m_fDebugMessages, &fEditFlag, &m_stIniFile, &m_stCSVFilesPath,
                                               &m_stReleaseFile, &m_stCountryCode ) )
                return aReport.Fail( " Error: !::GetNlsContentsFromIniFile(...)" );
            m_fEditMode = fEditFlag && MaxKeyLen == 0;
            return m_fEditMode ? OpenLanguageFiles( aReport )
                               : OpenReleaseFile( aReport, MaxKeyLen, releaseFile );
        } );
    PutDebugMessages();
    if ( m_fStatus )
        return;
    delete m_pCfgFiles;
    m_pCfgFiles = NULL;
}

NLSServer::~NLSServer()
{
    const LastErrorGuard aLastError;
    if ( m_lNlsBTreeOnDisk != NULL )
        BTreeOnDiskDelete( m_lNlsBTreeOnDisk );
    delete m_pCfgFiles;
}

BOOL NLSServer::OpenLanguageFiles( CallReport& rReport )
{
    m_pCfgFiles = new ( std::nothrow ) MyCfgFiles( m_stIniFile, m_stCSVFilesPath );
    if ( m_pCfgFiles == NULL || !m_pCfgFiles->IsStatusOk() )
        return rReport.Fail( " Error: !m_pCfgFiles->IsStatusOk()" );
    return TRUE;
}

BOOL NLSServer::OpenReleaseFile( CallReport& rReport, USHORT MaxKeyLen, LPCTSTR releaseFile )
{
    if ( MaxKeyLen != 0 )
        m_stReleaseFile = releaseFile;
    if ( !CheckReleaseFile( MaxKeyLen == 0 ) )
        return rReport.Fail( " Error: !CheckReleaseFile( fExistanceOnly )" );
    const unsigned TempLen =
        MaxKeyLen == 0 ? 0u : MaxKeyLen + static_cast<unsigned>( m_stCountryCode.GetLength() );
    m_lNlsBTreeOnDisk = BTreeOnDiskInit( m_stReleaseFile, TempLen, "rb", m_fDebugMessages );
    if ( m_lNlsBTreeOnDisk == NULL )
        return rReport.Fail(
            " Error: ( m_lNlsBTreeOnDisk = l( m_stReleaseFile, TempLen, 'rb', bDebug ) ) == 0" );
    return TRUE;
}

BOOL NLSServer::CheckReleaseFile( BOOL fExistanceOnly )
{
    CallReport aReport( *this, "From BOOL NLSServer::CheckReleaseFile( BOOL fExistanceOnly )" );
    if ( !fExistanceOnly && !CreatePathAndFile( m_stReleaseFile ) )
        return aReport.Fail( " Error: !CreatePathAndFile( m_stReleaseFile )" );
    if ( !FileExists( m_stReleaseFile, FILE_ACCESS_READWRITE, NULL, 0 ) )
        return aReport.Fail( " Error: !FileExists( m_stReleaseFile, FILE_ACCESS_READWRITE, NULL, 0 )" );
    return TRUE;
}

void NLSServer::PutDebugMessages()
{
    if ( !m_fDebugMessages )
        return;
    CallReport aReport( std::as_const( *this ), "From NLSServer::PutDebugMessages()" );
    aReport.Warn( "TaskName = " );
    aReport.Tail( GetTaskName().data() );
    aReport.Tail( "\r\nDevelopment = " ).Tail( m_fEditMode ? "Yes" : "No" );
    aReport.Tail( "\r\nActive NlsFiles = " );
    aReport.Tail( m_fEditMode ? m_stCSVFilesPath.data() : m_stReleaseFile.data() );
    if ( m_pCfgFiles != NULL )
        for ( auto pFile = m_pCfgFiles->GetItem( 0, 5 ); pFile != NULL; pFile = m_pCfgFiles->GetItem( 0, 2 ) )
            aReport.Tail( ", " ).Tail( pFile->GetPathName().data() );
}

BOOL NLSServer::IsStatusOk() const
{
    return m_fStatus && ( m_lNlsBTreeOnDisk == NULL || BTreeOnDiskIsStatusOk( m_lNlsBTreeOnDisk ) ) &&
           ( m_pCfgFiles == NULL || m_pCfgFiles->IsStatusOk() );
}

BOOL NLSServer::ReadStringValue( LPCTSTR pstSec, LPCTSTR pstKey, BOOL bWithCountryCode, BOOL* pbFound,
                                 DATABUFTYPE* ppData, MString* pFullKey )
{
    CallReport aReport(
        *this,
        "From BOOL NLSServer::ReadStringValue( LPCTSTR pstSec, LPCTSTR pstKey, BOOL bWithCountryCode, BOOL* pbFound, DATABUFTYPE* ppData, MString* pFullKey )" );
    if ( !IsStatusOk() )
        return aReport.Fail( " Error: !IsStatusOk()" );
    int nFound = 0;
    const DATABUFTYPE pData = m_fEditMode
                                  ? ReadFromLanguageFiles( pstSec, pstKey, nFound, pFullKey )
                                  : ReadFromReleaseFile( pstSec, pstKey, bWithCountryCode, nFound, pFullKey );
    if ( pData == NULL )
        return aReport.Fail( SEVERE_ERROR );
    m_pLastValue = pData;
    if ( ppData != NULL )
        *ppData = pData;
    if ( nFound != 0 && pbFound != NULL )
        *pbFound = 1;
    return TRUE;
}

DATABUFTYPE NLSServer::ReadFromLanguageFiles( LPCTSTR pstSec, LPCTSTR pstKey, int& nFound, MString* pFullKey )
{
    const MString stSec( pstSec );
    const MString stKey( pstKey );
    if ( pFullKey != NULL )
        *pFullKey = stSec + stKey;
    return m_pCfgFiles->ReadStringValue( stSec, stKey, m_stCountryCode, nFound );
}

// NULL without memory for the key.
DATABUFTYPE NLSServer::ReadFromReleaseFile( LPCTSTR pstSec, LPCTSTR pstKey, BOOL bWithCountryCode,
                                            int& nFound, MString* pFullKey )
{
    const std::string_view aSec = View( pstSec );
    const std::string_view aKey = View( pstKey );
    const std::string_view aCountry =
        View( bWithCountryCode && !aSec.empty() ? m_stCountryCode.data() : NULL );
    KeyText aFullKey( aCountry.size() + aSec.size() + aKey.size() );
    aFullKey.Append( aCountry );
    aFullKey.Append( aSec );
    aFullKey.Append( aKey );
    if ( aFullKey.Text() == NULL )
        return NULL;
    if ( pFullKey != NULL )
        *pFullKey = aFullKey.Text();
    return BTreeOnDiskReadKeyStringPairFromFile( m_lNlsBTreeOnDisk, aFullKey.Text(), &nFound, aKey.data() );
}

BOOL NLSServer::WriteStringValue( LPCTSTR pstKey, LPCTSTR pstValue )
{
    CallReport aReport( *this, "From BOOL NLSServer::WriteStringValue( LPCTSTR pstKey, LPCTSTR pstValue )" );
    if ( !IsStatusOk() )
        return aReport.Fail( " Error: !IsStatusOk()" );
    if ( !BTreeOnDiskWriteKeyStringPairToFile( m_lNlsBTreeOnDisk, pstKey, pstValue ) )
        return aReport.Fail(
            " Error: !BTreeOnDiskWriteKeyStringPairToFile( m_lNlsBTreeOnDisk, pstKey, pstValue )" );
    return TRUE;
}
