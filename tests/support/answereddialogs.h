// Windows only: dialogs that nobody has to close.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <windows.h>

// While it lives, the dialogs that the thread of its maker opens are answered with one of their buttons, each once.
class AnsweredDialogs
{
public:
    // uButton: IDOK and the like.
    explicit AnsweredDialogs( UINT uButton ) : m_uButton( uButton ), m_aAnswering( [this] { Answer(); } ) {}
    ~AnsweredDialogs() { TakeTexts(); }
    AnsweredDialogs( const AnsweredDialogs& ) = delete;
    AnsweredDialogs& operator=( const AnsweredDialogs& ) = delete;

    // Ends the answering. Result: title and texts of each dialog, a line for each.
    std::string TakeTexts()
    {
        m_fEnd = true;
        if ( m_aAnswering.joinable() )
            m_aAnswering.join();
        return m_strTexts;
    }

private:
    static std::string TextOf( HWND hWnd )
    {
        char szText[1024] = "";
        GetWindowTextA( hWnd, szText, sizeof( szText ) );
        return szText;
    }

    static bool IsOfClass( HWND hWnd, const char* pClass )
    {
        char szClass[32] = "";
        GetClassNameA( hWnd, szClass, sizeof( szClass ) );
        return lstrcmpiA( szClass, pClass ) == 0;
    }

    static BOOL CALLBACK OnWindow( HWND hWnd, LPARAM lFound )
    {
        const bool fDialog = IsWindowVisible( hWnd ) && IsOfClass( hWnd, "#32770" );
        if ( fDialog )
            *reinterpret_cast<HWND*>( lFound ) = hWnd;
        return !fDialog;
    }

    static BOOL CALLBACK OnChild( HWND hWnd, LPARAM lTexts )
    {
        if ( IsOfClass( hWnd, "STATIC" ) && !TextOf( hWnd ).empty() )
            *reinterpret_cast<std::string*>( lTexts ) += TextOf( hWnd ) + "\n";
        return TRUE;
    }

    void Answer()
    {
        for ( HWND hAnswered = NULL; !m_fEnd; Sleep( 10 ) )
        {
            HWND hDialog = NULL;
            EnumThreadWindows( m_dwThread, &OnWindow, reinterpret_cast<LPARAM>( &hDialog ) );
            if ( hDialog != NULL && hDialog != hAnswered )
            {
                m_strTexts += TextOf( hDialog ) + "\n";
                EnumChildWindows( hDialog, &OnChild, reinterpret_cast<LPARAM>( &m_strTexts ) );
                PostMessageA( hDialog, WM_COMMAND, m_uButton, 0 );
            }
            hAnswered = hDialog;
        }
    }

    const UINT m_uButton;
    const DWORD m_dwThread = GetCurrentThreadId();
    std::string m_strTexts;
    std::atomic<bool> m_fEnd{ false };
    std::thread m_aAnswering;
};
