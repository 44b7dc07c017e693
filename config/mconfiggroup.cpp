// Writing: keys and groups.
#include "core/callreport.h"

#include <bxtools/config.h>
#include <bxtools/platform.h>

#include <memory>
#include <new>

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
        const BOOL fSourceStays = uKeys == 0 || CopyKeys( aDestination, uKeys );
        if ( fRename && fSourceStays )
            InternalWritePrivateProfileString( aSource, NULL, "", m_aFName );
    }
    m_aGroup = aCurrentGroup;
}

// From the current group, whose list of keys has been read, to one that is made anew. Result: whether the current group is
// copied and still there.
BOOL MConfig::CopyKeys( const MString& rDestination, USHORT uKeys )
{
    // All values first: names that differ for us may be one group for the system, which also looks at letters above 127.
    const std::unique_ptr<MString[]> pValues( new ( std::nothrow ) MString[uKeys] );
    if ( pValues == NULL )
        return FALSE;
    for ( USHORT uKey = 0; uKey < uKeys; ++uKey )
        pValues[uKey] = ReadKey( GetKeyName( uKey, FALSE ) );
    MConfig aDestination( m_aFName, m_fSafety, m_fWin95 );
    InternalWritePrivateProfileString( rDestination, NULL, "", m_aFName );
    aDestination.SetGroup( m_aGroup );
    const BOOL fSourceStays = aDestination.GetKeyCount() != 0;
    for ( USHORT uKey = 0; uKey < uKeys; ++uKey )
        InternalWritePrivateProfileString( rDestination, GetKeyName( uKey, FALSE ), pValues[uKey], m_aFName );
    // Of an only key without a name some systems list an empty one.
    aDestination.SetGroup( rDestination );
    if ( uKeys == 1 && aDestination.GetKeyName( 0, TRUE ).IsEmpty() )
        aDestination.DeleteKey( MString() );
    return fSourceStays;
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
