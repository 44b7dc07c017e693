// The values of the open key, read and written by type.
#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <cstring>
#include <memory>
#include <new>

namespace
{

// Room for the text of a string value.
constexpr DWORD VALUE_BUFFER = 2048;
// The system's sizes are numbers of 32 bits.
constexpr size_t MOST_DATA = 0xFFFFFFFF;

using Bytes = std::unique_ptr<BYTE[]>;

Bytes NewBytes( size_t uSize )
{
    return Bytes( new ( std::nothrow ) BYTE[uSize] );
}

// Makes the array the bytes. Result: whether there was memory.
BOOL TakeBytes( MByteArray& aArray, const BYTE* pData, DWORD dwSize )
{
    aArray.SetSize( 0 );
    aArray.SetSize( static_cast<int>( dwSize ) );
    if ( static_cast<DWORD>( aArray.GetSize() ) != dwSize )
        return FALSE;
    if ( dwSize != 0 )
        std::memcpy( aArray.GetData(), pData, dwSize );
    return TRUE;
}

// Makes the array the texts in front of pEnd, where a zero stands whatever the data are. Result: as above.
BOOL TakeTexts( MStringArray& aArray, const BYTE* pData, const BYTE* pEnd )
{
    aArray.RemoveAll();
    int nTexts = 0;
    for ( LPCTSTR pText = reinterpret_cast<LPCTSTR>( pData );
          pText < reinterpret_cast<LPCTSTR>( pEnd ) && *pText != 0; pText += std::strlen( pText ) + 1 )
    {
        aArray.Add( pText );
        ++nTexts;
    }
    return aArray.GetSize() == nTexts;
}

size_t SizeOf( const MStringArray& aArray )
{
    size_t uSize = 1;
    for ( int i = 0; i < aArray.GetSize(); i++ )
        uSize += aArray.GetAt( i ).GetLength() + 1;
    return uSize;
}

} // namespace

BOOL CRegistry::QueryValue( LPCTSTR pName, KeyValueTypes& aType, BYTE* pData, DWORD& dwSize )
{
    if ( pName == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    DWORD dwType = aType;
    if ( !Finish( RegQueryValueExA( m_hKey, pName, NULL, &dwType, pData, &dwSize ) ) )
        return FALSE;
    aType = static_cast<KeyValueTypes>( dwType );
    return TRUE;
}

BOOL CRegistry::SetValue( LPCTSTR pName, KeyValueTypes aType, BYTE* pData, DWORD dwSize )
{
    return Finish( pName == NULL || pData == NULL
                       ? ERROR_INVALID_PARAMETER
                       : RegSetValueExA( m_hKey, pName, 0, aType, pData, dwSize ) );
}

BOOL CRegistry::DeleteValue( LPCTSTR pName )
{
    return Finish( pName == NULL ? ERROR_INVALID_PARAMETER : RegDeleteValueA( m_hKey, pName ) );
}

// The code is what the thread's last error happens to be, which is kept so; the result is a failure even for 0.
BOOL CRegistry::FailForMemory()
{
    Finish( static_cast<LONG>( GetLastError() ) );
    return FALSE;
}

BOOL CRegistry::GetBinaryValue( LPCTSTR pName, MByteArray& aValue )
{
    if ( pName == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    QueryInfo();
    const DWORD dwRoom = m_dwLongestValueData;
    DWORD dwSize = dwRoom;
    const Bytes pBuffer = NewBytes( dwSize );
    if ( !pBuffer )
        return FailForMemory();
    KeyValueTypes aType = typeBinary;
    if ( !QueryValue( pName, aType, pBuffer.get(), dwSize ) )
        return FALSE;
    // The query may be a derived class's own.
    if ( dwSize > dwRoom )
        return Finish( ERROR_MORE_DATA );
    return TakeBytes( aValue, pBuffer.get(), dwSize ) ? TRUE : FailForMemory();
}

BOOL CRegistry::GetDoubleWordValue( LPCTSTR pName, DWORD& dwValue )
{
    KeyValueTypes aType = typeDoubleWord;
    DWORD dwSize = sizeof( dwValue );
    return QueryValue( pName, aType, reinterpret_cast<BYTE*>( &dwValue ), dwSize );
}

BOOL CRegistry::GetStringValue( LPCTSTR pName, MString& aValue )
{
    // One more than the system is told of, for data without a zero.
    TCHAR szText[VALUE_BUFFER + 1] = {};
    KeyValueTypes aType = typeString;
    DWORD dwSize = VALUE_BUFFER;
    const BOOL fRead = QueryValue( pName, aType, reinterpret_cast<BYTE*>( szText ), dwSize );
    aValue.Empty();
    if ( !fRead )
        return FALSE;
    aValue = szText;
    return aValue.GetLength() == std::strlen( szText ) ? TRUE : Finish( ERROR_NOT_ENOUGH_MEMORY );
}

BOOL CRegistry::GetStringArrayValue( LPCTSTR pName, MStringArray& aValue )
{
    if ( pName == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    QueryInfo();
    const DWORD dwRoom = m_dwLongestValueData;
    DWORD dwSize = dwRoom;
    // One more than the system is told of, for data without a zero.
    const Bytes pBuffer = NewBytes( size_t( dwSize ) + 1 );
    if ( !pBuffer )
        return FailForMemory();
    KeyValueTypes aType = typeStringArray;
    if ( !QueryValue( pName, aType, pBuffer.get(), dwSize ) )
        return FALSE;
    // The query may be a derived class's own.
    if ( dwSize > dwRoom )
        return Finish( ERROR_MORE_DATA );
    pBuffer[dwSize] = 0;
    return TakeTexts( aValue, pBuffer.get(), pBuffer.get() + dwSize ) ? TRUE : FailForMemory();
}

BOOL CRegistry::SetBinaryValue( LPCTSTR pName, const MByteArray& aValue )
{
    if ( pName == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    const DWORD dwSize = static_cast<DWORD>( aValue.GetSize() );
    const Bytes pBuffer = NewBytes( dwSize );
    if ( !pBuffer )
        return FailForMemory();
    if ( dwSize != 0 )
        std::memcpy( pBuffer.get(), aValue.GetData(), dwSize );
    return SetValue( pName, typeBinary, pBuffer.get(), dwSize );
}

BOOL CRegistry::SetDoubleWordValue( LPCTSTR pName, DWORD dwValue )
{
    if ( pName == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    return SetValue( pName, typeDoubleWord, reinterpret_cast<BYTE*>( &dwValue ), sizeof( dwValue ) );
}

BOOL CRegistry::SetStringValue( LPCTSTR pName, const MString& aValue )
{
    if ( pName == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    if ( aValue.GetLength() >= MOST_DATA )
        return Finish( ERROR_INVALID_PARAMETER );
    BYTE* pText = reinterpret_cast<BYTE*>( const_cast<TCHAR*>( aValue.data() ) );
    return SetValue( pName, typeString, pText, static_cast<DWORD>( aValue.GetLength() + 1 ) );
}

BOOL CRegistry::SetStringArrayValue( LPCTSTR pName, const MStringArray& aValue )
{
    if ( pName == NULL )
        return Finish( ERROR_INVALID_PARAMETER );
    const size_t uSize = SizeOf( aValue );
    if ( uSize > MOST_DATA )
        return Finish( ERROR_INVALID_PARAMETER );
    const Bytes pBuffer = NewBytes( uSize );
    if ( !pBuffer )
        return FailForMemory();
    BYTE* pOut = pBuffer.get();
    for ( int i = 0; i < aValue.GetSize(); i++ )
    {
        const MString aText = aValue.GetAt( i );
        std::memcpy( pOut, aText.data(), aText.GetLength() + 1 );
        pOut += aText.GetLength() + 1;
    }
    *pOut = 0;
    return SetValue( pName, typeStringArray, pBuffer.get(), static_cast<DWORD>( uSize ) );
}

BOOL CRegistry::GetValue( LPCTSTR pName, MStringArray& aValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : GetStringArrayValue( pName, aValue );
}

BOOL CRegistry::GetValue( LPCTSTR pName, MString& aValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : GetStringValue( pName, aValue );
}

BOOL CRegistry::GetValue( LPCTSTR pName, DWORD& dwValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : GetDoubleWordValue( pName, dwValue );
}

BOOL CRegistry::GetValue( LPCTSTR pName, MByteArray& aValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : GetBinaryValue( pName, aValue );
}

BOOL CRegistry::SetValue( LPCTSTR pName, const MString& aValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : SetStringValue( pName, aValue );
}

BOOL CRegistry::SetValue( LPCTSTR pName, const MStringArray& aValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : SetStringArrayValue( pName, aValue );
}

BOOL CRegistry::SetValue( LPCTSTR pName, DWORD dwValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : SetDoubleWordValue( pName, dwValue );
}

BOOL CRegistry::SetValue( LPCTSTR pName, const MByteArray& aValue )
{
    return pName == NULL ? Finish( ERROR_INVALID_PARAMETER ) : SetBinaryValue( pName, aValue );
}
