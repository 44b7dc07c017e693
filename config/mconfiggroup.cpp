// Writing: keys and groups.
#include "core/callreport.h"

#include <bxtools/config.h>
#include <bxtools/platform.h>

void MConfig::WriteKey( const MString& rKey, const MString& rValue )
{
    InternalWritePrivateProfileString( m_aGroup, rKey, rValue, m_aFName );
}

void MConfig::WriteKeyBOOL( const MString& rKey, BOOL fValue )
{
    WriteKey( rKey, fValue ? "Yes" : "No" );
}

void MConfig::DeleteKey( const MString& rKey )
{
    InternalWritePrivateProfileString( m_aGroup, rKey, NULL, m_aFName );
}

void MConfig::DeleteGroup( const MString& rGroup )
{
    m_aGroup = rGroup;
    InternalWritePrivateProfileString( m_aGroup, NULL, "", m_aFName );
}

void MConfig::RenameKey( const MString& rNewKey, const MString& rOldKey )
{
    const MString aValue = ReadKey( rOldKey );
    DeleteKey( rOldKey );
    WriteKey( rNewKey, aValue );
}

void MConfig::CopyGroup( const MString& rDestination, const MString& rSource )
{
    InternalCopyGroup( rDestination, rSource, FALSE );
}

void MConfig::RenameGroup( const MString& rDestination, const MString& rSource )
{
    InternalCopyGroup( rDestination, rSource, TRUE );
}

void MConfig::InternalCopyGroup( const MString& rDestination, const MString& rSource, BOOL fRename )
{
    if ( rDestination.CompareNoCase( rSource ) == 0 )
        return;
    // Copies of the names, which may be the current group's own text.
    const MString aDestination = rDestination;
    const MString aSource = rSource;
    const MString aCurrentGroup = m_aGroup;
    m_aGroup = aSource;
    if ( ReadKeyList( "From USHORT MConfig::GetKeyCount()" ) )
    {
        const USHORT uKeys = InternalGetCount( m_pKeyBuff, m_KeyBufLen );
        if ( uKeys != 0 )
            CopyKeys( aDestination, uKeys );
        if ( fRename )
            InternalWritePrivateProfileString( aSource, NULL, "", m_aFName );
    }
    m_aGroup = aCurrentGroup;
}

// From the current group, whose list of keys has been read, to one that is made anew.
void MConfig::CopyKeys( const MString& rDestination, USHORT uKeys )
{
    MConfig aDestination( m_aFName, m_fSafety, m_fWin95 );
    InternalWritePrivateProfileString( rDestination, NULL, "", m_aFName );
    for ( USHORT uKey = 0; uKey < uKeys; ++uKey )
    {
        const MString aName = GetKeyName( uKey, FALSE );
        InternalWritePrivateProfileString( rDestination, aName, ReadKey( aName ), m_aFName );
    }
    // Of an only key without a name some systems list an empty one.
    aDestination.SetGroup( rDestination );
    if ( uKeys == 1 && aDestination.GetKeyName( 0, TRUE ).IsEmpty() )
        aDestination.DeleteKey( MString() );
}

void MConfig::Flush()
{
    InternalWritePrivateProfileString( NULL, NULL, NULL, m_aFName );
}

BOOL MConfig::InternalWritePrivateProfileString( LPCTSTR pGroup, LPCTSTR pKey, LPCTSTR pValue,
                                                 LPCTSTR pFileName )
{
    return WritePrivateProfileStringA( pGroup, pKey, pValue, pFileName );
}
