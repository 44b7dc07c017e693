// What a user reads of the tour's errors.
#pragma once

#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

// Shows the messages of all errors in one language, and of the last error all there is to read.
//   aTexts  the folder of the language files.
// Result: false when one of them has none.
bool ShowTranslated( const MString& aStream, const MString& aTexts, USHORT usLanguage );
