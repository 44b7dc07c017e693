#include "core/callreport.h"
#include "core/guards.h"
#include "core/taskname.h"
#include "file/ownpath.h"
#include "nls/keytext.h"
#include "nls/textmemo.h"
#include "nls/textview.h"
#include "runtime/rwfilemanager.h"

#include <bxtools/nlsserver.h>
#include <bxtools/path.h>

#include <new>

namespace
{

// A new file takes the place of a release file that is there, since those who read that one have it mapped. Throws while
// somebody writes to it.
void ReplaceOldFile( const MString& stReleaseFile )
{
    if ( !FileExists( stReleaseFile, FILE_ACCESS_EXISTS, NULL, 0 ) )
        return;
    const MString stPath = OwnPath( stReleaseFile );
    const RWFileManager aOld( stPath, "r+" );
    try
    {
        const RWFileManager aNew( stPath, "w+" );
    }
    catch ( const RWFileErr& )
    {
        // Where its folder does not let it be replaced, it is emptied.
    }
}

// A text that an earlier lookup has found in the state in which the release file is; NULL: there is none.
DATABUFTYPE FindKept( TextMemo* pMemo, LPVOID lTree, std::string_view aSec, std::string_view aKey )
{
    if ( pMemo == NULL )
        return NULL;
    pMemo->Follow( static_cast<const NlsBTreeOnDisk*>( lTree )->GetState() );
    return pMemo->Find( aSec, aKey );
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
    delete m_pTextMemo;
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
    if ( MaxKeyLen == 0 )
        m_pTextMemo = new ( std::nothrow ) TextMemo;
    return TRUE;
}

BOOL NLSServer::CheckReleaseFile( BOOL fExistanceOnly )
{
    CallReport aReport( *this, "From BOOL NLSServer::CheckReleaseFile( BOOL fExistanceOnly )" );
    constexpr LPCTSTR NOT_MADE = " Error: !CreatePathAndFile( m_stReleaseFile )";
    const auto Make = [this]() -> BOOL
    {
        ReplaceOldFile( m_stReleaseFile );
        return CreatePathAndFile( m_stReleaseFile );
    };
    if ( !fExistanceOnly && !aReport.Guard( BOOL( FALSE ), NOT_MADE, Make ) )
        return aReport.Fail( NOT_MADE );
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
        for ( auto pFile = m_pCfgFiles->GetItem( 0, MyCfgFiles::FIRST ); pFile != NULL;
              pFile = m_pCfgFiles->GetItem( 0, MyCfgFiles::NEXT ) )
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
    const std::string_view aSec = ViewOf( pstSec );
    const std::string_view aKey = ViewOf( pstKey );
    const bool fCountry = bWithCountryCode && !aSec.empty() && !m_fEditMode;
    KeyText aFullKey( m_stCountryCode.length() + aSec.size() + aKey.size() );
    if ( fCountry )
        aFullKey.Append( ViewOf( m_stCountryCode ) );
    aFullKey.Append( aSec );
    aFullKey.Append( aKey );
    if ( pFullKey != NULL )
        *pFullKey = aFullKey.Text();
    return Read( pstSec, pstKey, aFullKey.Text(), pbFound, ppData );
}

BOOL NLSServer::ReadInUpperCase( std::string_view aSec, std::string_view aKey, BOOL* pbFound,
                                 DATABUFTYPE* ppData )
{
    if ( m_fEditMode )
        return Read( UpperText( aSec ).Text(), UpperText( aKey ).Text(), NULL, pbFound, ppData );
    const DATABUFTYPE pKept = m_fStatus ? FindKept( m_pTextMemo, m_lNlsBTreeOnDisk, aSec, aKey ) : NULL;
    if ( pKept != NULL )
    {
        *ppData = pKept;
        *pbFound = TRUE;
        return TRUE;
    }
    KeyText aFullKey( m_stCountryCode.length() + aSec.size() + aKey.size() );
    if ( !aSec.empty() )
        aFullKey.Append( ViewOf( m_stCountryCode ) );
    aFullKey.AppendUpper( aSec );
    const LPCTSTR pKey = aFullKey.End();
    aFullKey.AppendUpper( aKey );
    if ( !Read( NULL, pKey, aFullKey.Text(), pbFound, ppData ) )
        return FALSE;
    if ( *pbFound && m_pTextMemo != NULL )
        m_pTextMemo->Keep( aSec, aKey, *ppData );
    return TRUE;
}

// The full key is that of the release file.
BOOL NLSServer::Read( LPCTSTR pstSec, LPCTSTR pstKey, LPCTSTR pFullKey, BOOL* pbFound, DATABUFTYPE* ppData )
{
    CallReport aReport(
        *this,
        "From BOOL NLSServer::ReadStringValue( LPCTSTR pstSec, LPCTSTR pstKey, BOOL bWithCountryCode, BOOL* pbFound, DATABUFTYPE* ppData, MString* pFullKey )" );
    if ( !IsStatusOk() )
        return aReport.Fail( " Error: !IsStatusOk()" );
    int nFound = 0;
    if ( m_fEditMode )
        m_pLastValue = m_pCfgFiles->ReadStringValue( pstSec, pstKey, m_stCountryCode, nFound );
    else if ( pFullKey != NULL )
        m_pLastValue = BTreeOnDiskReadKeyStringPairFromFile( m_lNlsBTreeOnDisk, pFullKey, &nFound, pstKey );
    else
        return aReport.Fail( SEVERE_ERROR ); // no memory for the key
    if ( ppData != NULL )
        *ppData = m_pLastValue;
    if ( nFound != 0 && pbFound != NULL )
        *pbFound = 1;
    return TRUE;
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
