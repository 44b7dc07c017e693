// The window that shows errors, a page for each.
#pragma once

#include <bxtools/window_system.h>

#include <QDialog>
#include <QString>
#include <memory>
#include <vector>

class QDialogButtonBox;
class QLabel;
class QPushButton;
class QStackedWidget;

// What it shows, as texts of its own, so that it can be made later and in another thread than its errors.
struct QtErrors
{
    struct Page
    {
        QString aPosition;
        QString aText;
        QString aDetails;
        QString aHelp;
    };
    struct Labels
    {
        QString aTitle;
        QString aPrevious;
        QString aNext;
        QString aCopy;
        QString aClose;
        QString aDetails;
        QString aHelp;
    };

    QtErrors( const WindowSystemError* pErrors, ULONG ulCount, const WindowSystemErrorLabels& rLabels );

    std::vector<Page> aPages;
    Labels aLabels;
    QString aWhole; // all of it as plain text
};

// Everything can be reached by keyboard: Tab goes round, Alt+Left and Alt+Right turn the pages, Ctrl+C copies
// all pages where no part of a text is selected, Escape closes.
class QtErrorWindow : public QDialog
{
public:
    QtErrorWindow( std::shared_ptr<const QtErrors> pErrors, QWidget* pParent );

private:
    QWidget* MakePage( const QtErrors::Page& rPage ) const;
    void AddButtons( QDialogButtonBox& rBox );
    void TurnTo( size_t nPage );

    const std::shared_ptr<const QtErrors> m_pErrors;
    std::vector<QWidget*> m_aPages; // null until it is shown: there may be tens of thousands
    size_t m_nShown = 0;
    QLabel* m_pPosition;
    QStackedWidget* m_pPages;
    QPushButton* m_pPrevious;
    QPushButton* m_pNext;
};
