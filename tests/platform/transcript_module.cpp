// Modules. The library to load lies beside this program or beside the tool library.

#include "platform/transcript.h"
#include "support/scratchfolder.h"

#include <cstring>
#include <filesystem>
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

void SayLoading( const ScratchFolder& rFolder )
{
    SetLastError( UNTOUCHED );
    const HMODULE hModule = LoadLibraryA( MODULE_NAME );
    SayOutcome( "load", hModule != NULL );
    char aPath[1024];
    GetModuleFileNameA( hModule, aPath, sizeof( aPath ) );
    SayNumber( "absolute path", std::filesystem::path( aPath ).is_absolute() );
    const HMODULE hAgain = LoadLibraryA( aPath );
    SayNumber( "by its path, same handle", hAgain == hModule );
    const HMODULE hOther = LoadLibraryA( "bxtranscriptmodule" );
    SayNumber( "without extension, same handle", hOther == hModule );
    SayNumber( "loaded already", GetModuleHandleA( "bxTranscriptModule.dll" ) == hModule );
    SayNumber( "calls", Count( hModule ) );
    SayNumber( "calls of the same code", Count( hAgain ) );
    SayNumber( "free", FreeLibrary( hOther ) != FALSE );
    SayNumber( "free a second time", FreeLibrary( hAgain ) != FALSE );
    SayNumber( "still loaded, calls", Count( hModule ) );
    SayNumber( "free the last time", FreeLibrary( hModule ) != FALSE );
    SayOutcome( "free once too often", FreeLibrary( hModule ) );
    SayOutcome( "name in a freed module", GetProcAddress( hModule, "CountTranscriptCalls" ) != NULL );
    SayOutcome( "no longer loaded", GetModuleHandleA( MODULE_NAME ) != NULL );
    const HMODULE hFresh = LoadLibraryA( MODULE_NAME );
    SayNumber( "loaded afresh, calls", Count( hFresh ) );
    FreeLibrary( hFresh );

    const std::string strCopy = rFolder.Path( "copied.dll" );
    std::filesystem::copy_file( aPath, strCopy );
    const HMODULE hCopy = LoadLibraryA( strCopy.c_str() );
    SayOutcome( "a path with slashes", hCopy != NULL );
    std::string strBackslashes = strCopy;
    for ( char& rChar : strBackslashes )
        rChar = rChar == '/' ? '\\' : rChar;
    const HMODULE hSame = LoadLibraryA( strBackslashes.c_str() );
    SayNumber( "a path with backslashes, same handle", hSame == hCopy );
    FreeLibrary( hSame );
    FreeLibrary( hCopy );
}

void SaySymbols()
{
    const HMODULE hModule = LoadLibraryA( MODULE_NAME );
    const int* const pData = reinterpret_cast<const int*>( GetProcAddress( hModule, "nTranscriptData" ) );
    SayNumber( "data", pData != NULL ? *pData : 0 );
    SetLastError( UNTOUCHED );
    SayOutcome( "missing name", GetProcAddress( hModule, "NoSuchName" ) != NULL );
    SayOutcome( "name in other case", GetProcAddress( hModule, "countTranscriptCalls" ) != NULL );
    SayOutcome( "name of something it depends on", GetProcAddress( hModule, "strlen" ) != NULL );
    SayOutcome( "empty name", GetProcAddress( hModule, "" ) != NULL );
    SayOutcome( "name in no module",
                GetProcAddress( reinterpret_cast<HMODULE>( 0x1230 ), "strlen" ) != NULL );
    FreeLibrary( hModule );
}

void SayLoad( const char* pName, const std::string& strFile )
{
    SayOutcome( pName, LoadLibraryA( strFile.c_str() ) != NULL );
}

void SayFailures( const ScratchFolder& rFolder )
{
    SayLoad( "missing, plain name", "NOSUCHLIBRARY.DLL" );
    SayLoad( "missing, with folder", rFolder.Path( "nosuch.dll" ) );
    SayLoad( "missing folder", rFolder.Path( "nosuch/nosuch.dll" ) );
    WriteBytes( rFolder.Path( "text.dll" ),
                "This is a text file and no library at all, but long enough for a header.\n" );
    SayLoad( "text file", rFolder.Path( "text.dll" ) );
    WriteBytes( rFolder.Path( "empty.dll" ), "" );
    SayLoad( "empty file", rFolder.Path( "empty.dll" ) );
    SayLoad( "folder", rFolder.Path() );
    SayLoad( "empty name to load", "" );
    SayOutcome( "null name to load", LoadLibraryA( NULL ) != NULL );
    SayOutcome( "free null", FreeLibrary( NULL ) );
    SayOutcome( "free no module", FreeLibrary( reinterpret_cast<HMODULE>( 0x1230 ) ) );

    char aPath[1024] = "";
    const HMODULE hModule = LoadLibraryA( MODULE_NAME );
    GetModuleFileNameA( hModule, aPath, sizeof( aPath ) );
    FreeLibrary( hModule );
    const std::string strShort = rFolder.Path( "short.dll" );
    std::filesystem::copy_file( aPath, strShort );
    std::filesystem::resize_file( strShort, 5000 );
    SayLoad( "library cut short", strShort );
}

void SayProgram()
{
    SayNumber( "the program's handle", GetModuleHandleA( NULL ) != NULL );
    char aPath[1024];
    SetLastError( UNTOUCHED );
    const DWORD dwLength = GetModuleFileNameA( NULL, aPath, sizeof( aPath ) );
    SayNumber( "the program's path, length", dwLength == std::strlen( aPath ) && dwLength > 0 );
    SayNumber( "last error after it", GetLastError() );
    Say( "the program's name", "%s", std::filesystem::path( aPath ).stem().string().c_str() );
    char aByHandle[1024];
    GetModuleFileNameA( GetModuleHandleA( NULL ), aByHandle, sizeof( aByHandle ) );
    SayNumber( "by its handle", std::strcmp( aPath, aByHandle ) == 0 );
    char aSmall[11] = "0123456789";
    SayNumber( "small, result", GetModuleFileNameA( NULL, aSmall, 5 ) );
    SayOutcome( "small", false );
    SayNumber( "small, beginning", std::strncmp( aSmall, aPath, 4 ) == 0 );
    SayNumber( "small, terminated", aSmall[4] == '\0' );
    SayNumber( "small, nothing beyond", aSmall[5] == '5' );
    SayNumber( "just too small, result", GetModuleFileNameA( NULL, aByHandle, dwLength ) == dwLength );
    SayOutcome( "path of no module", GetModuleFileNameA( reinterpret_cast<HMODULE>( 0x1230 ), aPath, 100 ) );
}
} // namespace

int main()
{
    const ScratchFolder aFolder;
    SayLoading( aFolder );
    SaySymbols();
    SayFailures( aFolder );
    SayProgram();
    return 0;
}
