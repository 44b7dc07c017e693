#include "nls/fontchoice.h"

#include <bxtools/platform.h>

BOOL AskSystemForFont( LPCHOOSEFONTA pChoice )
{
    return ChooseFontA( pChoice );
}
