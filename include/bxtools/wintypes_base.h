// Numbers, texts, pointers and handles by their Win32 names. Part of wintypes.h, which every file includes instead; Windows has
// its own.
#pragma once

#if !defined( _WIN32 )

#include <stddef.h>
#include <stdint.h>

// The system's functions are this library's own here, and platform.h declares them.
#define BX_PLATFORM_LAYER

// Calling conventions and parameter marks that Windows sources carry; they mean nothing here.
#define WINAPI
#define APIENTRY
#define CALLBACK
#define CONST const
#define VOID void

// Numbers.
typedef int BOOL;
typedef unsigned char BYTE;
typedef unsigned char BOOLEAN;
typedef char CHAR;
typedef unsigned char UCHAR;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef uint16_t WORD;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef int64_t LONG64;
typedef uint64_t ULONG64;
typedef uint64_t DWORD64;
typedef float FLOAT;
typedef double DOUBLE;
typedef int32_t HRESULT;
typedef int32_t SCODE;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef size_t SIZE_T;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef WORD ATOM;
typedef WORD LANGID;
typedef DWORD LCID;
typedef DWORD LCTYPE;
typedef DWORD COLORREF;
typedef DWORD ACCESS_MASK;
typedef ACCESS_MASK REGSAM;

// Texts. A wide character is one UTF-16 unit.
typedef char TCHAR;
#if defined( __cplusplus )
typedef char16_t WCHAR;
#else
typedef uint_least16_t WCHAR;
#endif
typedef WCHAR OLECHAR;
typedef char* LPSTR;
typedef char* PSTR;
typedef const char* LPCSTR;
typedef const char* PCSTR;
typedef TCHAR* LPTSTR;
typedef const TCHAR* LPCTSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef OLECHAR* BSTR;

// Pointers.
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef BOOL* PBOOL;
typedef BOOL* LPBOOL;
typedef BYTE* PBYTE;
typedef BYTE* LPBYTE;
typedef const BYTE* LPCBYTE;
typedef WORD* LPWORD;
typedef LONG* PLONG;
typedef LONG* LPLONG;
typedef ULONG* PULONG;
typedef UINT* PUINT;
typedef int* LPINT;
typedef DWORD* PDWORD;
typedef DWORD* LPDWORD;

// Handles: never dereferenced by anybody. Kinds that Windows tells apart are types of their own here, too.
typedef void* HANDLE;
typedef HANDLE* PHANDLE;
typedef HANDLE* LPHANDLE;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;
#define BX_DECLARE_HANDLE( name )                                                                            \
    struct name##__;                                                                                         \
    typedef struct name##__* name
BX_DECLARE_HANDLE( HINSTANCE );
BX_DECLARE_HANDLE( HWND );
BX_DECLARE_HANDLE( HMENU );
BX_DECLARE_HANDLE( HDC );
BX_DECLARE_HANDLE( HFONT );
BX_DECLARE_HANDLE( HICON );
BX_DECLARE_HANDLE( HKEY );
#undef BX_DECLARE_HANDLE
typedef HINSTANCE HMODULE;
typedef HKEY* PHKEY;
typedef INT_PTR ( *FARPROC )();
#define INVALID_HANDLE_VALUE ( (HANDLE)(LONG_PTR)-1 )

#if !defined( TRUE )
#define TRUE 1
#endif
#if !defined( FALSE )
#define FALSE 0
#endif

#endif
