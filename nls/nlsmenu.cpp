// Menus in the user's language.
#include "core/callreport.h"
#include "nls/nlswalk.h"

#include <bxtools/platform.h>

namespace
{

constexpr UINT NO_ITEM = 0xFFFFFFFF;

// A menu on the way from the first one to the one at hand.
struct MenuLevel
{
    HMENU hMenu;
    const MenuLevel* pAbove;

    // Whether a menu hangs in itself somewhere; toolkits let it.
    bool Holds( HMENU hOther ) const
    {
        const MenuLevel* pLevel = this;
        while ( pLevel != NULL && pLevel->hMenu != hOther )
            pLevel = pLevel->pAbove;
        return pLevel != NULL;
    }
};

// What an item says in the user's language; empty when it says nothing.
MString TranslateItem( const NlsWalk& rWalk, HMENU hMenu, int nItem )
{
    const LPTSTR pBuf = rWalk.GetBuffer();
    *pBuf = '\0';
    GetMenuStringA( hMenu, static_cast<UINT>( nItem ), pBuf, GlobalBufLen, MF_BYPOSITION );
    // Not every system ends a text that it cuts.
    pBuf[GlobalBufLen - 1] = '\0';
    return *pBuf != '\0' ? rWalk.Translate() : MString();
}

// Result: the item's submenu, whose turn it is; NULL for none.
HMENU WalkItem( const NlsWalk& rWalk, HMENU hMenu, int nItem )
{
    const UINT uItem = static_cast<UINT>( nItem );
    const UINT uState = GetMenuState( hMenu, uItem, MF_BYPOSITION );
    if ( uState == NO_ITEM )
        return NULL;
    const MString aText = TranslateItem( rWalk, hMenu, nItem );
    if ( aText.IsEmpty() )
        return NULL;
    if ( ( uState & MF_POPUP ) == 0 )
    {
        ModifyMenuA( hMenu, uItem, MF_BYPOSITION, GetMenuItemID( hMenu, nItem ), aText );
        return NULL;
    }
    const HMENU hSubMenu = GetSubMenu( hMenu, nItem );
    ModifyMenuA( hMenu, uItem, MF_BYPOSITION | MF_POPUP, reinterpret_cast<UINT_PTR>( hSubMenu ), aText );
    return hSubMenu;
}

void WalkMenu( const NlsWalk& rWalk, HMENU hMenu, const MenuLevel* pAbove )
{
    const MenuLevel aLevel{ hMenu, pAbove };
    const int nItems = GetMenuItemCount( hMenu );
    for ( int nItem = 0; nItem < nItems; ++nItem )
    {
        const HMENU hSubMenu = WalkItem( rWalk, hMenu, nItem );
        if ( hSubMenu != NULL && !aLevel.Holds( hSubMenu ) )
            WalkMenu( rWalk, hSubMenu, &aLevel );
    }
}

} // namespace

void DLL_EXPORT NlsInitMenuObject( HMENU hMenu, LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD void DLL_EXPORT NlsInitMenuObject( HMENU hMenu, LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode )" );
    const LastErrorGuard aLastError;
    aReport.Guard(
        [&]() -> BOOL
        {
            if ( hMenu == NULL )
                return aReport.Fail( " Error: hMenu == NULL" );
            NlsWalk aWalk( lpszSec, lpszSecCom, nMode );
            if ( !aWalk.Begin( aReport ) )
                return FALSE;
            if ( !IsMenu( hMenu ) )
                return FailNlsWalk( aReport, " Error: !IsMenu( hMenu )" );
            WalkMenu( aWalk, hMenu, NULL );
            return TRUE;
        } );
}
