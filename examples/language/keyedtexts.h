// The texts that windows and menus were made with, which are the keys of their translations.
#pragma once

#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

#include <vector>

class KeyedTexts
{
public:
    // Remembers the texts of a window and of all that is in it, and of a menu with its submenus.
    void RememberWindow( HWND hWindow );
    void RememberMenu( HMENU hMenu );

    // Gives every window and item that is still there its key back, so that it can be translated anew.
    void PutBack() const;

private:
    struct WindowKey
    {
        HWND hWindow;
        MString aKey;
    };
    struct ItemKey
    {
        HMENU hMenu;
        UINT uItem;
        MString aKey;
    };

    std::vector<WindowKey> m_aWindows;
    std::vector<ItemKey> m_aItems;
};
