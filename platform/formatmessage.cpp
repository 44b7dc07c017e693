#include "platform/errortext.h"

#include <bxtools/platform.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace
{
constexpr std::string_view LINE_END = "\r\n";

// Copies the text with its line end and zero; the room is there.
void WriteText( LPSTR pBuffer, std::string_view aText ) noexcept
{
    memcpy( pBuffer, aText.data(), aText.size() );
    memcpy( pBuffer + aText.size(), LINE_END.data(), LINE_END.size() );
    pBuffer[aText.size() + LINE_END.size()] = '\0';
}

DWORD Fail( DWORD dwError ) noexcept
{
    SetLastError( dwError );
    return 0;
}
} // namespace

DWORD FormatMessageA( DWORD dwFlags, LPCVOID, DWORD dwMessageId, DWORD, LPSTR lpBuffer, DWORD nSize,
                      va_list* )
{
    const bool fAllocate = ( dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER ) != 0;
    if ( lpBuffer == nullptr )
        return Fail( fAllocate ? ERROR_NOT_ENOUGH_MEMORY : ERROR_INVALID_PARAMETER );
    LPSTR* const ppAllocated = fAllocate ? reinterpret_cast<LPSTR*>( lpBuffer ) : nullptr;
    if ( fAllocate )
        *ppAllocated = nullptr;
    if ( ( dwFlags & FORMAT_MESSAGE_FROM_SYSTEM ) == 0 )
        return Fail( ERROR_INVALID_PARAMETER );

    const std::string_view aText = FindErrorText( dwMessageId );
    if ( aText.empty() )
        return Fail( ERROR_MR_MID_NOT_FOUND );
    if ( ( dwFlags & FORMAT_MESSAGE_IGNORE_INSERTS ) == 0 && HasInserts( aText ) )
        return Fail( ERROR_INVALID_PARAMETER );

    const size_t nLength = aText.size() + LINE_END.size();
    if ( fAllocate )
    {
        lpBuffer = static_cast<LPSTR>( operator new( std::max<size_t>( nLength + 1, nSize ), std::nothrow ) );
        if ( lpBuffer == nullptr )
            return Fail( ERROR_NOT_ENOUGH_MEMORY );
        *ppAllocated = lpBuffer;
    }
    else if ( nSize < nLength + 1 )
        return Fail( ERROR_INSUFFICIENT_BUFFER );
    WriteText( lpBuffer, aText );
    return static_cast<DWORD>( nLength );
}

HLOCAL LocalFree( HLOCAL hMemory )
{
    operator delete( hMemory );
    return nullptr;
}
