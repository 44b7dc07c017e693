#include "platform/windowobjects.h"

namespace
{
constexpr UINT FIRST_ID = 100;

HWND Make( const char* pText, DWORD dwStyle, HWND hParent )
{
    return CreateWindowExA( 0, "STATIC", pText, dwStyle, 0, 0, 10, 10, hParent, NULL,
                            GetModuleHandleA( NULL ), NULL );
}
} // namespace

struct WindowObjects::State
{
    HWND hTop = Make( "top", WS_OVERLAPPEDWINDOW, NULL );
    HWND hFirst = Make( "first", WS_CHILD, hTop );
    HWND hSecond = Make( "second", WS_CHILD, hTop );
    HWND hThird = Make( "third", WS_CHILD, hTop );
    HWND hDialog = Make( "", WS_POPUP, hTop );
    HMENU hBar = CreateMenu();
    HMENU hMore = CreatePopupMenu();
};

WindowObjects::WindowObjects() : m_pState( new State )
{
    const HMENU hBar = m_pState->hBar;
    AppendMenuA( hBar, MF_STRING | MF_GRAYED, FIRST_ID, "Open\tCtrl+O" );
    AppendMenuA( hBar, MF_SEPARATOR, 0, NULL );
    AppendMenuA( hBar, MF_STRING | MF_CHECKED, FIRST_ID + 1, "Checked" );
    AppendMenuA( hBar, MF_POPUP, reinterpret_cast<UINT_PTR>( m_pState->hMore ), "More" );
    AppendMenuA( m_pState->hMore, MF_STRING, FIRST_ID + 2, "inner" );
}

WindowObjects::~WindowObjects()
{
    DestroyMenu( m_pState->hBar );
    DestroyWindow( m_pState->hTop );
}

HWND WindowObjects::GetTop() const
{
    return m_pState->hTop;
}

HWND WindowObjects::GetDialog() const
{
    return m_pState->hDialog;
}

HMENU WindowObjects::GetMenuBar() const
{
    return m_pState->hBar;
}

void WindowObjects::EndSome()
{
    DestroyWindow( m_pState->hThird );
    DestroyMenu( m_pState->hMore );
}
