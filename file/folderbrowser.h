// Who shows the user the folders to choose from: the system, or a window system that has put itself in its place.
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
    NoPath,    // what was chosen has no path
    NoBrowser, // there is nothing to show folders with
};

// Asks and waits. aFolder gets the path of what was chosen. May throw where there is no memory.
using FolderBrowser = FolderAnswer ( * )( const FolderQuestion& rQuestion, MString& aFolder );

// The system's own.
FolderAnswer AskSystemForFolder( const FolderQuestion& rQuestion, MString& aFolder );

// Puts another one in its place for the process; NULL puts the system's back. It must stay callable until then.
void SetFolderBrowser( FolderBrowser pBrowser ) noexcept;
