// The folders of names that the system keeps; ntdll reads them. It tells how many handles an object has, and not whose.
#include "core/guards.h"
#include "tools/errors/displaytext.h"
#include "tools/ipc/objects.h"
#include "tools/toolfailure.h"

#include <algorithm>
#include <array>
#include <windows.h>
#include <winternl.h>

namespace
{

// The calls that read names and states, as ntdll has them; the compiler's import library lacks some.
struct DirectoryEntry
{
    UNICODE_STRING aName;
    UNICODE_STRING aType;
};

struct EventState
{
    LONG lKind; // 0: manual reset
    LONG lSet;
};

struct MutexState
{
    LONG lCount; // 1: free
    BOOLEAN fOwn;
    BOOLEAN fAbandoned;
};

struct SectionState
{
    PVOID pBase;
    ULONG ulAttributes;
    LARGE_INTEGER aSize;
};

using OpenDirectory = NTSTATUS( NTAPI* )( HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES* );
using QueryDirectory = NTSTATUS( NTAPI* )( HANDLE, PVOID, ULONG, BOOLEAN, BOOLEAN, ULONG*, ULONG* );
using QueryState = NTSTATUS( NTAPI* )( HANDLE, int, PVOID, ULONG, ULONG* );
using QuerySection = NTSTATUS( NTAPI* )( HANDLE, int, PVOID, SIZE_T, SIZE_T* );

template <class Function>
Function FindCall( LPCSTR pName )
{
    const auto pCall = AsFunction<Function>( GetProcAddress( GetModuleHandleA( "ntdll.dll" ), pName ) );
    if ( pCall == NULL )
        throw ToolFailure( ExitCode::Input, "the system has no " + std::string( pName ) );
    return pCall;
}

constexpr ACCESS_MASK QUERY = 1; // a state's or a section's; a folder's, too

std::string Utf8Of( std::wstring_view aText )
{
    const int nLength = static_cast<int>( aText.size() );
    std::string aUtf8( aText.size() * 3, '\0' );
    aUtf8.resize( static_cast<size_t>( WideCharToMultiByte(
        CP_UTF8, 0, aText.data(), nLength, aUtf8.data(), static_cast<int>( aUtf8.size() ), NULL, NULL ) ) );
    return aUtf8;
}

std::wstring_view TextOf( const UNICODE_STRING& rText )
{
    return { rText.Buffer, rText.Length / sizeof( wchar_t ) };
}

template <class State>
bool AskState( LPCSTR pCall, HANDLE hObject, State& rState )
{
    return FindCall<QueryState>( pCall )( hObject, 0, &rState, sizeof( rState ), NULL ) >= 0;
}

std::string StateOfEvent( HANDLE hObject )
{
    EventState aState{};
    if ( !AskState( "NtQueryEvent", hObject, aState ) )
        return "-";
    return std::string( aState.lSet != 0 ? "set" : "not set" ) +
           ( aState.lKind == 0 ? ", manual reset" : ", automatic reset" );
}

std::string StateOfMutex( HANDLE hObject )
{
    MutexState aState{};
    if ( !AskState( "NtQueryMutant", hObject, aState ) )
        return "-";
    return std::string( aState.lCount > 0 ? "free" : "owned" ) +
           ( aState.fAbandoned ? ", abandoned by its last owner" : "" );
}

std::string StateOfSection( HANDLE hObject )
{
    SectionState aState{};
    if ( FindCall<QuerySection>( "NtQuerySection" )( hObject, 0, &aState, sizeof( aState ), NULL ) < 0 )
        return "-";
    return std::to_string( aState.aSize.QuadPart ) + " bytes";
}

HANDLE OpenEventToAsk( LPCWSTR pName )
{
    return OpenEventW( QUERY, FALSE, pName );
}

HANDLE OpenMutexToAsk( LPCWSTR pName )
{
    return OpenMutexW( QUERY, FALSE, pName );
}

HANDLE OpenSectionToAsk( LPCWSTR pName )
{
    return OpenFileMappingW( QUERY | FILE_MAP_READ, FALSE, pName ); // alone it stands for another right
}

struct Kind
{
    std::wstring_view aSystemName;
    const char* pName;
    HANDLE ( *pOpen )( LPCWSTR pName );
    std::string ( *pState )( HANDLE hObject );
};

constexpr Kind KINDS[] = {
    { L"Event", "event", &OpenEventToAsk, &StateOfEvent },
    { L"Mutant", "mutex", &OpenMutexToAsk, &StateOfMutex },
    { L"Section", "mapping", &OpenSectionToAsk, &StateOfSection },
};

// An object that nobody may ask has its name and type alone.
SharedObject Describe( const Kind& rKind, std::wstring_view aName, bool fGlobal )
{
    SharedObject aObject{ MakeVisible( Utf8Of( aName ) ), rKind.pName, "-" };
    const std::wstring aPath = ( fGlobal ? L"Global\\" : L"Local\\" ) + std::wstring( aName );
    const KernelHandle aHandle( rKind.pOpen( aPath.c_str() ) );
    if ( !aHandle )
        return aObject;
    aObject.aState = rKind.pState( aHandle.Get() );
    PUBLIC_OBJECT_BASIC_INFORMATION aBasics{};
    if ( AskState( "NtQueryObject", aHandle.Get(), aBasics ) )
        aObject.dwHandles = aBasics.HandleCount - 1; // without our own
    return aObject;
}

KernelHandle OpenFolder( bool fGlobal )
{
    DWORD dwSession = 0;
    ProcessIdToSessionId( GetCurrentProcessId(), &dwSession );
    // The session of the services has no folder of its own.
    std::wstring aPath =
        ( fGlobal || dwSession == 0 ? std::wstring() : L"\\Sessions\\" + std::to_wstring( dwSession ) ) +
        L"\\BaseNamedObjects";
    UNICODE_STRING aName{};
    aName.Buffer = aPath.data();
    aName.Length = aName.MaximumLength = static_cast<USHORT>( aPath.size() * sizeof( wchar_t ) );
    OBJECT_ATTRIBUTES aAttributes;
    InitializeObjectAttributes( &aAttributes, &aName, 0, NULL, NULL );
    HANDLE hFolder = NULL;
    const NTSTATUS lStatus =
        FindCall<OpenDirectory>( "NtOpenDirectoryObject" )( &hFolder, QUERY, &aAttributes );
    if ( lStatus < 0 )
        throw ToolFailure( ExitCode::Input, "the folder of named objects cannot be read: status " +
                                                std::to_string( static_cast<ULONG>( lStatus ) ) );
    return KernelHandle( hFolder );
}

} // namespace

std::vector<SharedObject> ReadSharedObjects( bool fGlobal )
{
    const KernelHandle aFolder = OpenFolder( fGlobal );
    const auto pQuery = FindCall<QueryDirectory>( "NtQueryDirectoryObject" );
    std::vector<SharedObject> aObjects;
    // An entry at a time: a name has 32,767 characters at most, and so has a type.
    std::vector<DirectoryEntry> aEntry( 1 + 2 * 0x10000 / sizeof( DirectoryEntry ) );
    ULONG ulContext = 0;
    while ( pQuery( aFolder.Get(), aEntry.data(), static_cast<ULONG>( aEntry.size() * sizeof( aEntry[0] ) ),
                    TRUE, FALSE, &ulContext, NULL ) == 0 )
    {
        const auto pKind = std::find_if( std::begin( KINDS ), std::end( KINDS ),
                                         [&]( const Kind& rKind )
                                         { return rKind.aSystemName == TextOf( aEntry[0].aType ); } );
        if ( pKind != std::end( KINDS ) )
            aObjects.push_back( Describe( *pKind, TextOf( aEntry[0].aName ), fGlobal ) );
    }
    std::sort( aObjects.begin(), aObjects.end(),
               []( const SharedObject& rLeft, const SharedObject& rRight )
               { return rLeft.aName < rRight.aName; } );
    return aObjects;
}
