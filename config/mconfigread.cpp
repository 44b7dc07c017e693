// Reading: values, lists of names, and the buffers that grow until an answer fits.
#include "core/callreport.h"

#include <bxtools/buffers.h>
#include <bxtools/config.h>

#include <cstring>
#include <string_view>

namespace
{

constexpr ULONG MOST_BUFFER_BYTES = 32000;
constexpr USHORT uCountMax = 100;

constexpr char READ_ALL[] = "From BOOL MConfig::ReadAllKeys()";
constexpr char FIRST_NOT_EXPANDED[] = " Error: !( fStat = ExpandBuffer( ppBuff, pBufLen ) )";
constexpr char FIRST_NOT_READ[] =
    " Error: !( fStat = InternalGetData( *ppBuff, *pBufLen, szDefault, nMode, &uCopied, &uOffset ) )";
constexpr char KEY_COUNT[] = "From USHORT MConfig::GetKeyCount()";
constexpr char GROUP_COUNT[] = "From USHORT MConfig::GetGroupCount()";

// The names of a list, in turn: each has a zero behind it, and one more stands behind the last.
class NameWalk
{
public:
    NameWalk( LPCTSTR pBuff, USHORT uBufLen )
        : m_aRest( pBuff != NULL ? pBuff : "", pBuff != NULL ? uBufLen : 0 )
    {
    }

    // FALSE at the end of the list, or of the buffer.
    BOOL Next( std::string_view& rName )
    {
        const size_t uEnd = m_aRest.find( '\0' );
        if ( uEnd == 0 || uEnd == m_aRest.npos )
            return FALSE;
        rName = m_aRest.substr( 0, uEnd );
        m_aRest.remove_prefix( uEnd + 1 );
        return TRUE;
    }

private:
    std::string_view m_aRest;
};

BOOL HasName( LPCTSTR pBuff, USHORT uBufLen, const MString& rName )
{
    NameWalk aWalk( pBuff, uBufLen );
    for ( std::string_view aName; aWalk.Next( aName ); )
        if ( rName.CompareNoCase( aName.data() ) == 0 )
            return TRUE;
    return FALSE;
}

} // namespace

void MConfig::OnKeyRead( MString&, const MString&, const MString& ) {}

MString MConfig::ReadKeyOfCountry( const MString& rKey, const MString& rDefault, const MString& rCountry )
{
    CallReport aReport(
        *this, "From inline MString MConfig::ReadKey( const MString& rKey, const MString& rDefault )" );
    m_aKey = rKey;
    BOOL fRead = FALSE;
    if ( m_fSafety )
    {
        fRead = SafetyReadAll( &m_pDataBuff, &m_DataBufLen, &m_pSecondDataBuff, &m_SecondDataBufLen, rDefault,
                               SAFE_READ_DATA );
        if ( !fRead )
            aReport.Warn(
                " Warning: !( fStat = SafetyReadAll( &m_pDataBuff, &m_DataBufLen, &m_pSecondDataBuff, &m_SecondDataBufLen, rDefault, SAFE_READ_DATA ) )" );
    }
    if ( !fRead )
        InternalGetPrivateProfileString( m_aGroup, m_aKey, rDefault, m_pDataBuff, m_DataBufLen, m_aFName );
    MString aValue( m_pDataBuff );
    OnKeyRead( aValue, rCountry, rDefault );
    return aValue;
}

MString MConfig::ReadKey( const MString& rKey, const MString& rDefault )
{
    return ReadKeyOfCountry( rKey, rDefault, MString() );
}

MString MConfig::ReadKey( const MString& rKey )
{
    return ReadKey( rKey, MString() );
}

MString MConfig::ReadKey( USHORT uKey, BOOL fWithName, BOOL fRead )
{
    const MString aName = GetKeyName( uKey, fRead );
    if ( aName.IsEmpty() )
        return aName;
    return fWithName ? aName + "=" + ReadKey( aName ) : ReadKey( aName );
}

BOOL MConfig::ReadKeyBOOL( const MString& rKey, BOOL fDefault )
{
    const MString aValue = ReadKey( rKey, fDefault ? "Yes" : "No" );
    for ( LPCTSTR pTrue : { "Yes", "1", "TRUE" } )
        if ( aValue.CompareNoCase( pTrue ) == 0 )
            return TRUE;
    return FALSE;
}

BOOL MConfig::ReadKeyBOOL( const char* pFileName, const char* pGroup, const char* pKey, BOOL fDefault )
{
    MConfig aConfig( pFileName, TRUE, FALSE );
    aConfig.SetGroup( pGroup );
    return aConfig.ReadKeyBOOL( MString( pKey ), fDefault );
}

BOOL MConfig::ReadKeyList( LPCTSTR pHeader )
{
    CallReport aReport( *this, pHeader );
    if ( ReadAll( &m_pKeyBuff, &m_KeyBufLen, &m_pSecondKeyBuff, &m_SecondKeyBufLen, "", SAFE_READ_KEY ) )
        return TRUE;
    return aReport.Fail(
        " Error: !( fStat = ReadAll( &m_pKeyBuff, &m_KeyBufLen, &m_pSecondKeyBuff, &m_SecondKeyBufLen, '', SAFE_READ_KEY ) )" );
}

BOOL MConfig::ReadGroupList( LPCTSTR pHeader )
{
    CallReport aReport( *this, pHeader );
    if ( ReadAll( &m_pGroupBuff, &m_GroupBufLen, &m_pSecondGroupBuff, &m_SecondGroupBufLen, "",
                  SAFE_READ_GROUP ) )
        return TRUE;
    return aReport.Fail(
        " Error: !( fStat = ReadAll( &m_pGroupBuff, &m_GroupBufLen, &m_pSecondGroupBuff, &m_SecondGroupBufLen, '', SAFE_READ_GROUP ) )" );
}

BOOL MConfig::KeyExists( const MString& rKey )
{
    return ReadKeyList( KEY_COUNT ) && HasName( m_pKeyBuff, m_KeyBufLen, rKey );
}

BOOL MConfig::GroupExists( const MString& rGroup )
{
    return ReadGroupList( GROUP_COUNT ) && HasName( m_pGroupBuff, m_GroupBufLen, rGroup );
}

USHORT MConfig::GetKeyCount()
{
    return ReadKeyList( KEY_COUNT ) ? InternalGetCount( m_pKeyBuff, m_KeyBufLen ) : USHORT( 0 );
}

USHORT MConfig::GetGroupCount()
{
    return ReadGroupList( GROUP_COUNT ) ? InternalGetCount( m_pGroupBuff, m_GroupBufLen ) : USHORT( 0 );
}

MString MConfig::GetKeyName( USHORT uKey, BOOL fRead )
{
    if ( fRead && !ReadKeyList( "From MString MConfig::GetKeyName( USHORT uKey, BOOL fRead )" ) )
        return MString();
    return InternalGetName( m_pKeyBuff, m_KeyBufLen, uKey );
}

MString MConfig::GetGroupName( USHORT uGroupId, BOOL fRead )
{
    if ( fRead && !ReadGroupList( "From MString MConfig::GetGroupName( USHORT uGroupId, BOOL fRead )" ) )
        return MString();
    return InternalGetName( m_pGroupBuff, m_GroupBufLen, uGroupId );
}

USHORT MConfig::InternalGetCount( LPCTSTR pBuff, USHORT uBufLen ) const
{
    NameWalk aWalk( pBuff, uBufLen );
    USHORT uCount = 0;
    for ( std::string_view aName; aWalk.Next( aName ); )
        ++uCount;
    return uCount;
}

MString MConfig::InternalGetName( LPCTSTR pBuff, USHORT uBufLen, USHORT uIndex ) const
{
    NameWalk aWalk( pBuff, uBufLen );
    USHORT uPassed = 0;
    for ( std::string_view aName; aWalk.Next( aName ); ++uPassed )
        if ( uPassed == uIndex )
            return MString( aName.data() );
    return MString();
}

BOOL MConfig::ReadAll( LPTSTR* ppBuff, USHORT* pBufLen, LPTSTR* ppSecondBuff, USHORT* pSecondBufLen,
                       LPCTSTR szDefault, int nMode )
{
    CallReport aReport( *this, READ_ALL );
    if ( m_fSafety )
    {
        if ( SafetyReadAll( ppBuff, pBufLen, ppSecondBuff, pSecondBufLen, szDefault, nMode ) )
            return TRUE;
        return aReport.Fail(
            " Error: !( fStat = SafetyReadAllKeys( ppBuff, pBufLen, ppSecondBuff, pSecondBufLen, szDefault, nMode ) )" );
    }
    USHORT uCopied = 0;
    USHORT uOffset = 0;
    if ( *ppBuff == NULL && !ExpandBuffer( ppBuff, pBufLen ) )
        return aReport.Fail( FIRST_NOT_EXPANDED );
    if ( !InternalGetData( *ppBuff, *pBufLen, szDefault, nMode, &uCopied, &uOffset ) )
        return aReport.Fail( FIRST_NOT_READ );
    return TRUE;
}

BOOL MConfig::SafetyReadAll( LPTSTR* ppBuff, USHORT* pBufLen, LPTSTR* ppSecondBuff, USHORT* pSecondBufLen,
                             LPCTSTR szDefault, int nMode )
{
    CallReport aReport( *this, READ_ALL );
    USHORT uCopied = 0;
    USHORT uOffset = 0;
    if ( *ppBuff == NULL && !ExpandBuffer( ppBuff, pBufLen ) )
        return aReport.Fail( FIRST_NOT_EXPANDED );
    if ( !GrowSecondBeyondFirst( *pBufLen, ppSecondBuff, pSecondBufLen ) )
        return aReport.Fail( " Error: !( fStat = ExpandBuffer( ppSecondBuff, pSecondBufLen ) )" );
    if ( !InternalGetData( *ppBuff, *pBufLen, szDefault, nMode, &uCopied, &uOffset ) )
        return aReport.Fail( FIRST_NOT_READ );
    if ( uCopied != *pBufLen - uOffset )
        return TRUE;
    if ( !ReadIntoSecond( ppSecondBuff, pSecondBufLen, szDefault, nMode, &uCopied, aReport ) )
        return FALSE;
    if ( !ReplaceFirst( ppBuff, pBufLen, *ppSecondBuff, uCopied ) )
        aReport.Warn( " Error: ( *ppBuff = MyTCHARFactory( uCopiedLast + 2 ) ) == NULL" );
    return TRUE;
}

BOOL MConfig::GrowSecondBeyondFirst( USHORT uFirstLen, LPTSTR* ppSecondBuff, USHORT* pSecondBufLen )
{
    if ( *ppSecondBuff != NULL && *pSecondBufLen > uFirstLen )
        return TRUE;
    const USHORT uOldLen = *pSecondBufLen;
    *pSecondBufLen = uFirstLen;
    const BOOL fExpanded = ExpandBuffer( ppSecondBuff, pSecondBufLen );
    if ( !fExpanded )
        *pSecondBufLen = *ppSecondBuff != NULL ? uOldLen : USHORT( 0 );
    return fExpanded;
}

// Reads until an answer does not fill the second buffer. A failure is in the report.
BOOL MConfig::ReadIntoSecond( LPTSTR* ppSecondBuff, USHORT* pSecondBufLen, LPCTSTR szDefault, int nMode,
                              USHORT* puCopiedLast, CallReport& rReport )
{
    USHORT uOffset = 0;
    for ( USHORT uCount = 1;; ++uCount )
    {
        if ( !InternalGetData( *ppSecondBuff, *pSecondBufLen, szDefault, nMode, puCopiedLast, &uOffset ) )
            return rReport.Fail(
                " Error: !( fStat = InternalGetData( *ppSecondBuff, *pSecondBufLen, szDefault, nMode, &uCopiedLast, &uOffset ) )" );
        if ( *puCopiedLast != *pSecondBufLen - uOffset )
            return TRUE;
        if ( uCount >= uCountMax )
            return rReport.Warn( " Warning: uCount >= uCountMax" );
        if ( !ExpandBuffer( ppSecondBuff, pSecondBufLen ) )
            return rReport.Fail( " Error: !ExpandBuffer( ppSecondBuff, pSecondBufLen )" );
    }
}

// Makes the first buffer one that the answer just fits into.
BOOL MConfig::ReplaceFirst( LPTSTR* ppBuff, USHORT* pBufLen, LPCTSTR pAnswer, USHORT uCopiedLast )
{
    constexpr USHORT TWO_ZEROS = 2;
    FreeBuffer( ppBuff );
    *pBufLen = 0;
    *ppBuff = MyTCHARFactory( ULONG( uCopiedLast ) + TWO_ZEROS );
    if ( *ppBuff == NULL )
        return FALSE;
    *pBufLen = static_cast<USHORT>( uCopiedLast + TWO_ZEROS );
    std::memcpy( *ppBuff, pAnswer, uCopiedLast );
    std::memset( *ppBuff + uCopiedLast, 0, TWO_ZEROS );
    return TRUE;
}

BOOL MConfig::InternalGetData( LPTSTR pBuff, USHORT uBufLen, LPCTSTR szDefault, int nMode, USHORT* puRead,
                               USHORT* puOffset )
{
    CallReport aReport(
        *this,
        "From BOOL MConfig::InternalGetData( LPTSTR pBuff, USHORT uBufLen, LPCTSTR szDefault, int nMode, USHORT* puRead, USHORT* puOffset )" );
    struct Mode
    {
        BOOL fGroup;
        BOOL fKey;
        USHORT uOffset;
    };
    // In the order of the modes' numbers.
    static constexpr Mode MODES[] = { { TRUE, FALSE, 2 }, { FALSE, FALSE, 2 }, { TRUE, TRUE, 1 } };
    if ( nMode < SAFE_READ_KEY || nMode > SAFE_READ_DATA )
    {
        *puOffset = 2;
        return aReport.Fail( " Internal Error: switch ( nMode ) -> default" );
    }
    const Mode& rMode = MODES[nMode];
    *puOffset = rMode.uOffset;
    *puRead = static_cast<USHORT>( InternalGetPrivateProfileString( rMode.fGroup ? m_aGroup.data() : NULL,
                                                                    rMode.fKey ? m_aKey.data() : NULL,
                                                                    szDefault, pBuff, uBufLen, m_aFName ) );
    return TRUE;
}

BOOL MConfig::ExpandBuffer( LPTSTR* ppBuff, USHORT* pBuffLen )
{
    CallReport aReport( *this, "From BOOL MConfig::EpandBuffer( LPTSTR* ppBuff, USHORT* pBuffLen )" );
    // A buffer that a copy has, too, stays with it.
    LPTSTR pBuff = IsShared( *ppBuff ) ? NULL : *ppBuff;
    ULONG ulLength = *pBuffLen;
    const BOOL fExpanded = EpandTCHARBuffer( FALSE, &ulLength, m_uGrowStep, MOST_BUFFER_BYTES, &pBuff );
    const BOOL fUntouched = !fExpanded && ulLength != 0;
    if ( !fUntouched )
    {
        *ppBuff = pBuff;
        *pBuffLen = static_cast<USHORT>( ulLength );
    }
    return fExpanded ? TRUE : aReport.Fail( " Error: !EpandTCHARBuffer(...) failed" );
}
