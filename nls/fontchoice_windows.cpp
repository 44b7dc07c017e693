// The library of the common dialogs makes a desktop for each program that loads it; most programs never ask for a font.
#include "core/guards.h"
#include "nls/fontchoice.h"

#include <bxtools/platform.h>

BOOL AskSystemForFont( LPCHOOSEFONTA pChoice )
{
    const LoadedLibrary aDialogs( "COMDLG32.DLL" );
    const auto pChooseFont = aDialogs.Get<decltype( &ChooseFontA )>( "ChooseFontA" );
    return pChooseFont != NULL && pChooseFont( pChoice );
}
