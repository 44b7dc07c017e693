// Which window system there is: the one that was installed, or Qt's, which is looked for when somebody needs
// it.

#include "platform/window/windowsystem.h"

#include "platform/module/loadergate.h"

#include <atomic>
#include <dlfcn.h>
#include <link.h>

namespace
{
// What a program that uses Qt's windows has loaded. It is not loaded from here: a service that shows a
// message box now and then shall not carry a toolkit for it, and a toolkit without the program's own event
// loop shows nothing.
constexpr char TOOLKIT[] = "libQt6Widgets.so.6";
constexpr char TOOLKIT_MODULE[] = "BXWINDOWS.DLL";
constexpr char TOOLKIT_FUNCTION[] = "GetQtWindowSystem";
typedef const WindowSystem* ( *ToolkitFunction )();

constinit std::atomic<const WindowSystem*> g_pInstalled = nullptr;
constinit std::atomic<const WindowSystem*> g_pFound = nullptr;
constinit std::atomic<bool> g_fLookedFor = false;

// In the child of a fork, when the windows are those of the parent.
constinit std::atomic<bool> g_fOfParent = false;
// How many modules the process had loaded when the toolkit was looked for in vain.
constinit std::atomic<unsigned long long> g_ullModulesLookedAt = 0;

int ReadModuleCount( dl_phdr_info* pInfo, size_t, void* pCount )
{
    *static_cast<unsigned long long*>( pCount ) = pInfo->dlpi_adds;
    return 1;
}

// Asking the loader takes its time; a program that waits in a loop asks often.
bool IsToolkitLoaded()
{
    const LoaderCall aCall;
    unsigned long long ullModules = 0;
    dl_iterate_phdr( ReadModuleCount, &ullModules );
    if ( g_ullModulesLookedAt.load( std::memory_order_relaxed ) == ullModules )
        return false;
    void* const pToolkit = dlopen( TOOLKIT, RTLD_LAZY | RTLD_NOLOAD );
    if ( pToolkit != nullptr )
        dlclose( pToolkit );
    else
        g_ullModulesLookedAt.store( ullModules, std::memory_order_relaxed );
    return pToolkit != nullptr;
}

template <class... Operations>
bool HasAll( Operations... aOperations ) noexcept
{
    return ( ( aOperations != nullptr ) && ... );
}

bool IsWhole( const WindowSystem& r ) noexcept
{
    return r.dwSize >= sizeof( WindowSystem ) &&
           HasAll( r.IsReady, r.RunEvents, r.CheckWindow, r.FindRelated, r.FindParent, r.ReadText,
                   r.ChangeText, r.ReadFont, r.ChangeFont, r.ChangeTextColor, r.CountItems, r.ReadItem,
                   r.ReadItemText, r.ChangeItemText, r.ShowMessage, r.ChooseFolder, r.ChooseFont,
                   r.ShowErrors );
}

const WindowSystem* LoadToolkitModule()
{
    const HMODULE hModule = LoadLibraryA( TOOLKIT_MODULE );
    if ( hModule == nullptr )
        return nullptr;
    const auto pFunction = reinterpret_cast<ToolkitFunction>(
        reinterpret_cast<LPVOID>( GetProcAddress( hModule, TOOLKIT_FUNCTION ) ) );
    const WindowSystem* const pFound = pFunction != nullptr ? pFunction() : nullptr;
    return pFound != nullptr && IsWhole( *pFound ) ? pFound : nullptr;
}

// Once in the process; the module stays, since windows may be open in it. Each thread that asks meanwhile asks the loader, too:
// that makes it wait for the module, unless it is in the loader itself, which lets it through. What there is is the same for
// all of them.
void LookForToolkit()
{
    if ( !IsToolkitLoaded() )
        return;
    if ( const WindowSystem* const pFound = LoadToolkitModule() )
        g_pFound.store( pFound, std::memory_order_release );
    g_fLookedFor.store( true, std::memory_order_release );
}

const WindowSystem* FindToolkit()
{
    if ( !g_fLookedFor.load( std::memory_order_acquire ) )
    {
        const DWORD dwLastError = GetLastError();
        LookForToolkit();
        SetLastError( dwLastError );
    }
    return g_pFound.load( std::memory_order_acquire );
}
} // namespace

BOOL InstallWindowSystem( const WindowSystem* pWindowSystem )
{
    if ( pWindowSystem != nullptr && !IsWhole( *pWindowSystem ) )
        return IsDone( ERROR_INVALID_PARAMETER );
    g_fOfParent.store( false );
    g_pInstalled.store( pWindowSystem, std::memory_order_release );
    return TRUE;
}

const WindowSystem* GetWindowSystem()
{
    if ( g_fOfParent.load() )
        return nullptr;
    const WindowSystem* pWindowSystem = g_pInstalled.load( std::memory_order_acquire );
    if ( pWindowSystem == nullptr )
        pWindowSystem = FindToolkit();
    return pWindowSystem != nullptr && pWindowSystem->IsReady() ? pWindowSystem : nullptr;
}

void LeaveWindowsToParent()
{
    const WindowSystem* const pInstalled = g_pInstalled.load( std::memory_order_acquire );
    const WindowSystem* const pWindowSystem =
        pInstalled != nullptr ? pInstalled : g_pFound.load( std::memory_order_acquire );
    if ( pWindowSystem != nullptr && pWindowSystem->IsReady() )
        g_fOfParent.store( true );
}
