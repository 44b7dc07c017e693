// What the walks over windows and menus have in common.
#pragma once

#include "core/guards.h"

#include <bxtools/mstring.h>
#include <bxtools/nlswindow.h>

class CallReport;

// How texts are translated on a walk, and the text at hand.
class NlsWalk
{
public:
    NlsWalk( LPCTSTR lpszSec, LPCTSTR lpszSecCom, int nMode );

    // FALSE, with the reason in rReport, when the arguments make no walk. May throw.
    BOOL Begin( CallReport& rReport );

    // Receives the text of a window or item: GlobalBufLen characters.
    LPTSTR GetBuffer() const { return m_pBuf.get(); }
    // The text in the buffer in the user's language; empty for an empty one. May throw.
    MString Translate() const;
    // Looks up the font for the text in the buffer, when that is wanted.
    void LookUpFont() const;

private:
    bool HasMode( int nFlag ) const { return ( m_nMode & nFlag ) == nFlag; }

    LPCTSTR m_lpszSec;
    LPCTSTR m_lpszSecCom;
    int m_nMode;
    MString m_aFontSec;
    MString m_aFontSecCom;
    TCHARBuffer m_pBuf;
};

// A walk cannot begin with hObject; adds the system's reason.
BOOL FailNlsWalk( CallReport& rReport, LPCTSTR pText );
