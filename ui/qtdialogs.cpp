// Dialogs that wait for the user. Each is on the heap under a guarded pointer, because its parent may be
// destroyed, and take it along, while it waits.
#include "ui/qtoperations.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QFontDialog>
#include <QFontInfo>
#include <QMessageBox>

namespace
{

template <class Dialog>
class OwnDialog
{
public:
    template <class... Arguments>
    explicit OwnDialog( Arguments... aArguments ) : m_pDialog( new Dialog( aArguments... ) )
    {
    }
    ~OwnDialog() { delete m_pDialog.data(); }
    OwnDialog( const OwnDialog& ) = delete;
    OwnDialog& operator=( const OwnDialog& ) = delete;

    Dialog* operator->() const { return m_pDialog.data(); }
    // Shows it and waits. False when the user wants nothing of it, or it is gone.
    bool Ask() const
    {
        const int nResult = m_pDialog->exec();
        return m_pDialog != nullptr && nResult != QDialog::Rejected;
    }

private:
    QPointer<Dialog> m_pDialog;
};

QWidget* ParentOf( HWND hParent )
{
    return QtHandles::Get().Find( reinterpret_cast<uintptr_t>( hParent ) ).pWidget;
}

// ---- message box ------------------------------------------------------------------------------------------

constexpr UINT BUTTONS_MASK = 0x0F;
constexpr UINT ICON_MASK = 0xF0;

struct MessageButtons
{
    QMessageBox::StandardButtons aButtons;
    QMessageBox::StandardButton aDefault; // the first, as on Windows
    QMessageBox::StandardButton aEscape;  // for a box that is closed
};

// MB_OK to MB_RETRYCANCEL.
constexpr MessageButtons g_aButtons[] = {
    { QMessageBox::Ok, QMessageBox::Ok, QMessageBox::Ok },
    { QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok, QMessageBox::Cancel },
    { QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore, QMessageBox::Abort, QMessageBox::Abort },
    { QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes, QMessageBox::Cancel },
    { QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes, QMessageBox::No },
    { QMessageBox::Retry | QMessageBox::Cancel, QMessageBox::Retry, QMessageBox::Cancel },
};

struct Answer
{
    int nButton;
    int nId;
};
constexpr Answer g_aAnswers[] = { { QMessageBox::Ok, IDOK },         { QMessageBox::Cancel, IDCANCEL },
                                  { QMessageBox::Abort, IDABORT },   { QMessageBox::Retry, IDRETRY },
                                  { QMessageBox::Ignore, IDIGNORE }, { QMessageBox::Yes, IDYES },
                                  { QMessageBox::No, IDNO } };

QMessageBox::Icon IconOf( UINT uType )
{
    switch ( uType & ICON_MASK )
    {
    case MB_ICONERROR: return QMessageBox::Critical;
    case MB_ICONQUESTION: return QMessageBox::Question;
    case MB_ICONWARNING: return QMessageBox::Warning;
    case MB_ICONINFORMATION: return QMessageBox::Information;
    default: return QMessageBox::NoIcon;
    }
}

int IdOf( int nButton )
{
    for ( const Answer& rAnswer : g_aAnswers )
    {
        if ( rAnswer.nButton == nButton )
            return rAnswer.nId;
    }
    return 0;
}

// ---- font -------------------------------------------------------------------------------------------------

constexpr int TENTHS_OF_A_POINT = 10;

void ChooseColor( CHOOSEFONTA& rChoice, QWidget* pParent )
{
    const OwnDialog<QColorDialog> aDialog( MakeColor( rChoice.rgbColors ), pParent );
    if ( aDialog.Ask() )
        rChoice.rgbColors = DescribeColor( aDialog->selectedColor() );
}

} // namespace

DWORD ShowQtMessage( HWND hParent, LPCSTR pText, LPCSTR pCaption, UINT uType, int* pnAnswer )
{
    return InWindowThread(
        [&]() -> DWORD
        {
            const MessageButtons& rButtons = g_aButtons[uType & BUTTONS_MASK];
            const OwnDialog<QMessageBox> aBox( ParentOf( hParent ) );
            aBox->setTextFormat( Qt::PlainText );
            aBox->setWindowTitle( QString::fromUtf8( pCaption ) );
            aBox->setText( QString::fromUtf8( pText ) );
            aBox->setIcon( IconOf( uType ) );
            aBox->setStandardButtons( rButtons.aButtons );
            aBox->setDefaultButton( rButtons.aDefault );
            aBox->setEscapeButton( rButtons.aEscape );
            const int nId = IdOf( aBox->exec() );
            *pnAnswer = nId != 0 ? nId : IdOf( rButtons.aEscape );
            return ERROR_SUCCESS;
        } );
}

DWORD ChooseQtFolder( HWND hParent, LPCSTR pTitle, LPCSTR pInitialFolder, LPSTR pPath, UINT uSize )
{
    return InWindowThread(
        [&]() -> DWORD
        {
            const OwnDialog<QFileDialog> aDialog( ParentOf( hParent ), QString::fromUtf8( pTitle ),
                                                  QFile::decodeName( pInitialFolder ) );
            aDialog->setFileMode( QFileDialog::Directory );
            aDialog->setOption( QFileDialog::ShowDirsOnly );
            if ( !aDialog.Ask() || aDialog->selectedFiles().isEmpty() )
                return ERROR_CANCELLED;
            return CopyText( QFile::encodeName( aDialog->selectedFiles().first() ), pPath, uSize )
                       ? ERROR_SUCCESS
                       : ERROR_FILENAME_EXCED_RANGE;
        } );
}

DWORD ChooseQtFont( CHOOSEFONTA* pChoice )
{
    return InWindowThread(
        [&]() -> DWORD
        {
            QWidget* const pParent = ParentOf( pChoice->hwndOwner );
            const OwnDialog<QFontDialog> aDialog( pParent );
            if ( ( pChoice->Flags & CF_INITTOLOGFONTSTRUCT ) != 0 )
                aDialog->setCurrentFont( MakeFont( aDialog->currentFont(), *pChoice->lpLogFont ) );
            if ( !aDialog.Ask() )
                return ERROR_CANCELLED;
            const QFont aFont = aDialog->selectedFont();
            *pChoice->lpLogFont = DescribeFont( aFont );
            pChoice->iPointSize = qRound( QFontInfo( aFont ).pointSizeF() * TENTHS_OF_A_POINT );
            if ( ( pChoice->Flags & CF_EFFECTS ) != 0 )
                ChooseColor( *pChoice, ParentOf( pChoice->hwndOwner ) );
            return ERROR_SUCCESS;
        } );
}
