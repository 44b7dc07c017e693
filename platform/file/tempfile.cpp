// Names for temporary files.
#include "platform/file/filecallscope.h"
#include "platform/file/filepath.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace
{
constexpr UINT LAST_NUMBER = 0xFFFF;
constexpr int PREFIX_CHARACTERS = 3;
// Separator, prefix, four digits, ".tmp", zero; one more is kept free, as on Windows.
constexpr int NAME_ROOM = 14;

constexpr int LONGEST_FOLDER = MAX_PATH - NAME_ROOM;

// In MAX_PATH characters.
void WriteName( const FilePath& rFolder, LPCSTR pPrefix, UINT uNumber, LPSTR pFileName ) noexcept
{
    std::snprintf( pFileName, MAX_PATH, "%.*s%s%.*s%hx.tmp", LONGEST_FOLDER, rFolder.Text(),
                   rFolder.EndsInSeparator() ? "" : "/", PREFIX_CHARACTERS, pPrefix,
                   static_cast<USHORT>( uNumber ) );
    // The prefix, too, is part of a path: no call would find a file with a backslash in its name.
    std::replace( pFileName, pFileName + std::strlen( pFileName ), '\\', '/' );
}

bool IsFolder( const FilePath& rFolder ) noexcept
{
    struct stat aStatus;
    return stat( rFolder.Text(), &aStatus ) == 0 && S_ISDIR( aStatus.st_mode );
}

// From a number on that nobody can foresee. 0 with the last error.
UINT MakeFile( const FilePath& rFolder, LPCSTR pPrefix, LPSTR pFileName ) noexcept
{
    uint16_t usFirst = 0;
    if ( getrandom( &usFirst, sizeof( usFirst ), GRND_NONBLOCK ) != sizeof( usFirst ) )
        usFirst = static_cast<uint16_t>( GetTickCount() );
    for ( UINT uTried = 0; uTried < LAST_NUMBER; ++uTried )
    {
        const UINT uNumber = ( usFirst + uTried ) % LAST_NUMBER + 1;
        WriteName( rFolder, pPrefix, uNumber, pFileName );
        const int nFile = open( pFileName, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR );
        if ( nFile >= 0 )
        {
            close( nFile );
            return uNumber;
        }
        if ( errno != EEXIST )
            return FailWith( ErrnoToWin32( errno ) );
    }
    return FailWith( ERROR_FILE_EXISTS );
}
} // namespace

UINT GetTempFileNameA( LPCSTR pFolder, LPCSTR pPrefix, UINT uUnique, LPSTR pFileName )
{
    const FileCallScope aScope;
    FilePath aFolder;
    if ( pFolder == nullptr || pFileName == nullptr )
        return FailWith( ERROR_INVALID_PARAMETER );
    if ( !aFolder.Set( pFolder[0] != '\0' ? pFolder : "." ) || aFolder.View().size() > LONGEST_FOLDER )
        return FailWith( ERROR_BUFFER_OVERFLOW );
    if ( !IsFolder( aFolder ) )
        return FailWith( ERROR_DIRECTORY );
    const LPCSTR pKnownPrefix = pPrefix != nullptr ? pPrefix : "";
    const UINT uNumber = uUnique & LAST_NUMBER;
    if ( uNumber == 0 )
        return MakeFile( aFolder, pKnownPrefix, pFileName );
    WriteName( aFolder, pKnownPrefix, uNumber, pFileName );
    return uNumber;
}
