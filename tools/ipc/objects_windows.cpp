#include "tools/ipc/objects.h"
#include "tools/toolfailure.h"

std::vector<SharedObject> ReadSharedObjects( bool )
{
    throw ToolFailure( ExitCode::Input, "the system's own tools list named objects here, bxtool does not" );
}
