// Who lets the user choose a font: a library of the system's on Windows, the window system that is installed on Linux.
#pragma once

#include <bxtools/wintypes.h>

// As ChooseFontA.
BOOL AskSystemForFont( LPCHOOSEFONTA pChoice );
