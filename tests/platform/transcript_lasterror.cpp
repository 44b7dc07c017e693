// The last error and the texts of error numbers.

#include "platform/transcript.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace
{
constexpr DWORD PLAIN = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;

constexpr DWORD g_adwNumbers[] = {
    0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28,
    29, 30, 31, 32, 33, 34, 36, 38, 39, 50, 51, 52, 53, 54, 55, 57, 58, 59, 60, 62, 64, 65, 66, 67, 68, 70,
    71, 80, 82, 85, 86, 87, 88, 89, 107, 108, 109, 110, 111, 112, 113, 114, 117, 120, 121, 122, 123, 124, 125,
    126, 127, 128, 131, 132, 144, 145, 154, 156, 158, 161, 164, 167, 170, 182, 183, 191, 193, 206, 208, 223,
    232, 234, 258, 259, 267, 288, 298, 299, 317, 487, 995, 996, 997, 998, 999, 1001, 1002, 1003, 1004, 1006,
    1008, 1009, 1010, 1011, 1012, 1013, 1014, 1015, 1016, 1017, 1018, 1020, 1021, 1064, 1113, 1114, 1117,
    1131, 1132, 1142, 1157, 1168, 1223, 1224, 1237, 1300, 1313, 1314, 1393, 1400, 1401, 1413, 1444, 1450,
    1456, 1460, 1920,
    // Numbers without a text.
    35, 99999, 0xC0000005, 0xFFFFFFFF,
    // Results of components.
    0x80004001, 0x80004002, 0x80004003, 0x80004005, 0x8000FFFF, 0x80070000, 0x80070002, 0x80070005,
    0x800700C1, 0x8007FFFF, 0x00070005, 0x80040154 + 0x1000
};

// What is the same in every language: that there is a text, and its form.
std::string Describe( DWORD dwFlags, DWORD dwNumber )
{
    char* pText = reinterpret_cast<char*>( 1 );
    SetLastError( UNTOUCHED );
    const DWORD dwLength =
        FormatMessageA( dwFlags, NULL, dwNumber, 0x400, reinterpret_cast<LPSTR>( &pText ), 0, NULL );
    const DWORD dwError = GetLastError();
    if ( dwLength == 0 )
        return "failed " + std::to_string( dwError ) + ( pText == NULL ? "" : ", pointer not null" );
    const std::string strText( pText );
    LocalFree( pText );
    const bool fOneLine = strText.size() == dwLength && strText.find( '\r' ) == dwLength - 2 &&
                          strText.find( '\n' ) == dwLength - 1;
    return std::string( "text" ) + ( fOneLine ? "" : ", not one line" ) +
           ( strText.find( '%' ) == std::string::npos ? "" : ", inserts" ) +
           ( dwError == UNTOUCHED ? "" : ", last error changed" );
}

void SayNumbers( const std::string& rName, DWORD dwFlags )
{
    for ( const DWORD dwNumber : g_adwNumbers )
    {
        Say( rName + " " + std::to_string( dwNumber ), "%s", Describe( dwFlags, dwNumber ).c_str() );
    }
}

void SayThreads()
{
    SetLastError( 17 );
    OnOtherThread(
        []
        {
            SayNumber( "new thread", GetLastError() );
            SetLastError( 18 );
        } );
    SayNumber( "another thread's does not show", GetLastError() != 18 );
    SetLastError( 19 );
    errno = EDOM;
    SayNumber( "errno is apart", GetLastError() );
    SetLastError( 0xE0000001 );
    Say( "any number", "%08X", static_cast<unsigned>( GetLastError() ) );
}

void SayBuffers()
{
    constexpr DWORD FLAGS = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    char aText[512];
    const DWORD dwLength = FormatMessageA( FLAGS, NULL, 5, 0, aText, sizeof( aText ), NULL );
    Say( "buffer", "%s", dwLength == std::strlen( aText ) ? "length" : "other" );
    SayOutcome( "buffer just right", FormatMessageA( FLAGS, NULL, 5, 0, aText, dwLength + 1, NULL ) );
    SayOutcome( "buffer one too small", FormatMessageA( FLAGS, NULL, 5, 0, aText, dwLength, NULL ) );
    SayOutcome( "buffer of no size", FormatMessageA( FLAGS, NULL, 5, 0, aText, 0, NULL ) );
    SayOutcome( "null buffer",
                FormatMessageA( FLAGS | FORMAT_MESSAGE_ALLOCATE_BUFFER, NULL, 5, 0, NULL, 0, NULL ) );
    SayOutcome( "null buffer, nothing allocated", FormatMessageA( FLAGS, NULL, 5, 0, NULL, 100, NULL ) );
    SayOutcome( "no source", FormatMessageA( FORMAT_MESSAGE_IGNORE_INSERTS, NULL, 5, 0, aText, 512, NULL ) );
    Say( "freeing null", "%s", LocalFree( NULL ) == NULL ? "null" : "other" );
    char* pText = NULL;
    const DWORD dwNeutral =
        FormatMessageA( PLAIN, NULL, 5, 0, reinterpret_cast<LPSTR>( &pText ), 2000, NULL );
    SayNumber( "language and least size change nothing", dwNeutral == dwLength );
    pText[1999] = 'x';
    LocalFree( pText );
}
} // namespace

int main()
{
    SayThreads();
    SayNumbers( "plain", PLAIN );
    SayNumbers( "ignoring inserts", PLAIN | FORMAT_MESSAGE_IGNORE_INSERTS );
    SayBuffers();
    return 0;
}
