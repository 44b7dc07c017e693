// Modules. The library to load lies beside this program or beside the tool library.

#include "platform/transcript.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace
{
constexpr char MODULE_NAME[] = "BXTRANSCRIPTMODULE.DLL";
typedef int ( *CountFunc )();

int Count( HMODULE hModule )
{
    void* const pFunction = reinterpret_cast<void*>( GetProcAddress( hModule, "CountTranscriptCalls" ) );
    return reinterpret_cast<CountFunc>( pFunction )();
}

void SayLoading( const std::string& strFolder )
{
    SetLastError( UNTOUCHED );
    const HMODULE hModule = LoadLibraryA( MODULE_NAME );
    SayOutcome( "load", hModule != NULL );
    char aPath[1024];
    GetModuleFileNameA( hModule, aPath, sizeof( aPath ) );
    Say( "absolute path", "%d", std::filesystem::path( aPath ).is_absolute() );
    const HMODULE hAgain = LoadLibraryA( aPath );
    Say( "by its path, same handle", "%d", hAgain == hModule );
    const HMODULE hOther = LoadLibraryA( "bxtranscriptmodule" );
    Say( "without extension, same handle", "%d", hOther == hModule );
    Say( "loaded already", "%d", GetModuleHandleA( "bxTranscriptModule.dll" ) == hModule );
    Say( "calls", "%d", Count( hModule ) );
    Say( "calls of the same code", "%d", Count( hAgain ) );
    Say( "free", "%d", FreeLibrary( hOther ) != FALSE );
    Say( "free a second time", "%d", FreeLibrary( hAgain ) != FALSE );
    Say( "still loaded, calls", "%d", Count( hModule ) );
    Say( "free the last time", "%d", FreeLibrary( hModule ) != FALSE );
    SayOutcome( "free once too often", FreeLibrary( hModule ) );
    SayOutcome( "name in a freed module", GetProcAddress( hModule, "CountTranscriptCalls" ) != NULL );
    SayOutcome( "no longer loaded", GetModuleHandleA( MODULE_NAME ) != NULL );
    const HMODULE hFresh = LoadLibraryA( MODULE_NAME );
    Say( "loaded afresh, calls", "%d", Count( hFresh ) );
    FreeLibrary( hFresh );

    const std::string strCopy = strFolder + "/copied.dll";
    std::filesystem::copy_file( aPath, strCopy );
    const HMODULE hCopy = LoadLibraryA( strCopy.c_str() );
    SayOutcome( "a path with slashes", hCopy != NULL );
    std::string strBackslashes = strCopy;
    for ( char& rChar : strBackslashes )
        rChar = rChar == '/' ? '\\' : rChar;
    const HMODULE hSame = LoadLibraryA( strBackslashes.c_str() );
    Say( "a path with backslashes, same handle", "%d", hSame == hCopy );
    FreeLibrary( hSame );
    FreeLibrary( hCopy );
}

void SaySymbols()
{
    const HMODULE hModule = LoadLibraryA( MODULE_NAME );
    const int* const pData = reinterpret_cast<const int*>( GetProcAddress( hModule, "nTranscriptData" ) );
    Say( "data", "%d", pData != NULL ? *pData : 0 );
    SetLastError( UNTOUCHED );
    SayOutcome( "missing name", GetProcAddress( hModule, "NoSuchName" ) != NULL );
    SayOutcome( "name in other case", GetProcAddress( hModule, "countTranscriptCalls" ) != NULL );
    SayOutcome( "name of something it depends on", GetProcAddress( hModule, "strlen" ) != NULL );
    SayOutcome( "empty name", GetProcAddress( hModule, "" ) != NULL );
    SayOutcome( "name in no module",
                GetProcAddress( reinterpret_cast<HMODULE>( 0x1230 ), "strlen" ) != NULL );
    FreeLibrary( hModule );
}

void WriteTextFile( const std::string& strPath, const std::string& strText )
{
    std::ofstream( strPath, std::ios::binary ) << strText;
}

void SayFailures( const std::string& strFolder )
{
    SayOutcome( "missing, plain name", LoadLibraryA( "NOSUCHLIBRARY.DLL" ) != NULL );
    SayOutcome( "missing, with folder", LoadLibraryA( ( strFolder + "/nosuch.dll" ).c_str() ) != NULL );
    SayOutcome( "missing folder", LoadLibraryA( ( strFolder + "/nosuch/nosuch.dll" ).c_str() ) != NULL );
    WriteTextFile( strFolder + "/text.dll",
                   "This is a text file and no library at all, but long enough for a header.\n" );
    SayOutcome( "text file", LoadLibraryA( ( strFolder + "/text.dll" ).c_str() ) != NULL );
    WriteTextFile( strFolder + "/empty.dll", "" );
    SayOutcome( "empty file", LoadLibraryA( ( strFolder + "/empty.dll" ).c_str() ) != NULL );
    SayOutcome( "folder", LoadLibraryA( strFolder.c_str() ) != NULL );
    SayOutcome( "empty name to load", LoadLibraryA( "" ) != NULL );
    SayOutcome( "null name to load", LoadLibraryA( NULL ) != NULL );
    SayOutcome( "free null", FreeLibrary( NULL ) );
    SayOutcome( "free no module", FreeLibrary( reinterpret_cast<HMODULE>( 0x1230 ) ) );

    char aPath[1024] = "";
    const HMODULE hModule = LoadLibraryA( MODULE_NAME );
    GetModuleFileNameA( hModule, aPath, sizeof( aPath ) );
    FreeLibrary( hModule );
    std::filesystem::copy_file( aPath, strFolder + "/short.dll" );
    std::filesystem::resize_file( strFolder + "/short.dll", 5000 );
    SayOutcome( "library cut short", LoadLibraryA( ( strFolder + "/short.dll" ).c_str() ) != NULL );
}

void SayProgram()
{
    Say( "the program's handle", "%d", GetModuleHandleA( NULL ) != NULL );
    char aPath[1024];
    SetLastError( UNTOUCHED );
    const DWORD dwLength = GetModuleFileNameA( NULL, aPath, sizeof( aPath ) );
    Say( "the program's path, length", "%d", dwLength == std::strlen( aPath ) && dwLength > 0 );
    Say( "last error after it", "%u", static_cast<unsigned>( GetLastError() ) );
    Say( "the program's name", "%s", std::filesystem::path( aPath ).stem().string().c_str() );
    char aByHandle[1024];
    GetModuleFileNameA( GetModuleHandleA( NULL ), aByHandle, sizeof( aByHandle ) );
    Say( "by its handle", "%d", std::strcmp( aPath, aByHandle ) == 0 );
    char aSmall[11] = "0123456789";
    Say( "small, result", "%u", static_cast<unsigned>( GetModuleFileNameA( NULL, aSmall, 5 ) ) );
    SayOutcome( "small", false );
    Say( "small, beginning", "%d", std::strncmp( aSmall, aPath, 4 ) == 0 );
    Say( "small, terminated", "%d", aSmall[4] == '\0' );
    Say( "small, nothing beyond", "%d", aSmall[5] == '5' );
    Say( "just too small, result", "%d", GetModuleFileNameA( NULL, aByHandle, dwLength ) == dwLength );
    SayOutcome( "path of no module", GetModuleFileNameA( reinterpret_cast<HMODULE>( 0x1230 ), aPath, 100 ) );
}
} // namespace

int main()
{
    const std::string strFolder =
        ( std::filesystem::temp_directory_path() / ( "bxmodule" + std::to_string( GetCurrentProcessId() ) ) )
            .generic_string();
    std::filesystem::create_directory( strFolder );
    SayLoading( strFolder );
    SaySymbols();
    SayFailures( strFolder );
    SayProgram();
    std::filesystem::remove_all( strFolder );
    return 0;
}
