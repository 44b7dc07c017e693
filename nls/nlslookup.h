// The lookup behind every function that hands out a text: the thread's server is asked for the section and then for the
// common section.
#pragma once

#include "nls/nlsperthread.h"

#include <string_view>

struct NlsText
{
    // The text; the caller's own key where there is none, NULL for a null key. Valid as long as this object, and until the
    // thread's next lookup.
    LPCTSTR pText = NULL;
    // Whether it is the text of one of the sections.
    BOOL fFound = FALSE;
    // Why nothing could be looked up, NULL otherwise. Told to nobody: the key stands in for the text.
    LPCTSTR pError = NULL;
    // Whose the text is.
    HeldNLSServer aServer{};
};

//   pstSec     the section; NULL is "".
//   pstSecCom  the common section; NULL or empty: there is none.
//   pstKey     not part of a text that a lookup gave.
// A key that has no text is told to the library's debug hook when the server's debug flag is set.
// Threads: any. The last error is preserved. Throws nothing but the forced unwinding of a cancelled thread.
NlsText LookUpNlsText( LPCTSTR pstSec, LPCTSTR pstSecCom, LPCTSTR pstKey );
// The same of texts whose lengths are known. A zero stands behind the key.
NlsText LookUpNlsText( std::string_view aSection, std::string_view aCommonSection, std::string_view aKey );
