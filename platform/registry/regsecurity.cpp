#include "platform/registry/regsecurity.h"

#include "platform/registry/regkey.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr size_t LARGEST_DESCRIPTOR = 65536;
constexpr REGSAM READ_CONTROL_RIGHT = 0x00020000;
constexpr REGSAM WRITE_DAC_RIGHT = 0x00040000;
constexpr REGSAM WRITE_OWNER_RIGHT = 0x00080000;
constexpr WORD SELF_RELATIVE = 0x8000;

struct DescriptorHead
{
    BYTE ucRevision;
    BYTE ucReserved;
    WORD usControl;
    DWORD dwOwner;
    DWORD dwGroup;
    DWORD dwSystemList;
    DWORD dwList;
};
static_assert( sizeof( DescriptorHead ) == 20 );

// Nobody's, and a list that keeps nobody out.
constexpr char DEFAULT_DESCRIPTOR[sizeof( DescriptorHead )] = { 1, 0, 0x04, static_cast<char>( 0x80 ) };

// A part: where its length is known from its first bytes.
using MeasureFunc = size_t ( * )( const BYTE* pPart );

// A user or a group: 8 bytes, and 4 for each of up to 15 numbers.
size_t MeasureIdentity( const BYTE* pPart ) noexcept
{
    constexpr BYTE MOST_NUMBERS = 15;
    return pPart[0] == 1 && pPart[1] <= MOST_NUMBERS ? 8 + 4 * size_t{ pPart[1] } : 0;
}

// A list of rights: its size stands in it.
size_t MeasureList( const BYTE* pPart ) noexcept
{
    const size_t nSize = pPart[2] + 256 * size_t{ pPart[3] };
    return nSize >= 8 ? nSize : 0;
}

// False: the part makes no sense, or reaches too far.
bool TakePart( const BYTE* pDescriptor, DWORD dwOffset, MeasureFunc pMeasure, size_t& rnEnd ) noexcept
{
    if ( dwOffset == 0 )
        return true;
    if ( dwOffset < sizeof( DescriptorHead ) || dwOffset > LARGEST_DESCRIPTOR - 8 )
        return false;
    const size_t nSize = pMeasure( pDescriptor + dwOffset );
    rnEnd = std::max( rnEnd, dwOffset + nSize );
    return nSize > 0 && rnEnd <= LARGEST_DESCRIPTOR;
}

REGSAM RightsToSet( SECURITY_INFORMATION dwInformation ) noexcept
{
    const bool fOwner = ( dwInformation & ( OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION ) ) != 0;
    const bool fLists = ( dwInformation & ( DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION ) ) != 0;
    return ( fOwner ? WRITE_OWNER_RIGHT : 0 ) | ( fLists ? WRITE_DAC_RIGHT : 0 );
}
} // namespace

LONG MeasureSecurity( const void* pDescriptor, std::string_view& rBytes ) noexcept
{
    const BYTE* const pBytes = static_cast<const BYTE*>( pDescriptor );
    DescriptorHead aHead;
    std::memcpy( &aHead, pBytes, sizeof( aHead ) );
    size_t nEnd = sizeof( aHead );
    if ( aHead.ucRevision != 1 || ( aHead.usControl & SELF_RELATIVE ) == 0 ||
         !TakePart( pBytes, aHead.dwOwner, MeasureIdentity, nEnd ) ||
         !TakePart( pBytes, aHead.dwGroup, MeasureIdentity, nEnd ) ||
         !TakePart( pBytes, aHead.dwSystemList, MeasureList, nEnd ) ||
         !TakePart( pBytes, aHead.dwList, MeasureList, nEnd ) )
        return ERROR_INVALID_SECURITY_DESCR;
    rBytes = { reinterpret_cast<const char*>( pBytes ), nEnd };
    return ERROR_SUCCESS;
}

std::string_view SecurityOf( const RegKeyView& aKey ) noexcept
{
    const std::string_view aSecurity = aKey.GetSecurity();
    return !aSecurity.empty() ? aSecurity
                              : std::string_view( DEFAULT_DESCRIPTOR, sizeof( DEFAULT_DESCRIPTOR ) );
}

LONG RegGetKeySecurity( HKEY hKey, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR pDescriptor,
                        LPDWORD pdwDescriptor )
{
    if ( pdwDescriptor == nullptr )
        return ERROR_INVALID_PARAMETER;
    const RegKeyReader aReader( hKey, READ_CONTROL_RIGHT );
    if ( aReader.GetError() != ERROR_SUCCESS )
        return aReader.GetError();
    const std::string_view aSecurity = SecurityOf( aReader.GetView() );
    const bool fFits = pDescriptor != nullptr && *pdwDescriptor >= aSecurity.size();
    if ( fFits )
        std::memcpy( pDescriptor, aSecurity.data(), aSecurity.size() );
    *pdwDescriptor = static_cast<DWORD>( aSecurity.size() );
    return fFits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
}

LONG RegSetKeySecurity( HKEY hKey, SECURITY_INFORMATION dwInformation, PSECURITY_DESCRIPTOR pDescriptor )
{
    return RunRegCall(
        [&]() -> LONG
        {
            if ( pDescriptor == nullptr )
                return ERROR_INVALID_PARAMETER;
            const RegKeyUse aUse( hKey, RightsToSet( dwInformation ) );
            if ( aUse.GetError() != ERROR_SUCCESS )
                return aUse.GetError();
            std::string_view aSecurity;
            if ( const LONG lError = MeasureSecurity( pDescriptor, aSecurity ) )
                return lError;
            RegChange aChange;
            if ( const LONG lError = aChange.Begin( aUse ) )
                return lError;
            aChange.GetTreeKey().aSecurity = aChange.GetTree().GetArena().Keep( aSecurity );
            return aChange.Commit( REG_NOTIFY_CHANGE_SECURITY );
        } );
}
