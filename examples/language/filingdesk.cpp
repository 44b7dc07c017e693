#include "examples/language/filingdesk.h"

#include <bxtools/error.h>
#include <bxtools/nlsserver.h>
#include <bxtools/nlswindow.h>
#include <bxtools/platform.h>
#include <bxtools/qt_windows.h>

#include <QActionGroup>
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace
{

struct Language
{
    const char* pName; // in itself, so that it needs no translation
    USHORT usCountryCode;
};
constexpr Language g_aLanguages[] = { { "Deutsch", 49 }, { "English", 44 } };

constexpr char ERROR_CLASS[] = "BXLANGUAGE.ERRORS";
constexpr ERR ERROR_NOT_FILED = 1;

} // namespace

FilingDesk::FilingDesk( LPCTSTR pReleaseFile ) : m_pReleaseFile( pReleaseFile )
{
    setWindowTitle( "Filing desk" );
    MakeMenus();
    auto* const pTabs = new QTabWidget;
    pTabs->addTab( MakeForm(), "Document" );
    pTabs->addTab( new QLabel( "Nothing has been filed yet." ), "History" );
    setCentralWidget( pTabs );
    m_aKeys.RememberWindow( HandleOfWidget( this ) );
    m_aKeys.RememberMenu( HandleOfMenu( menuBar() ) );
}

void FilingDesk::MakeMenus()
{
    QMenu* const pFile = menuBar()->addMenu( "&File" );
    pFile->addAction( "&Open..." )->setShortcut( QKeySequence::Open );
    pFile->addMenu( "&Recent" );
    pFile->addSeparator();
    pFile->addAction( "&Quit", QKeySequence::Quit, this, &QWidget::close );
    QMenu* const pLanguages = menuBar()->addMenu( "&Language" );
    auto* const pGroup = new QActionGroup( this );
    for ( const Language& rLanguage : g_aLanguages )
    {
        const auto Change = [this, usCode = rLanguage.usCountryCode] { ChangeLanguage( usCode ); };
        QAction* const pAction = pLanguages->addAction( rLanguage.pName, this, Change );
        pAction->setCheckable( true );
        pGroup->addAction( pAction );
    }
    menuBar()->addMenu( "&Help" )->addAction( "Show an &error", this, &FilingDesk::FileDocument );
}

QWidget* FilingDesk::MakeForm()
{
    auto* const pGroup = new QGroupBox( "New document" );
    auto* const pForm = new QFormLayout( pGroup );
    pForm->addRow( "&Title:", new QLineEdit( "Offer 2041" ) );
    pForm->addRow( "&Keywords:", new QLineEdit );
    pForm->addRow( new QCheckBox( "Keep a &copy in the folder" ) );
    auto* const pFileIt = new QPushButton( "&File it" );
    connect( pFileIt, &QPushButton::clicked, this, &FilingDesk::FileDocument );
    pForm->addRow( pFileIt );
    pForm->addRow( new QPushButton( "&Discard" ) );
    auto* const pPage = new QWidget;
    ( new QVBoxLayout( pPage ) )->addWidget( pGroup );
    return pPage;
}

void FilingDesk::ChangeLanguage( USHORT usCountryCode )
{
    NlsSettings aSettings;
    aSettings.stReleaseFile = m_pReleaseFile;
    aSettings.usCountryCode = usCountryCode;
    SetNlsSettings( &aSettings );
    m_aKeys.PutBack();
    Translate();
}

void FilingDesk::Translate()
{
    NlsInitWndObject( HandleOfWidget( this ), "BXLANGUAGE.MAINWINDOW", "", NLSWNDOBJMODE_REPLACE );
    NlsInitMenuObject( HandleOfMenu( menuBar() ), "BXLANGUAGE.MAINMENU", "", NLSWNDOBJMODE_STD );
}

void FilingDesk::FileDocument()
{
    SetLastErr( ERROR_CLASS, ERROR_NOT_FILED, 0, "", "/srv/documents/2041", "Offer 2041" );
    SetLastErr( ERRCLS_SYS_LASTERROR, 0, ERROR_DISK_FULL, "", "", "" );
    DisplayError( HandleOfWidget( this ), TRUE );
}
