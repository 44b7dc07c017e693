// Composes a debug message and hands it to the system. Everything ends here, also what is reported while the library
// starts and ends, and while memory is short: so nothing of the library is used that could report in turn.
#include "core/guards.h"
#include "diag/dbwin.h"
#include "diag/sharedvalues.h"

#include <bxtools/debug.h>
#include <bxtools/platform.h>

#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace
{

constexpr size_t STACK_BUFFER_SIZE = 2048;
constexpr std::string_view LINE_END = "\r\n";

size_t LineEndLength( std::string_view aText ) noexcept
{
    if ( aText.ends_with( LINE_END ) || aText.ends_with( "\\n" ) || aText.ends_with( "\\r" ) )
        return 2;
    return aText.ends_with( '\n' ) || aText.ends_with( '\r' ) ? 1 : 0;
}

// A text being composed in a buffer that is large enough.
class Composer
{
public:
    explicit Composer( char* pBuffer ) noexcept : m_pBegin( pBuffer ), m_pEnd( pBuffer ) {}

    void Append( std::string_view aText ) noexcept
    {
        if ( !aText.empty() )
            std::memcpy( m_pEnd, aText.data(), aText.size() );
        m_pEnd += aText.size();
    }

    // Makes the text end in exactly one CR LF in the place of the line end, or the written-out escape, it ends in.
    void EndLine() noexcept
    {
        const std::string_view aText( m_pBegin, static_cast<size_t>( m_pEnd - m_pBegin ) );
        if ( aText.empty() )
            return;
        m_pEnd -= LineEndLength( aText );
        Append( LINE_END );
    }

    void Terminate() noexcept { *m_pEnd = '\0'; }

private:
    char* m_pBegin;
    char* m_pEnd;
};

std::string_view View( LPCTSTR pText ) noexcept
{
    return pText != NULL ? std::string_view( pText ) : std::string_view();
}

// A header that begins with a new line gets an empty line before it.
std::string_view TakeLeadingNewLine( std::string_view* pHeader ) noexcept
{
    if ( pHeader->size() < 2 )
        return {};
    const size_t uNewLine = pHeader->starts_with( '\n' ) ? 1 : pHeader->starts_with( "\\n" ) ? 2 : 0;
    pHeader->remove_prefix( uNewLine );
    return uNewLine != 0 ? LINE_END : std::string_view();
}

// Kept out of DebugMessage, so that a message that nobody wants costs a call and a load.
[[gnu::noinline]] void WriteMessage( LPCTSTR pModule, LPCTSTR pHeader, LPCTSTR pMessage ) noexcept
{
    if ( pMessage == NULL )
        return;
    const LastErrorGuard aLastError;
    const std::string_view aModule = View( pModule );
    const std::string_view aMessage = View( pMessage );
    std::string_view aHeader = View( pHeader );
    const std::string_view aEmptyLine = TakeLeadingNewLine( &aHeader );
    constexpr std::string_view ARROW = " -> ";
    const size_t uNeeded = aEmptyLine.size() + aModule.size() + ARROW.size() + aHeader.size() +
                           LINE_END.size() + aMessage.size() + LINE_END.size() + 1;

    char szBuffer[STACK_BUFFER_SIZE];
    std::unique_ptr<char[]> pLarge;
    if ( uNeeded > sizeof( szBuffer ) )
    {
        pLarge.reset( new ( std::nothrow ) char[uNeeded] );
        if ( pLarge == NULL )
            return;
    }
    char* pBuffer = pLarge != NULL ? pLarge.get() : szBuffer;
    Composer aText( pBuffer );
    aText.Append( aEmptyLine );
    aText.Append( aModule );
    aText.Append( ARROW );
    if ( pHeader != NULL )
    {
        aText.Append( aHeader );
        aText.EndLine();
    }
    aText.Append( aMessage );
    aText.EndLine();
    aText.Terminate();
    OutputDebugStringA( pBuffer );
    if ( IsDebugMonitorServed() )
        WriteToDebugMonitor( pBuffer );
}

} // namespace

int DLL_EXPORT DebugMessage( LPCTSTR pModule, LPCTSTR pHeader, LPCTSTR pMessage )
{
    if ( IsDebugEnabled() )
        WriteMessage( pModule, pHeader, pMessage );
    return 0;
}

BOOL DLL_EXPORT IsDbgMessage()
{
    return IsDebugEnabled();
}

BOOL DLL_EXPORT internalIsDbgMessageLevel( ULONG ulLevelBits )
{
    return ( GetDebugLevel() & ulLevelBits ) != 0;
}
