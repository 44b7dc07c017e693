// The tour's own voice.
#pragma once

#include <bxtools/export.h>

// One line to standard output, formatted like printf, and out at once: other processes write there, too.
void Narrate( const char* pFormat, ... ) BX_PRINTF_FORMAT( 1, 2 );
