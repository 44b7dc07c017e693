// Windows: what stands beside, above and below a widget, and what it looks like.
#include "ui/qtoperations.h"
#include "ui/qtwindowtext.h"

#include <QFontInfo>
#include <QPalette>
#include <QTabBar>

namespace
{

constexpr int NOWHERE = -1;

HWND HandleOf( const QtPlace& rPlace )
{
    return reinterpret_cast<HWND>( QtHandles::Get().NumberOf( rPlace ) );
}

// The windows in a widget have positions: first its tabs, if it is a QTabBar, then its child objects, of
// which only some are windows.
class Inside
{
public:
    explicit Inside( QWidget* pParent )
        : m_pParent( pParent ),
          m_nTabs( qobject_cast<QTabBar*>( pParent ) != nullptr ? static_cast<QTabBar*>( pParent )->count()
                                                                : 0 )
    {
    }

    int PositionOf( const QtPlace& rPlace ) const
    {
        if ( rPlace.nTab != QtPlace::WHOLE )
            return rPlace.nTab;
        return m_nTabs + static_cast<int>( m_pParent->children().indexOf( rPlace.pWidget ) );
    }
    // The first window from a position on, by steps of 1 or -1; nothing when there is none.
    QtPlace Search( int nPosition, int nStep ) const
    {
        QtPlace aPlace;
        for ( ; nPosition > NOWHERE && nPosition < GetEnd() && !aPlace; nPosition += nStep )
            aPlace = At( nPosition );
        return aPlace;
    }
    int GetEnd() const { return m_nTabs + static_cast<int>( m_pParent->children().size() ); }

private:
    QtPlace At( int nPosition ) const
    {
        if ( nPosition < m_nTabs )
            return { m_pParent, nPosition };
        QObject* const pChild = m_pParent->children().at( nPosition - m_nTabs );
        QWidget* const pWidget = pChild->isWidgetType() ? static_cast<QWidget*>( pChild ) : nullptr;
        return { pWidget != nullptr && !pWidget->isWindow() ? pWidget : nullptr };
    }

    QWidget* m_pParent;
    int m_nTabs;
};

// Where a window is; null for one that is on its own.
QWidget* ContainerOf( const QtPlace& rPlace )
{
    if ( rPlace.nTab != QtPlace::WHOLE )
        return rPlace.pWidget;
    return rPlace.pWidget->isWindow() ? nullptr : rPlace.pWidget->parentWidget();
}

// The window that one without a container belongs to.
QWidget* OwnerOf( const QtPlace& rPlace )
{
    const bool fAlone = rPlace.nTab == QtPlace::WHOLE && rPlace.pWidget->isWindow();
    return fAlone && rPlace.pWidget->parentWidget() != nullptr ? rPlace.pWidget->parentWidget()->window()
                                                               : nullptr;
}

QtPlace FindSibling( const QtPlace& rPlace, UINT uRelation )
{
    QWidget* const pContainer = ContainerOf( rPlace );
    if ( pContainer == nullptr )
        return uRelation == GW_HWNDFIRST || uRelation == GW_HWNDLAST ? rPlace : QtPlace{};
    const Inside aInside( pContainer );
    switch ( uRelation )
    {
    case GW_HWNDFIRST: return aInside.Search( 0, 1 );
    case GW_HWNDLAST: return aInside.Search( aInside.GetEnd() - 1, -1 );
    case GW_HWNDNEXT: return aInside.Search( aInside.PositionOf( rPlace ) + 1, 1 );
    default: return aInside.Search( aInside.PositionOf( rPlace ) - 1, -1 );
    }
}

QtPlace FindPlace( const QtPlace& rPlace, UINT uRelation )
{
    if ( uRelation == GW_OWNER )
        return { OwnerOf( rPlace ) };
    if ( uRelation != GW_CHILD )
        return FindSibling( rPlace, uRelation );
    return rPlace.nTab == QtPlace::WHOLE ? Inside( rPlace.pWidget ).Search( 0, 1 ) : QtPlace{};
}

} // namespace

DWORD CheckQtWindow( HWND hWindow )
{
    return ForWindow( hWindow, []( const QtPlace& ) -> DWORD { return ERROR_SUCCESS; } );
}

DWORD FindRelatedQtWindow( HWND hWindow, UINT uRelation, HWND* phRelated )
{
    return ForWindow( hWindow,
                      [&]( const QtPlace& rPlace ) -> DWORD
                      {
                          if ( uRelation > GW_CHILD )
                              return ERROR_INVALID_PARAMETER;
                          *phRelated = HandleOf( FindPlace( rPlace, uRelation ) );
                          return ERROR_SUCCESS;
                      } );
}

DWORD FindParentQtWindow( HWND hWindow, HWND* phParent )
{
    return ForWindow( hWindow,
                      [&]( const QtPlace& rPlace ) -> DWORD
                      {
                          QWidget* const pContainer = ContainerOf( rPlace );
                          *phParent = HandleOf( { pContainer != nullptr ? pContainer : OwnerOf( rPlace ) } );
                          return ERROR_SUCCESS;
                      } );
}

DWORD ReadQtText( HWND hWindow, LPSTR pText, int nSize )
{
    return ForWindow( hWindow,
                      [&]( const QtPlace& rPlace ) -> DWORD
                      {
                          CopyText( ReadTextOf( rPlace ).toUtf8(), pText, static_cast<size_t>( nSize ) );
                          return ERROR_SUCCESS;
                      } );
}

DWORD ChangeQtText( HWND hWindow, LPCSTR pText )
{
    return ForWindow( hWindow,
                      [&]( const QtPlace& rPlace ) -> DWORD
                      {
                          ChangeTextOf( rPlace, QString::fromUtf8( pText ) );
                          return ERROR_SUCCESS;
                      } );
}

DWORD ReadQtFont( HWND hWindow, LOGFONTA* pFont )
{
    return ForWindow( hWindow,
                      [&]( const QtPlace& rPlace ) -> DWORD
                      {
                          *pFont = DescribeFont( rPlace.pWidget->font() );
                          return ERROR_SUCCESS;
                      } );
}

DWORD ChangeQtFont( HWND hWindow, const LOGFONTA* pFont, BOOL fRedraw )
{
    return ForWindow( hWindow,
                      [&]( const QtPlace& rPlace ) -> DWORD
                      {
                          rPlace.pWidget->setFont( MakeFont( rPlace.pWidget->font(), *pFont ) );
                          if ( fRedraw )
                              rPlace.pWidget->update();
                          return ERROR_SUCCESS;
                      } );
}

DWORD ChangeQtTextColor( HWND hWindow, COLORREF aColor, COLORREF* pBefore )
{
    return ForWindow( hWindow,
                      [&]( const QtPlace& rPlace ) -> DWORD
                      {
                          const QPalette::ColorRole aRole = rPlace.pWidget->foregroundRole();
                          QPalette aPalette = rPlace.pWidget->palette();
                          *pBefore = DescribeColor( aPalette.color( aRole ) );
                          aPalette.setColor( aRole, MakeColor( aColor ) );
                          rPlace.pWidget->setPalette( aPalette );
                          return ERROR_SUCCESS;
                      } );
}
