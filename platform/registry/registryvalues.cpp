// The registry's values.

#include "platform/registry/regbatch.h"
#include "platform/registry/regkey.h"
#include "platform/registry/regname.h"

#include <cstring>

namespace
{
// A value's type and bytes, in the way of all calls that read them: the size and the type also come when the bytes do not
// fit, a null buffer only asks for them.
LONG GiveData( const RegValueView& aValue, LPDWORD pdwType, LPBYTE pData, LPDWORD pdwData ) noexcept
{
    if ( pdwType != nullptr )
        *pdwType = aValue.dwType;
    if ( pdwData == nullptr )
        return ERROR_SUCCESS;
    const bool fFits = pData == nullptr || *pdwData >= aValue.dwSize;
    *pdwData = aValue.dwSize;
    if ( !fFits )
        return ERROR_MORE_DATA;
    if ( pData != nullptr && aValue.dwSize > 0 )
        std::memcpy( pData, aValue.pData, aValue.dwSize );
    return ERROR_SUCCESS;
}

// A string's final zero belongs to it, also when the caller did not count it.
DWORD SizeWithZero( DWORD dwType, const BYTE* pData, DWORD dwSize ) noexcept
{
    const bool fText = dwType == REG_SZ || dwType == REG_EXPAND_SZ || dwType == REG_MULTI_SZ;
    const bool fUncounted = fText && dwSize > 0 && pData[dwSize - 1] != 0 && pData[dwSize] == 0;
    return fUncounted ? dwSize + 1 : dwSize;
}
} // namespace

LONG RegQueryValueExA( HKEY hKey, LPCSTR pValueName, LPDWORD pdwReserved, LPDWORD pdwType, LPBYTE pData,
                       LPDWORD pdwData )
{
    if ( pdwReserved != nullptr || ( pData != nullptr && pdwData == nullptr ) )
        return ERROR_INVALID_PARAMETER;
    const RegKeyReader aReader( hKey, KEY_QUERY_VALUE );
    if ( aReader.GetError() != ERROR_SUCCESS )
        return aReader.GetError();
    RegValueView aValue;
    if ( const LONG lError = aReader.GetView().FindValue( RegTextOf( pValueName ), aValue ) )
        return lError;
    return GiveData( aValue, pdwType, pData, pdwData );
}

LONG RegEnumValueA( HKEY hKey, DWORD dwIndex, LPSTR pName, LPDWORD pdwName, LPDWORD pdwReserved,
                    LPDWORD pdwType, LPBYTE pData, LPDWORD pdwData )
{
    if ( pName == nullptr || pdwName == nullptr || pdwReserved != nullptr ||
         ( pData != nullptr && pdwData == nullptr ) )
        return ERROR_INVALID_PARAMETER;
    const RegKeyReader aReader( hKey, KEY_QUERY_VALUE );
    if ( aReader.GetError() != ERROR_SUCCESS )
        return aReader.GetError();
    if ( dwIndex >= aReader.GetHead().dwValues )
        return ERROR_NO_MORE_ITEMS;
    RegValueView aValue;
    if ( const LONG lError = aReader.GetView().GetValue( dwIndex, aValue ) )
        return lError;
    if ( *pdwName <= aValue.aName.size() )
        return ERROR_MORE_DATA;
    if ( const LONG lError = GiveData( aValue, pdwType, pData, pdwData ) )
        return lError;
    std::memcpy( pName, aValue.aName.data(), aValue.aName.size() );
    pName[aValue.aName.size()] = '\0';
    *pdwName = static_cast<DWORD>( aValue.aName.size() );
    return ERROR_SUCCESS;
}

LONG RegSetValueExA( HKEY hKey, LPCSTR pValueName, DWORD dwReserved, DWORD dwType, const BYTE* pData,
                     DWORD dwData )
{
    return RunRegCall(
        [&]() -> LONG
        {
            const std::string_view aName = RegTextOf( pValueName );
            if ( dwReserved != 0 || ( pData == nullptr && dwData > 0 ) || aName.size() > LONGEST_VALUE_NAME )
                return ERROR_INVALID_PARAMETER;
            const RegKeyUse aUse( hKey, KEY_SET_VALUE );
            RegChange aChange;
            if ( const LONG lError = aChange.Begin( aUse ) )
                return lError;
            aChange.GetTree().SetValue( aChange.GetTreeKey(), aName, dwType, pData,
                                        SizeWithZero( dwType, pData, dwData ) );
            return aChange.Commit( REG_NOTIFY_CHANGE_LAST_SET );
        } );
}

namespace
{
// Nothing is written, and nobody waited for, when there is nothing to delete.
LONG LookForValue( HKEY hKey, std::string_view aName ) noexcept
{
    const RegKeyReader aReader( hKey, KEY_SET_VALUE );
    RegValueView aValue{};
    return aReader.GetError() != ERROR_SUCCESS ? aReader.GetError()
                                               : aReader.GetView().FindValue( aName, aValue );
}
} // namespace

LONG RegDeleteValueA( HKEY hKey, LPCSTR pValueName )
{
    return RunRegCall(
        [&]() -> LONG
        {
            const RegKeyUse aUse( hKey, KEY_SET_VALUE );
            const std::string_view aName = RegTextOf( pValueName );
            if ( !RegistryBatch::IsAbout( hKey ) )
            {
                if ( const LONG lError = LookForValue( hKey, aName ) )
                    return lError;
            }
            RegChange aChange;
            if ( const LONG lError = aChange.Begin( aUse ) )
                return lError;
            RegTreeValue* const pValue = aChange.GetTree().FindValue( aChange.GetTreeKey(), aName );
            if ( pValue == nullptr )
                return ERROR_FILE_NOT_FOUND;
            pValue->fDeleted = true;
            return aChange.Commit( REG_NOTIFY_CHANGE_LAST_SET );
        } );
}
