// Windows, menus, fonts: the constants and records of their calls. Part of wintypes.h, which every file includes instead; Windows
// has its own.
#pragma once

#if !defined( _WIN32 )

#include <bxtools/wintypes_base.h>

// Relations of GetWindow.
#define GW_HWNDFIRST 0
#define GW_HWNDLAST 1
#define GW_HWNDNEXT 2
#define GW_HWNDPREV 3
#define GW_OWNER 4
#define GW_CHILD 5

#define GWLP_HINSTANCE ( -6 )

// A font or another object to draw with.
typedef void* HGDIOBJ;

#define WM_SETFONT 0x0030
#define WM_GETFONT 0x0031

// Menu items.
#define MF_BYCOMMAND 0x00000000u
#define MF_STRING 0x00000000u
#define MF_ENABLED 0x00000000u
#define MF_UNCHECKED 0x00000000u
#define MF_GRAYED 0x00000001u
#define MF_DISABLED 0x00000002u
#define MF_CHECKED 0x00000008u
#define MF_POPUP 0x00000010u
#define MF_BYPOSITION 0x00000400u
#define MF_SEPARATOR 0x00000800u

// Colours: red in the lowest byte.
#define RGB( red, green, blue )                                                                              \
    ( (COLORREF)( (BYTE)( red ) | ( (COLORREF)(BYTE)( green ) << 8 ) | ( (COLORREF)(BYTE)( blue ) << 16 ) ) )
#define GetRValue( colour ) ( (BYTE)( colour ) )
#define GetGValue( colour ) ( (BYTE)( ( colour ) >> 8 ) )
#define GetBValue( colour ) ( (BYTE)( ( colour ) >> 16 ) )
#define CLR_INVALID 0xFFFFFFFFu

// Fonts. A height below 0 is that of the letters, in pixels.
#define LF_FACESIZE 32
#define FW_NORMAL 400
#define FW_BOLD 700
#define DEFAULT_CHARSET 1
typedef struct tagLOGFONTA
{
    LONG lfHeight;
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    CHAR lfFaceName[LF_FACESIZE];
} LOGFONTA, *PLOGFONTA, *LPLOGFONTA;

// The choice of a font; see ChooseFontA.
#define CF_SCREENFONTS 0x00000001u
#define CF_INITTOLOGFONTSTRUCT 0x00000040u
#define CF_EFFECTS 0x00000100u
#define CF_FORCEFONTEXIST 0x00010000u
#define REGULAR_FONTTYPE 0x0400
#define ITALIC_FONTTYPE 0x0200
#define BOLD_FONTTYPE 0x0100
#define SCREEN_FONTTYPE 0x2000
typedef UINT_PTR ( *LPCFHOOKPROC )( HWND hWnd, UINT uMessage, WPARAM wParam, LPARAM lParam );
typedef struct tagCHOOSEFONTA
{
    DWORD lStructSize;
    HWND hwndOwner;
    HDC hDC;
    LPLOGFONTA lpLogFont;
    INT iPointSize; // out: tenths of a point
    DWORD Flags;
    COLORREF rgbColors;
    LPARAM lCustData;
    LPCFHOOKPROC lpfnHook;
    LPCSTR lpTemplateName;
    HINSTANCE hInstance;
    LPSTR lpszStyle;
    WORD nFontType;
    WORD wReserved;
    INT nSizeMin;
    INT nSizeMax;
} CHOOSEFONTA, *LPCHOOSEFONTA;

#endif
