#include "tools/outputfile.h"

#include "core/guards.h"
#include "tools/errors/decodedrecord.h"
#include "tools/systemtext.h"
#include "tools/terminal.h"
#include "tools/toolfailure.h"

#include <algorithm>
#include <cstdio>

namespace
{

namespace fs = std::filesystem;

[[noreturn]] void ThrowNotWritten( const std::string& aPath, const std::string& aReason )
{
    throw ToolFailure( ExitCode::Output, "cannot write " + aPath + ": " + aReason +
                                             "; is there room, and may this user write there?" );
}

void WriteInPlace( const std::string& aPath, std::string_view aBytes )
{
    FILE* pFile = fopen( aPath.c_str(), "wb" );
    bool fWritten = pFile != NULL && fwrite( aBytes.data(), 1, aBytes.size(), pFile ) == aBytes.size();
    std::string aReason = fWritten ? std::string() : GetStreamFailure();
    if ( pFile != NULL && fclose( pFile ) != 0 && fWritten )
    {
        fWritten = false;
        aReason = GetStreamFailure();
    }
    if ( !fWritten )
        ThrowNotWritten( aPath, aReason );
}

bool WriteAll( HANDLE hFile, std::string_view aBytes )
{
    constexpr size_t AT_ONCE = 1u << 30;
    while ( !aBytes.empty() )
    {
        DWORD dwWritten = 0;
        const auto dwPiece = static_cast<DWORD>( std::min( aBytes.size(), AT_ONCE ) );
        if ( !WriteFile( hFile, aBytes.data(), dwPiece, &dwWritten, NULL ) || dwWritten == 0 )
            return false;
        aBytes.remove_prefix( dwWritten );
    }
    return FlushFileBuffers( hFile );
}

} // namespace

fs::path FindTarget( const std::string& aPath )
{
    std::error_code aError;
    const fs::path aFile = fs::weakly_canonical( ToPath( aPath ), aError );
    return aError ? fs::absolute( ToPath( aPath ) ) : aFile;
}

bool TakePlace( const fs::path& rNew, const fs::path& rOld, std::error_code& rError )
{
    const auto aStatus = fs::status( rOld, rError );
    if ( !rError && fs::exists( aStatus ) )
        fs::permissions( rNew, aStatus.permissions(), rError );
    fs::rename( rNew, rOld, rError );
    return !rError;
}

void WriteWholeFile( const std::string& aPath, std::string_view aBytes )
{
    const fs::path aFile = FindTarget( aPath );
    std::error_code aError;
    const auto aStatus = fs::status( aFile, aError );
    if ( fs::exists( aStatus ) && !fs::is_regular_file( aStatus ) )
        return WriteInPlace( aPath, aBytes );
    const std::string aBeside = FromPath( aFile ) + "." + std::to_string( GetCurrentProcessId() ) + ".new";
    // What a killed process with the same number left.
    fs::remove( ToPath( aBeside ), aError );
    const HANDLE hFile =
        CreateFileA( aBeside.c_str(), GENERIC_WRITE, 0, NULL, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, NULL );
    if ( hFile == INVALID_HANDLE_VALUE )
        return WriteInPlace( aPath, aBytes );
    KernelHandle aNew( hFile );
    const DWORD dwError = WriteAll( hFile, aBytes ) ? DWORD{ ERROR_SUCCESS } : GetLastError();
    aNew.Reset();
    if ( dwError == ERROR_SUCCESS && TakePlace( ToPath( aBeside ), aFile, aError ) )
        return;
    const std::string aReason = dwError != ERROR_SUCCESS ? GetSystemText( dwError ) : aError.message();
    fs::remove( ToPath( aBeside ), aError );
    ThrowNotWritten( aPath, aReason );
}
