// Who shows the user the folders to choose from: the system on Windows, the window system that is installed on Linux.
#pragma once

#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

// What is asked.
struct FolderQuestion
{
    HWND hWndParent;
    LPCTSTR pTitle;
    LPCTSTR pInitialFolder; // selected at first; NULL: none is
};

enum class FolderAnswer
{
    Chosen,
    Cancelled,
    NoPath,    // what was chosen has no path, or one that is too long
    NoBrowser, // there is nothing to show folders with, or not in this thread
};

// Asks and waits. aFolder gets the path of what was chosen. May throw where there is no memory.
FolderAnswer AskSystemForFolder( const FolderQuestion& rQuestion, MString& aFolder );
