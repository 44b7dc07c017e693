// A Qt program without a display, with texts in two languages.
#pragma once

#include "support/languagefiles.h"
#include "support/scratchfolder.h"

#include <bxtools/nlsserver.h>
#include <bxtools/qt_windows.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QTimer>
#include <filesystem>

class QtTest : public ::testing::Test
{
protected:
    QtTest()
    {
        WriteBytes( m_aFolder.Path( "EDITOR.CSV" ),
                    "Key;German=049;English=044\n"
                    "[WINDOW]\nTITLE=Titel;Title\nNAME=Name;Name\nLINES=eins\\nzwei;\n"
                    "[MENU]\nFILE=&Datei;&File\nOPEN\tCTRL+O=Öffnen\tStrg+O;\n"
                    "[COMMON]\nCLOSE=Schließen;Close\n" );
        SetLanguage( 49 );
    }
    ~QtTest() override { SetNlsSettings( NULL ); }

    void SetLanguage( USHORT usCountryCode ) { UseLanguageFiles( m_aFolder.Path(), usCountryCode ); }

    // One text of a release file is all there is, in German. A help section's semicolon has no place in a language file.
    void UseReleaseFile( const char* pKey, const char* pText )
    {
        NlsSettings aSettings;
        aSettings.stReleaseFile = m_aFolder.Path( "release.nls" ).c_str();
        aSettings.usCountryCode = 49;
        EXPECT_TRUE( NLSServer( 32, aSettings.stReleaseFile ).WriteStringValue( pKey, pText ) );
        SetNlsSettings( &aSettings );
    }

    // Runs while the next dialog waits.
    template <class Function>
    static void WhileItWaits( Function aFunction )
    {
        QTimer::singleShot( 0, aFunction );
    }

private:
    // Qt wants a folder of the user's own, and makes one where it is not told of any.
    static bool Prepare( const std::string& strFolder )
    {
        std::filesystem::permissions( strFolder, std::filesystem::perms::owner_all );
        return qputenv( "XDG_RUNTIME_DIR", strFolder.c_str() ) && qputenv( "QT_QPA_PLATFORM", "offscreen" );
    }

    ScratchFolder m_aFolder;
    const ScratchFolder m_aRuntimeFolder;
    const bool m_fPrepared = Prepare( m_aRuntimeFolder.Path() );
    int m_nArguments = 1;
    char m_szName[5] = "test";
    char* m_apArguments[2] = { m_szName, nullptr };
    QApplication m_aApplication{ m_nArguments, m_apArguments };
};
