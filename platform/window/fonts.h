// Descriptions of fonts under handles.
#pragma once

#include <bxtools/wintypes.h>

// The handle of such a font, for everybody's use: one that is there already, else a new one, which stays.
// Null when there is no memory, with error 8.
HFONT FindOrMakeFont( const LOGFONTA& rFont );
