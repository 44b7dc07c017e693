#include "ui/qtwindowtext.h"

#include <QAbstractButton>
#include <QAction>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QTabBar>
#include <QToolButton>

namespace
{

// How the widgets of a class say their text.
struct TextKind
{
    bool ( *Fits )( QWidget* pWidget );
    QString ( *Read )( QWidget* pWidget );
    void ( *Change )( QWidget* pWidget, const QString& rText );
};

template <class Widget>
Widget* As( QWidget* pWidget )
{
    return qobject_cast<Widget*>( pWidget );
}

template <class Widget, QString ( Widget::*pRead )() const, void ( Widget::*pChange )( const QString& )>
constexpr TextKind KIND = { []( QWidget* p ) { return As<Widget>( p ) != nullptr; },
                            []( QWidget* p ) { return ( As<Widget>( p )->*pRead )(); },
                            []( QWidget* p, const QString& rText )
                            { ( As<Widget>( p )->*pChange )( rText ); } };

QAction* ActionOf( QWidget* pWidget )
{
    const QToolButton* const pButton = As<QToolButton>( pWidget );
    return pButton != nullptr ? pButton->defaultAction() : nullptr;
}

// A button that shows an action takes its text from it, again and again.
constexpr TextKind ACTION_KIND = { []( QWidget* p ) { return ActionOf( p ) != nullptr; },
                                   []( QWidget* p ) { return ActionOf( p )->text(); },
                                   []( QWidget* p, const QString& rText )
                                   { ActionOf( p )->setText( rText ); } };

// The first that fits counts; the last one fits all.
constexpr TextKind g_aKinds[] = { ACTION_KIND,
                                  KIND<QAbstractButton, &QAbstractButton::text, &QAbstractButton::setText>,
                                  KIND<QLabel, &QLabel::text, &QLabel::setText>,
                                  KIND<QGroupBox, &QGroupBox::title, &QGroupBox::setTitle>,
                                  KIND<QMenu, &QMenu::title, &QMenu::setTitle>,
                                  KIND<QWidget, &QWidget::windowTitle, &QWidget::setWindowTitle> };

const TextKind& KindOf( QWidget* pWidget )
{
    const TextKind* pKind = g_aKinds;
    while ( !pKind->Fits( pWidget ) )
        ++pKind;
    return *pKind;
}

} // namespace

QString ReadTextOf( const QtPlace& rPlace )
{
    if ( rPlace.nTab != QtPlace::WHOLE )
        return As<QTabBar>( rPlace.pWidget )->tabText( rPlace.nTab );
    return KindOf( rPlace.pWidget ).Read( rPlace.pWidget );
}

void ChangeTextOf( const QtPlace& rPlace, const QString& rText )
{
    // What would stay as it is shall not set off anything either.
    if ( ReadTextOf( rPlace ) == rText )
        return;
    if ( rPlace.nTab != QtPlace::WHOLE )
        As<QTabBar>( rPlace.pWidget )->setTabText( rPlace.nTab, rText );
    else
        KindOf( rPlace.pWidget ).Change( rPlace.pWidget, rText );
}
