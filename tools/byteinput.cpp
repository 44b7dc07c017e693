#include "tools/byteinput.h"

#include "tools/systemtext.h"
#include "tools/talk.h"
#include "tools/terminal.h"
#include "tools/toolfailure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace
{

constexpr size_t CHUNK = 1 << 16;

struct CloseFile
{
    void operator()( FILE* pFile ) const
    {
        if ( pFile != stdin )
            fclose( pFile );
    }
};
using InputFile = std::unique_ptr<FILE, CloseFile>;

[[noreturn]] void ThrowReadFailure( const std::string& aName )
{
    const char* pAdvice = errno == ENOENT ? "; check the name, or give - for standard input" : "";
    throw ToolFailure( ExitCode::Input,
                       "cannot read " + GetInputTitle( aName ) + ": " + strerror( errno ) + pAdvice );
}

InputFile OpenInput( const std::string& aName )
{
    if ( aName != "-" )
        return InputFile( fopen( aName.c_str(), "rb" ) );
    if ( IsTerminal( stdin ) )
        SayNote( "waiting for standard input; name a FILE to read that, or see --help" );
    return InputFile( stdin );
}

// Tells a file's size before it is read. A pipe has none: what comes out of it is counted as well.
bool IsTooLarge( const std::string& aName )
{
    std::error_code aNoSize;
    const uintmax_t nSize = std::filesystem::file_size( ToPath( aName ), aNoSize );
    return !aNoSize && nSize > INPUT_LIMIT;
}

[[noreturn]] void ThrowTooLarge( const std::string& aName )
{
    throw ToolFailure( ExitCode::Input,
                       GetInputTitle( aName ) +
                           " holds more than 1 GiB, the most that is read; is it the right file?" );
}

} // namespace

std::string GetInputTitle( const std::string& aName )
{
    return aName == "-" ? "standard input" : aName;
}

std::string ReadInput( const std::string& aName )
{
    const InputFile aFile = OpenInput( aName );
    if ( aFile == NULL )
        ThrowReadFailure( aName );
    if ( aName != "-" && IsTooLarge( aName ) )
        ThrowTooLarge( aName );
    std::string aBytes;
    for ( ;; )
    {
        const size_t nSize = aBytes.size();
        aBytes.resize( nSize + CHUNK );
        const size_t nRead = fread( aBytes.data() + nSize, 1, CHUNK, aFile.get() );
        aBytes.resize( nSize + nRead );
        if ( aBytes.size() > INPUT_LIMIT )
            ThrowTooLarge( aName );
        if ( nRead == CHUNK )
            continue;
        if ( ferror( aFile.get() ) != 0 )
            ThrowReadFailure( aName );
        return aBytes;
    }
}
