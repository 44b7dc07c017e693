#include "runtime/rwfile.h"
#include "runtime/systemfile.h"

#include <bxtools/wintypes.h>

#include <algorithm>
#include <system_error>

namespace
{
// Far behind the last byte that an offset reaches, so that the lock is in nobody's way.
constexpr DWORD LOCKED_BYTE_HIGH = 0x40000000;
constexpr size_t MOST_AT_ONCE = 1 << 30;

[[noreturn]] void Throw( const char* pWhat )
{
    throw RWFileErr( std::string( pWhat ) + ": " +
                     std::system_category().message( static_cast<int>( GetLastError() ) ) );
}

HANDLE Handle( intptr_t nHandle ) noexcept
{
    return reinterpret_cast<HANDLE>( nHandle );
}

OVERLAPPED At( uint64_t ullPlace ) noexcept
{
    OVERLAPPED aPlace{};
    aPlace.Offset = static_cast<DWORD>( ullPlace );
    aPlace.OffsetHigh = static_cast<DWORD>( ullPlace >> 32 );
    return aPlace;
}

DWORD Disposition( SystemFile::Opening eOpening ) noexcept
{
    switch ( eOpening )
    {
    case SystemFile::Opening::UPDATE_OR_CREATE: return OPEN_ALWAYS;
    case SystemFile::Opening::ANEW: return CREATE_ALWAYS;
    default: return OPEN_EXISTING;
    }
}
} // namespace

SystemFile::SystemFile( const char* pFileName, Opening eOpening )
{
    const DWORD dwAccess = eOpening == Opening::READ ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
    const HANDLE hFile =
        CreateFileA( pFileName, dwAccess, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, NULL,
                     Disposition( eOpening ), FILE_ATTRIBUTE_NORMAL | FILE_FLAG_RANDOM_ACCESS, NULL );
    if ( hFile == INVALID_HANDLE_VALUE )
        Throw( "RWFile: the file cannot be opened" );
    m_nHandle = reinterpret_cast<intptr_t>( hFile );
}

SystemFile::~SystemFile()
{
    CloseHandle( Handle( m_nHandle ) );
}

bool SystemFile::LockForWriting() noexcept
{
    OVERLAPPED aPlace{};
    aPlace.OffsetHigh = LOCKED_BYTE_HIGH;
    return LockFileEx( Handle( m_nHandle ), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                       &aPlace ) != FALSE;
}

uint64_t SystemFile::GetSize() const
{
    LARGE_INTEGER aSize;
    if ( !GetFileSizeEx( Handle( m_nHandle ), &aSize ) )
        Throw( "RWFile: the size cannot be told" );
    return static_cast<uint64_t>( aSize.QuadPart );
}

size_t SystemFile::ReadAt( void* pBytes, size_t nSize, uint64_t ullPlace ) const
{
    size_t nRead = 0;
    while ( nRead < nSize )
    {
        OVERLAPPED aPlace = At( ullPlace + nRead );
        DWORD dwNow = 0;
        if ( !ReadFile( Handle( m_nHandle ), static_cast<char*>( pBytes ) + nRead,
                        static_cast<DWORD>( std::min( nSize - nRead, MOST_AT_ONCE ) ), &dwNow, &aPlace ) &&
             GetLastError() != ERROR_HANDLE_EOF )
            Throw( "RWFile: reading failed" );
        if ( dwNow == 0 )
            break;
        nRead += dwNow;
    }
    return nRead;
}

void SystemFile::WriteAt( const void* pBytes, size_t nSize, uint64_t ullPlace )
{
    for ( size_t nWritten = 0; nWritten < nSize; )
    {
        OVERLAPPED aPlace = At( ullPlace + nWritten );
        DWORD dwNow = 0;
        if ( !WriteFile( Handle( m_nHandle ), static_cast<const char*>( pBytes ) + nWritten,
                         static_cast<DWORD>( std::min( nSize - nWritten, MOST_AT_ONCE ) ), &dwNow, &aPlace ) )
            Throw( "RWFile: writing failed" );
        nWritten += dwNow;
    }
}

void SystemFile::FlushToDisk()
{
    if ( !FlushFileBuffers( Handle( m_nHandle ) ) )
        Throw( "RWFile: flushing failed" );
}

bool SystemFile::MayBeCutByOthers() const noexcept
{
    return false; // the system refuses it while somebody has the file mapped
}

const char* SystemFile::Map( size_t nSize ) const noexcept
{
    const HANDLE hMapping =
        CreateFileMappingA( Handle( m_nHandle ), NULL, PAGE_READONLY, 0, static_cast<DWORD>( nSize ), NULL );
    if ( hMapping == NULL )
        return nullptr;
    const void* const pBytes = MapViewOfFile( hMapping, FILE_MAP_READ, 0, 0, nSize );
    CloseHandle( hMapping );
    return static_cast<const char*>( pBytes );
}

void SystemFile::Unmap( const char* pBytes, size_t ) noexcept
{
    UnmapViewOfFile( pBytes );
}
