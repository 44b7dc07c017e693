// A Qt program whose windows, menus and errors change their language in place.
//
//     bxlanguage                  shows the window
//     bxlanguage --grab FOLDER    draws it and the errors, in each language, into PNG files there; needs no display
#include "examples/language/filingdesk.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <cstdio>
#include <cstdlib>

namespace
{

constexpr USHORT GERMAN = 49;
constexpr USHORT ENGLISH = 44;

bool Grab( QWidget& rWindow, const QDir& rFolder, const QString& rName )
{
    const QString aPath = rFolder.filePath( rName + ".png" );
    if ( rWindow.grab().save( aPath ) )
        return true;
    std::fprintf( stderr, "bxlanguage: %s cannot be written\n", qPrintable( aPath ) );
    return false;
}

// The window that shows errors.
QWidget* FindErrors()
{
    for ( QWidget* const pWidget : QApplication::topLevelWidgets() )
    {
        if ( pWidget->objectName() == "BXErrorWindow" && pWidget->isVisible() )
            return pWidget;
    }
    std::fprintf( stderr, "bxlanguage: no errors are shown\n" );
    return nullptr;
}

bool GrabLanguage( FilingDesk& rDesk, USHORT usCountryCode, const QDir& rFolder, const QString& rName )
{
    rDesk.ChangeLanguage( usCountryCode );
    rDesk.show();
    QApplication::processEvents();
    if ( !Grab( rDesk, rFolder, "window-" + rName ) )
        return false;
    rDesk.FileDocument();
    QApplication::processEvents();
    QWidget* const pErrors = FindErrors();
    const bool fGrabbed = pErrors != nullptr && Grab( *pErrors, rFolder, "errors-" + rName );
    if ( pErrors != nullptr )
        pErrors->close();
    return fGrabbed;
}

} // namespace

int main( int nArguments, char** ppArguments )
{
    QApplication aApplication( nArguments, ppArguments );
    QCommandLineParser aParser;
    const QCommandLineOption aGrab( "grab", "Draws the windows into PNG files in a folder.", "folder" );
    aParser.setApplicationDescription( "A window whose language changes while it is open." );
    aParser.addHelpOption();
    aParser.addOption( aGrab );
    aParser.process( aApplication );

    const QByteArray aReleaseFile =
        QDir( QApplication::applicationDirPath() ).filePath( "bxlanguage.nls" ).toLocal8Bit();
    FilingDesk aDesk( aReleaseFile.constData() );
    if ( aParser.isSet( aGrab ) )
    {
        const QDir aFolder( aParser.value( aGrab ) );
        const bool fGrabbed = GrabLanguage( aDesk, ENGLISH, aFolder, "english" ) &&
                              GrabLanguage( aDesk, GERMAN, aFolder, "german" );
        return fGrabbed ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    aDesk.ChangeLanguage( ENGLISH );
    aDesk.show();
    return QApplication::exec();
}
