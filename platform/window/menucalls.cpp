// Menus: what the calls look like, over the window system's operations.

#include "platform/window/windowsystem.h"

#include <cstring>

namespace
{
constexpr UINT FAILED = 0xFFFFFFFFu;
constexpr UINT COUNT_MASK = 0xFF;
constexpr unsigned COUNT_SHIFT = 8;

BOOL CheckFlags( UINT uFlags )
{
    return ( uFlags & MF_BYPOSITION ) != 0 || IsDone( ERROR_INVALID_PARAMETER );
}

BOOL ReadItem( HMENU hMenu, UINT uItem, WindowSystemMenuItem& rItem )
{
    return IsDone( CallWindowSystem( &WindowSystem::ReadItem, hMenu, uItem, &rItem ) );
}

// Whether uNewItem is what the item has.
bool IsOwn( const WindowSystemMenuItem& rItem, UINT uFlags, UINT_PTR uNewItem ) noexcept
{
    if ( ( uFlags & MF_POPUP ) != 0 )
        return rItem.hSubMenu != nullptr && rItem.hSubMenu == reinterpret_cast<HMENU>( uNewItem );
    return rItem.hSubMenu == nullptr && rItem.uId == uNewItem;
}
} // namespace

BOOL IsMenu( HMENU hMenu )
{
    return GetMenuItemCount( hMenu ) >= 0;
}

int GetMenuItemCount( HMENU hMenu )
{
    int nItems = -1;
    IsDone( CallWindowSystem( &WindowSystem::CountItems, hMenu, &nItems ) );
    return nItems;
}

UINT GetMenuState( HMENU hMenu, UINT uItem, UINT uFlags )
{
    WindowSystemMenuItem aItem{};
    if ( !CheckFlags( uFlags ) || !ReadItem( hMenu, uItem, aItem ) )
        return FAILED;
    if ( aItem.hSubMenu == nullptr )
        return aItem.uState;
    const int nItems = GetMenuItemCount( aItem.hSubMenu );
    const UINT uItems = nItems > 0 ? static_cast<UINT>( nItems ) & COUNT_MASK : 0;
    return aItem.uState | MF_POPUP | uItems << COUNT_SHIFT;
}

int GetMenuStringA( HMENU hMenu, UINT uItem, LPSTR pText, int nSize, UINT uFlags )
{
    if ( !CheckFlags( uFlags ) || pText == nullptr || nSize < 1 )
        return 0;
    *pText = '\0';
    IsDone( CallWindowSystem( &WindowSystem::ReadItemText, hMenu, uItem, pText, nSize ) );
    return static_cast<int>( strlen( pText ) );
}

UINT GetMenuItemID( HMENU hMenu, int nItem )
{
    WindowSystemMenuItem aItem{};
    if ( !ReadItem( hMenu, static_cast<UINT>( nItem ), aItem ) || aItem.hSubMenu != nullptr )
        return FAILED;
    return aItem.uId;
}

HMENU GetSubMenu( HMENU hMenu, int nItem )
{
    WindowSystemMenuItem aItem{};
    ReadItem( hMenu, static_cast<UINT>( nItem ), aItem );
    return aItem.hSubMenu;
}

BOOL ModifyMenuA( HMENU hMenu, UINT uItem, UINT uFlags, UINT_PTR uNewItem, LPCSTR pText )
{
    WindowSystemMenuItem aItem{};
    if ( !CheckFlags( uFlags ) || !ReadItem( hMenu, uItem, aItem ) )
        return FALSE;
    if ( !IsOwn( aItem, uFlags, uNewItem ) )
        return IsDone( ERROR_INVALID_PARAMETER );
    return IsDone(
        CallWindowSystem( &WindowSystem::ChangeItemText, hMenu, uItem, pText != nullptr ? pText : "" ) );
}
