#include "ui/qterrorwindow.h"

#include "ui/errortext.h"
#include "ui/qtoperations.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>
#include <utility>

namespace
{

constexpr QSize WINDOW_SIZE( 560, 400 );
constexpr int TEXT_SHARE = 3; // of the height, beside one share for the details

// A text that can be read and copied with mouse and keyboard, and that Tab leaves.
QPlainTextEdit* MakeText( const QString& rText, const QString& rName )
{
    auto* const pText = new QPlainTextEdit( rText );
    pText->setReadOnly( true );
    pText->setTabChangesFocus( true );
    pText->setTextInteractionFlags( Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard );
    pText->setAccessibleName( rName );
    return pText;
}

QLabel* MakeLabel( const QString& rText )
{
    auto* const pLabel = new QLabel( rText );
    pLabel->setTextFormat( Qt::PlainText );
    return pLabel;
}

// Copies what is selected in the text that has the focus; a shortcut of the window comes before the text's own.
// Result: false when there is nothing.
bool CopySelection()
{
    QWidget* const pFocus = QApplication::focusWidget();
    auto* const pText = qobject_cast<QPlainTextEdit*>( pFocus );
    const auto* const pLabel = qobject_cast<QLabel*>( pFocus );
    if ( pText != nullptr && pText->textCursor().hasSelection() )
        pText->copy();
    else if ( pLabel != nullptr && pLabel->hasSelectedText() )
        QApplication::clipboard()->setText( pLabel->selectedText() );
    else
        return false;
    return true;
}

QString ToQt( const std::string& rText )
{
    return QString::fromUtf8( rText.data(), static_cast<qsizetype>( rText.size() ) );
}

void ShowModeless( const std::shared_ptr<const QtErrors>& pErrors, HWND hParent )
{
    QWidget* const pParent = QtHandles::Get().Find( reinterpret_cast<uintptr_t>( hParent ) ).pWidget;
    auto* const pWindow = new QtErrorWindow( pErrors, pParent );
    pWindow->setAttribute( Qt::WA_DeleteOnClose );
    pWindow->show();
}

void ShowModal( const std::shared_ptr<const QtErrors>& pErrors, HWND hParent )
{
    QWidget* const pParent = QtHandles::Get().Find( reinterpret_cast<uintptr_t>( hParent ) ).pWidget;
    // Its parent may be destroyed, and take it along, while it waits.
    const QPointer<QtErrorWindow> pWindow( new QtErrorWindow( pErrors, pParent ) );
    pWindow->exec();
    delete pWindow.data();
}

// The window is made when the windows' thread comes to it.
DWORD ShowLater( std::shared_ptr<const QtErrors> pErrors, HWND hParent )
{
    QCoreApplication* const pApplication = QCoreApplication::instance();
    if ( pApplication == nullptr )
        return ERROR_CALL_NOT_IMPLEMENTED;
    const bool fQueued = QMetaObject::invokeMethod(
        pApplication,
        [pErrors, hParent] { Guarded( [&]() -> DWORD { return ShowModeless( pErrors, hParent ), 0; } ); },
        Qt::QueuedConnection );
    return fQueued ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

} // namespace

QtErrors::QtErrors( const WindowSystemError* pErrors, ULONG ulCount, const WindowSystemErrorLabels& rLabels )
    : aLabels{ QString::fromUtf8( rLabels.pTitle ), QString::fromUtf8( rLabels.pPrevious ),
               QString::fromUtf8( rLabels.pNext ),  QString::fromUtf8( rLabels.pCopy ),
               QString::fromUtf8( rLabels.pClose ), QString::fromUtf8( rLabels.pDetails ),
               QString::fromUtf8( rLabels.pHelp ) },
      aWhole( ToQt( ComposeErrors( pErrors, ulCount, rLabels ) ) )
{
    for ( ULONG i = 0; i < ulCount; ++i )
    {
        const bool fHelp = *pErrors[i].pHelpFile != '\0';
        aPages.push_back( { ToQt( FillPosition( rLabels.pPosition, i + 1, ulCount ) ),
                            ToQt( TrimLines( pErrors[i].pText ) ), ToQt( TrimLines( pErrors[i].pDetails ) ),
                            fHelp ? ToQt( ComposeHelp( pErrors[i] ) ) : QString() } );
    }
}

QtErrorWindow::QtErrorWindow( std::shared_ptr<const QtErrors> pErrors, QWidget* pParent )
    : QDialog( pParent ),
      m_pErrors( std::move( pErrors ) ),
      m_aPages( m_pErrors->aPages.size() ),
      m_pPosition( MakeLabel( {} ) ),
      m_pPages( new QStackedWidget ),
      m_pPrevious( new QPushButton( m_pErrors->aLabels.aPrevious ) ),
      m_pNext( new QPushButton( m_pErrors->aLabels.aNext ) )
{
    setObjectName( "BXErrorWindow" );
    setWindowTitle( m_pErrors->aLabels.aTitle );
    auto* const pLayout = new QVBoxLayout( this );
    auto* const pHead = new QHBoxLayout;
    auto* const pIcon = new QLabel;
    pIcon->setPixmap( style()->standardIcon( QStyle::SP_MessageBoxCritical ).pixmap( 32 ) );
    pHead->addWidget( pIcon );
    pHead->addWidget( m_pPosition, 1 );
    auto* const pButtons = new QDialogButtonBox;
    pLayout->addLayout( pHead );
    pLayout->addWidget( m_pPages, 1 );
    pLayout->addWidget( pButtons );
    TurnTo( 0 );
    AddButtons( *pButtons );
    resize( WINDOW_SIZE );
}

QWidget* QtErrorWindow::MakePage( const QtErrors::Page& rPage ) const
{
    const QtErrors::Labels& rLabels = m_pErrors->aLabels;
    auto* const pPage = new QWidget;
    auto* const pLayout = new QVBoxLayout( pPage );
    pLayout->setContentsMargins( 0, 0, 0, 0 );
    pLayout->addWidget( MakeText( rPage.aText, rPage.aPosition ), TEXT_SHARE );
    if ( !rPage.aDetails.isEmpty() )
    {
        pLayout->addWidget( MakeLabel( rLabels.aDetails + ":" ) );
        pLayout->addWidget( MakeText( rPage.aDetails, rLabels.aDetails ), 1 );
    }
    if ( !rPage.aHelp.isEmpty() )
    {
        QLabel* const pHelp = MakeLabel( rLabels.aHelp + ": " + rPage.aHelp );
        pHelp->setTextInteractionFlags( Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard );
        pLayout->addWidget( pHelp );
    }
    return pPage;
}

void QtErrorWindow::AddButtons( QDialogButtonBox& rBox )
{
    QPushButton* const pCopy = new QPushButton( m_pErrors->aLabels.aCopy );
    QPushButton* const pClose = new QPushButton( m_pErrors->aLabels.aClose );
    rBox.addButton( m_pPrevious, QDialogButtonBox::ActionRole );
    rBox.addButton( m_pNext, QDialogButtonBox::ActionRole );
    rBox.addButton( pCopy, QDialogButtonBox::ActionRole );
    rBox.addButton( pClose, QDialogButtonBox::RejectRole );
    const auto Copy = [this] { QApplication::clipboard()->setText( m_pErrors->aWhole ); };
    const auto GoBack = [this]
    {
        if ( m_nShown > 0 )
            TurnTo( m_nShown - 1 );
    };
    const auto GoOn = [this]
    {
        if ( m_nShown + 1 < m_aPages.size() )
            TurnTo( m_nShown + 1 );
    };
    connect( pCopy, &QPushButton::clicked, this, Copy );
    connect( pClose, &QPushButton::clicked, this, &QDialog::reject );
    connect( m_pPrevious, &QPushButton::clicked, this, GoBack );
    connect( m_pNext, &QPushButton::clicked, this, GoOn );
    connect( new QShortcut( QKeySequence::Copy, this ), &QShortcut::activated, this,
             [Copy]
             {
                 if ( !CopySelection() )
                     Copy();
             } );
    connect( new QShortcut( Qt::ALT | Qt::Key_Left, this ), &QShortcut::activated, this, GoBack );
    connect( new QShortcut( Qt::ALT | Qt::Key_Right, this ), &QShortcut::activated, this, GoOn );
    const bool fSeveral = m_aPages.size() > 1;
    m_pPrevious->setVisible( fSeveral );
    m_pNext->setVisible( fSeveral );
    pClose->setDefault( true );
    pClose->setFocus();
}

void QtErrorWindow::TurnTo( size_t nPage )
{
    const QtErrors::Page& rPage = m_pErrors->aPages.at( nPage );
    QWidget*& rpWidget = m_aPages.at( nPage );
    if ( rpWidget == nullptr )
    {
        rpWidget = MakePage( rPage );
        m_pPages->addWidget( rpWidget );
    }
    m_nShown = nPage;
    m_pPages->setCurrentWidget( rpWidget );
    m_pPosition->setText( rPage.aPosition );
    m_pPrevious->setEnabled( nPage > 0 );
    m_pNext->setEnabled( nPage + 1 < m_aPages.size() );
}

DWORD ShowQtErrors( HWND hParent, BOOL fModeless, const WindowSystemError* pErrors, ULONG ulCount,
                    const WindowSystemErrorLabels* pLabels )
{
    if ( ulCount == 0 )
        return ERROR_INVALID_PARAMETER;
    if ( !fModeless && !IsWindowThread() )
        return ERROR_INVALID_THREAD_ID;
    return Guarded(
        [&]() -> DWORD
        {
            const auto pShown = std::make_shared<const QtErrors>( pErrors, ulCount, *pLabels );
            if ( !IsWindowThread() )
                return ShowLater( pShown, hParent );
            ( fModeless ? ShowModeless : ShowModal )( pShown, hParent );
            return ERROR_SUCCESS;
        } );
}
