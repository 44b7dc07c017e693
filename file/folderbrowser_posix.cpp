// Without a window system there is nothing to show folders with.
#include "file/folderbrowser.h"

FolderAnswer AskSystemForFolder( const FolderQuestion&, MString& )
{
    return FolderAnswer::NoBrowser;
}
