// Menus: menu bars and popup menus with their actions.
#include "ui/qtoperations.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

namespace
{

// Runs aBody with the menu's widget.
template <class Body>
DWORD ForMenu( HMENU hMenu, Body&& aBody )
{
    return InWindowThread(
        [&]() -> DWORD
        {
            const QtPlace aPlace = QtHandles::Get().Find( reinterpret_cast<uintptr_t>( hMenu ) );
            const bool fMenu =
                aPlace.nTab == QtPlace::WHOLE && ( qobject_cast<QMenu*>( aPlace.pWidget ) != nullptr ||
                                                   qobject_cast<QMenuBar*>( aPlace.pWidget ) != nullptr );
            return fMenu ? aBody( *aPlace.pWidget ) : ERROR_INVALID_MENU_HANDLE;
        } );
}

// Runs aBody with the action of an item.
template <class Body>
DWORD ForItem( HMENU hMenu, UINT uItem, Body&& aBody )
{
    return ForMenu( hMenu,
                    [&]( QWidget& rMenu ) -> DWORD
                    {
                        const QList<QAction*> aActions = rMenu.actions();
                        if ( uItem >= static_cast<size_t>( aActions.size() ) )
                            return ERROR_MENU_ITEM_NOT_FOUND;
                        aBody( *aActions.at( static_cast<qsizetype>( uItem ) ) );
                        return ERROR_SUCCESS;
                    } );
}

UINT StateOf( const QAction& rAction )
{
    return ( rAction.isSeparator() ? MF_SEPARATOR : 0 ) | ( rAction.isChecked() ? MF_CHECKED : 0 ) |
           ( rAction.isEnabled() ? 0 : MF_GRAYED );
}

} // namespace

DWORD CountQtItems( HMENU hMenu, int* pnItems )
{
    return ForMenu( hMenu,
                    [&]( QWidget& rMenu ) -> DWORD
                    {
                        *pnItems = static_cast<int>( rMenu.actions().size() );
                        return ERROR_SUCCESS;
                    } );
}

DWORD ReadQtItem( HMENU hMenu, UINT uItem, WindowSystemMenuItem* pItem )
{
    return ForItem( hMenu, uItem,
                    [&]( QAction& rAction )
                    {
                        QMenu* const pSubMenu = rAction.menu();
                        pItem->hSubMenu =
                            reinterpret_cast<HMENU>( QtHandles::Get().NumberOf( QtPlace{ pSubMenu } ) );
                        pItem->uId = pSubMenu == nullptr
                                         ? static_cast<UINT>( QtHandles::Get().NumberOf( &rAction ) )
                                         : 0xFFFFFFFFu;
                        pItem->uState = StateOf( rAction );
                    } );
}

DWORD ReadQtItemText( HMENU hMenu, UINT uItem, LPSTR pText, int nSize )
{
    return ForItem( hMenu, uItem,
                    [&]( QAction& rAction )
                    { CopyText( rAction.text().toUtf8(), pText, static_cast<size_t>( nSize ) ); } );
}

DWORD ChangeQtItemText( HMENU hMenu, UINT uItem, LPCSTR pText )
{
    return ForItem( hMenu, uItem,
                    [&]( QAction& rAction ) { rAction.setText( QString::fromUtf8( pText ) ); } );
}
