// The object and what it shares with its copies; mconfigread.cpp reads, mconfiggroup.cpp writes, mconfigcopy.cpp and
// mconfigwin95.cpp copy the file.
#include "core/callreport.h"
#include "core/guards.h"

#include <bxtools/config.h>

LPTSTR MConfig::*const MConfig::m_apBuffers[] = {
    &MConfig::m_pDataBuff,      &MConfig::m_pSecondDataBuff, &MConfig::m_pKeyBuff,
    &MConfig::m_pSecondKeyBuff, &MConfig::m_pGroupBuff,      &MConfig::m_pSecondGroupBuff,
};

namespace
{

BOOL IsWin95()
{
    OSVERSIONINFOA aVersion = {};
    aVersion.dwOSVersionInfoSize = sizeof( aVersion );
    return GetVersionExA( &aVersion ) && aVersion.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS;
}

} // namespace

MConfig::MConfig() : MConfig( MString(), TRUE, FALSE ) {}

MConfig::MConfig( const char* pFileName, BOOL fSafety, BOOL fWin95Check )
    : MConfig( MString( pFileName ), fSafety, fWin95Check )
{
}

MConfig::MConfig( const MString& rFileName, BOOL fSafety, BOOL fWin95Check )
{
    OnInit( rFileName, fSafety, fWin95Check );
}

MConfig::MConfig( const MConfig& rConfig ) : BaseObject()
{
    Share( rConfig );
}

MConfig& MConfig::operator=( const MConfig& rConfig )
{
    if ( this == &rConfig )
        return *this;
    Release();
    Share( rConfig );
    return *this;
}

MConfig::~MConfig()
{
    Release();
}

void MConfig::OnInit( const MString& rFileName, BOOL fSafety, BOOL fWin95Check )
{
    CallReport aReport(
        *this, "From void MConfig::OnInit( const MString& rFileName, BOOL fSafety, BOOL fWin95Check )" );
    SetDbgFunc( &MyDbgMessage );
    m_aFName = rFileName;
    m_fSafety = fSafety;
    m_pDataBuff = MyTCHARFactory( MYINIDATABUFSIZE );
    if ( m_pDataBuff != NULL )
        m_DataBufLen = MYINIDATABUFSIZE;
    else
        aReport.Fail( " Error: ( m_pDataBuff = MyTCHARFactory( MYINIDATABUFSIZE ) ) == NULL" );
    m_fWin95 = fWin95Check && IsWin95();
}

// Takes all of rConfig's fields and a place in its ring.
void MConfig::Share( const MConfig& rConfig )
{
    BaseObject::operator=( rConfig );
    m_aFName = rConfig.m_aFName;
    m_aWin95FName = rConfig.m_aWin95FName;
    m_aGroup = rConfig.m_aGroup;
    m_aKey = rConfig.m_aKey;
    for ( LPTSTR MConfig::*pBuffer : m_apBuffers )
        this->*pBuffer = rConfig.*pBuffer;
    m_DataBufLen = rConfig.m_DataBufLen;
    m_SecondDataBufLen = rConfig.m_SecondDataBufLen;
    m_KeyBufLen = rConfig.m_KeyBufLen;
    m_SecondKeyBufLen = rConfig.m_SecondKeyBufLen;
    m_GroupBufLen = rConfig.m_GroupBufLen;
    m_SecondGroupBufLen = rConfig.m_SecondGroupBufLen;
    m_uGrowStep = rConfig.m_uGrowStep;
    m_fSafety = rConfig.m_fSafety;
    m_fWin95 = rConfig.m_fWin95;
    m_ulFileStamp = rConfig.m_ulFileStamp;
    m_pNextCopy = rConfig.m_pNextCopy;
    rConfig.m_pNextCopy = this;
}

// Gives up what is not another copy's, too, and the place in the ring.
void MConfig::Release()
{
    for ( LPTSTR MConfig::*pBuffer : m_apBuffers )
        FreeBuffer( &( this->*pBuffer ) );
    BOOL fOwnFile = !m_aWin95FName.IsEmpty();
    const MConfig* pPrevious = this;
    while ( pPrevious->m_pNextCopy != this )
    {
        pPrevious = pPrevious->m_pNextCopy;
        fOwnFile = fOwnFile && pPrevious->m_aWin95FName != m_aWin95FName;
    }
    pPrevious->m_pNextCopy = m_pNextCopy;
    m_pNextCopy = this;
    const LastErrorGuard aLastError;
    if ( fOwnFile )
        DeleteFileA( m_aWin95FName );
    m_aWin95FName.Empty();
}

void MConfig::FreeBuffer( LPTSTR* ppBuff )
{
    if ( !IsShared( *ppBuff ) )
        MyTCHARDeleter( *ppBuff );
    *ppBuff = NULL;
}

// Whether a copy has the buffer, too.
BOOL MConfig::IsShared( LPCTSTR pBuff ) const
{
    for ( const MConfig* pCopy = m_pNextCopy; pCopy != this; pCopy = pCopy->m_pNextCopy )
        for ( LPTSTR MConfig::*pBuffer : m_apBuffers )
            if ( pCopy->*pBuffer == pBuff )
                return TRUE;
    return FALSE;
}

void MConfig::SetGroup( const MString& rGroup )
{
    m_aGroup = rGroup;
}

MString MConfig::GetGroup() const
{
    return m_aGroup;
}

void MConfig::SetPathName( const MString& rFileName )
{
    m_aFName = rFileName;
    // What was copied so far was another file.
    m_ulFileStamp = 0;
}

MString MConfig::GetPathName() const
{
    return m_aFName;
}

BOOL MConfig::IsSafetyOpMode() const
{
    return m_fSafety;
}

void MConfig::SetSafetyOpMode( BOOL fSafety )
{
    m_fSafety = fSafety;
}
