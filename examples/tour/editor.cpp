// bxtour-editor: edits the tour's settings file under the name that it reads from standard input.

#include "examples/tour/bytepipe.h"
#include "examples/tour/settings.h"

int main()
{
    return EditSettings( ReadStandardInput() ) ? 0 : 1;
}
