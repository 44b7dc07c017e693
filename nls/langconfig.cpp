// A language file: its header once, its texts as they are asked for.
#include "core/callreport.h"
#include "core/guards.h"
#include "nls/languageheader.h"
#include "nls/textview.h"

#include <bxtools/file.h>
#include <bxtools/nlsserver.h>

#include <memory>
#include <new>

namespace
{

// The size of the buffer for a header.
constexpr UINT HEADER_ROOM = 0x10000;
constexpr USHORT MOST_ATTEMPTS = 2;

BOOL AppendCode( LanguageCodeList& rList, LONG lCode )
{
    std::unique_ptr<long> pCode( new ( std::nothrow ) long( lCode ) );
    if ( pCode == NULL || !rList.Append( pCode.get() ) )
        return FALSE;
    pCode.release();
    return TRUE;
}

// The first line, to its carriage return; the start of a file whose lines end in another way. Result: false when it is longer
// than the buffer, or the file cannot be read.
bool ReadFirstLine( MFileWrapper& rFile, LPTSTR pBuffer, std::string_view& rLine )
{
    UINT unRead = HEADER_ROOM;
    if ( rFile.MyGetLine( pBuffer, &unRead, '\r' ) )
    {
        rLine = FirstLine( pBuffer );
        return true;
    }
    DWORD dwSize = 0;
    if ( !rFile.MyGetLength( &dwSize ) || !rFile.MyRead( pBuffer, HEADER_ROOM - 1, &unRead ) )
        return false;
    const std::string_view aText( pBuffer, unRead );
    rLine = FirstLine( aText );
    return dwSize <= unRead || rLine.data() + rLine.size() != aText.data() + aText.size();
}

} // namespace

long LanguageCodeList::GetIndexForNLSToken( LONG lLanguageCode )
{
    constexpr int FIRST = 5;
    constexpr int NEXT = 2;
    long lIndex = 0;
    for ( const long* pCode = GetItem( 0, FIRST ); pCode != NULL; pCode = GetItem( 0, NEXT ), ++lIndex )
        if ( *pCode == lLanguageCode )
            return lIndex;
    return INDEXNOTFOUND;
}

MyErrNlsInterFaceConfig::MyErrNlsInterFaceConfig( const MString& aFileName )
    : MConfig( aFileName, TRUE, TRUE )
{
}

MString MyErrNlsInterFaceConfig::ReadText( const MString& aSec, const MString& rKey, const MString& rDefault,
                                           const MString& stCountry )
{
    SetGroup( aSec );
    return ReadKeyOfCountry( rKey, rDefault, stCountry );
}

BOOL MyErrNlsInterFaceConfig::GetLanguageHeader( const MString& aFileName, MString& aNlsHeader )
{
    aNlsHeader.Empty();
    const TCHARBuffer pBuffer( MyTCHARFactory( HEADER_ROOM ) );
    MFileWrapper aFile;
    std::string_view aLine;
    if ( pBuffer == NULL ||
         !aFile.MyOpen( aFileName, MFileWrapper::modeRead | MFileWrapper::shareDenyNone ) ||
         !ReadFirstLine( aFile, pBuffer.get(), aLine ) )
        return FALSE;
    aNlsHeader = MString( aLine.data(), static_cast<int>( aLine.size() ) );
    return aNlsHeader.length() == aLine.size();
}

BOOL MyErrNlsInterFaceConfig::internalGetLanguageHeader( const MString& aFileName, MString& aNlsHeader,
                                                         LanguageCodeList* pList )
{
    CallReport aReport(
        *this,
        "From BOOL MyErrNlsInterFaceConfig::internalGetLanguageHeader( const MString& aFileName, MString& aNlsHeader, LanguageCodeList* pList )" );
    if ( pList == NULL )
        return aReport.Fail( " Error: pList == NULL" );
    pList->ClearList( TRUE );
    if ( !GetLanguageHeader( aFileName, aNlsHeader ) )
        return aReport.Fail( " Error: !GetLanguageHeader( aFileName, aNlsHeader )" );
    LanguageHeader aHeader( ViewOf( aNlsHeader ) );
    if ( !aHeader.HasLanguages() )
        aReport.Fail( " Error: usCount > 1 -> wrong format of CSV file header, aFileName = " );
    for ( LONG lCode = 0; aHeader.NextCode( lCode ); )
        if ( !AppendCode( *pList, lCode ) )
            return aReport.Fail( SEVERE_ERROR );
    if ( aHeader.IsWrong() )
        aReport.Fail( " Error: aTempTokenCode.IsNumeric() -> wrong format of CSV file header, aFileName = " );
    if ( aReport.Failed() )
        aReport.Tail( aFileName.data() );
    return !aReport.Failed();
}

// TRUE when the codes are there. A file is read twice at most, so that one that has none does not cost every lookup a reading.
BOOL MyErrNlsInterFaceConfig::ReadHeader( CallReport& rReport )
{
    if ( !m_aNlsHeader.IsEmpty() )
        return TRUE;
    if ( m_usAttemptsCount < MOST_ATTEMPTS )
    {
        ++m_usAttemptsCount;
        if ( internalGetLanguageHeader( GetPathName(), m_aNlsHeader, &m_aLanguageCodeList ) )
            return TRUE;
        m_aNlsHeader.Empty();
    }
    rReport.Fail( m_usAttemptsCount < MOST_ATTEMPTS
                      ? " Error: !internalGetLanguageHeader(...) -> wrong header format of file = "
                      : " Error: !m_usAttemptsCount > 1 -> wrong header format of file = " );
    rReport.Tail( GetPathName().data() );
    return FALSE;
}

void MyErrNlsInterFaceConfig::OnKeyRead( MString& aValue, const MString& stCountry, const MString& rDefault )
{
    CallReport aReport(
        *this,
        "From void MyErrNlsInterFaceConfig::OnKeyRead( MString& aValue, const MString& stCountry, const MString& rDefault )" );
    ReadHeader( aReport );
    if ( aValue == rDefault )
        return;
    const long lIndex = m_aLanguageCodeList.GetIndexForNLSToken( stCountry );
    if ( lIndex != INDEXNOTFOUND )
        aValue = aValue.GetToken( static_cast<USHORT>( lIndex ), ';' );
    else if ( !aReport.Failed() )
    {
        aReport.Fail(
            " Error: ( lIndex = m_aLanguageCodeList.GetIndexForNLSToken( lLanguageCode ) ) == INDEXNOTFOUND ), file = " );
        aReport.Tail( GetPathName().data() );
    }
}
