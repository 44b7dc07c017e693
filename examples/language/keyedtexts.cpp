#include "examples/language/keyedtexts.h"

#include <bxtools/nlswindow.h>
#include <bxtools/platform.h>

void KeyedTexts::RememberWindow( HWND hWindow )
{
    TCHAR szKey[GlobalBufLen];
    if ( GetWindowTextA( hWindow, szKey, sizeof( szKey ) ) > 0 )
        m_aWindows.push_back( { hWindow, szKey } );
    for ( HWND hChild = GetWindow( hWindow, GW_CHILD ); hChild != NULL;
          hChild = GetWindow( hChild, GW_HWNDNEXT ) )
        RememberWindow( hChild );
}

void KeyedTexts::RememberMenu( HMENU hMenu )
{
    TCHAR szKey[GlobalBufLen];
    const int nItems = GetMenuItemCount( hMenu );
    for ( int nItem = 0; nItem < nItems; ++nItem )
    {
        const UINT uItem = static_cast<UINT>( nItem );
        if ( GetMenuStringA( hMenu, uItem, szKey, sizeof( szKey ), MF_BYPOSITION ) > 0 )
            m_aItems.push_back( { hMenu, uItem, szKey } );
        if ( const HMENU hSubMenu = GetSubMenu( hMenu, nItem ); hSubMenu != NULL )
            RememberMenu( hSubMenu );
    }
}

void KeyedTexts::PutBack() const
{
    for ( const WindowKey& rWindow : m_aWindows )
        SetWindowTextA( rWindow.hWindow, rWindow.aKey );
    for ( const ItemKey& rItem : m_aItems )
    {
        const HMENU hSubMenu = GetSubMenu( rItem.hMenu, static_cast<int>( rItem.uItem ) );
        const UINT uId = GetMenuItemID( rItem.hMenu, static_cast<int>( rItem.uItem ) );
        if ( hSubMenu != NULL )
            ModifyMenuA( rItem.hMenu, rItem.uItem, MF_BYPOSITION | MF_POPUP,
                         reinterpret_cast<UINT_PTR>( hSubMenu ), rItem.aKey );
        else
            ModifyMenuA( rItem.hMenu, rItem.uItem, MF_BYPOSITION, uId, rItem.aKey );
    }
}
