// One tree of windows and one menu, as each system makes them; what the calls say of them is to be the same.
#pragma once

#include <bxtools/platform.h>

#include <memory>

// A window "top" with the windows "first", "second" and "third" in it, in this order, and a dialog that belongs to it. A menu
// with the items "Open" and a tab and "Ctrl+O", grayed; a separator; "Checked", checked; and "More", a menu of one item.
class WindowObjects
{
public:
    WindowObjects();
    ~WindowObjects();
    WindowObjects( const WindowObjects& ) = delete;
    WindowObjects& operator=( const WindowObjects& ) = delete;

    HWND GetTop() const;
    HWND GetDialog() const;
    HMENU GetMenuBar() const;
    // Destroys the window "third" and the menu behind "More".
    void EndSome();

private:
    struct State;
    const std::unique_ptr<State> m_pState;
};
