// A window of a document program, which changes its language while it is open.
#pragma once

#include "examples/language/keyedtexts.h"

#include <QMainWindow>

class FilingDesk : public QMainWindow
{
public:
    // pReleaseFile  the texts; must stay valid.
    explicit FilingDesk( LPCTSTR pReleaseFile );

    // usCountryCode  49 German, 44 English.
    void ChangeLanguage( USHORT usCountryCode );
    // Files a document, which goes wrong, and shows the errors.
    void FileDocument();

private:
    void MakeMenus();
    QWidget* MakeForm();
    void Translate();

    LPCTSTR m_pReleaseFile;
    KeyedTexts m_aKeys;
};
