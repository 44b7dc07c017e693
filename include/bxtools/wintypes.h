// The Win32 types, constants and error numbers that the library's interface speaks, on both systems.
//
// On Windows this is <windows.h> without the macros that would rename members of our classes (see the list
// below), so that a caller's file links whether it saw <windows.h> before this header, after it, or not at
// all. A file that wants a taken-away name itself writes the explicit form: CreateFileA, GetMessageA. On
// Linux the same names are declared here. Widths are those of Windows: LONG, DWORD, ULONG, UINT, BOOL and
// HRESULT have 32 bits, handles are as wide as a pointer, and texts are bytes (TCHAR is char). WCHAR has 16
// bits on both systems but is another C++ type on each (wchar_t there, char16_t here): say WCHAR, OLECHAR or
// BSTR, never wchar_t. Plain C takes this header, too. The functions themselves are in platform.h.
#pragma once

#if defined( _WIN32 )

#if !defined( NOMINMAX )
#define NOMINMAX
#endif
#if !defined( WIN32_LEAN_AND_MEAN )
#define WIN32_LEAN_AND_MEAN
#endif
// clang-format off
#include <windows.h>
#include <commdlg.h>
#include <io.h>
#include <oleauto.h>
#include <tlhelp32.h>
// clang-format on

#undef ChooseColor
#undef ChooseFont
#undef CopyFile
#undef CreateEvent
#undef CreateFile
#undef CreateFileMapping
#undef CreateFontIndirect
#undef CreateMutex
#undef DeleteFile
#undef DispatchMessage
#undef FindFirstFile
#undef FindNextFile
#undef FindText
#undef FormatMessage
#undef GetClassName
#undef GetComputerName
#undef GetFileAttributes
#undef GetFileTitle
#undef GetFullPathName
#undef GetLocaleInfo
#undef GetMessage
#undef GetModuleFileName
#undef GetModuleHandle
#undef GetObject
#undef GetOpenFileName
#undef GetSaveFileName
#undef GetShortPathName
#undef GetSystemDirectory
#undef GetTempFileName
#undef GetTempPath
#undef GetVersionEx
#undef GetWindowText
#undef GetWindowsDirectory
#undef LoadLibrary
#undef LoadString
#undef LookupPrivilegeValue
#undef MessageBox
#undef MoveFile
#undef OpenEvent
#undef OpenFileMapping
#undef OpenMutex
#undef OutputDebugString
#undef PageSetupDlg
#undef PeekMessage
#undef PostMessage
#undef PostThreadMessage
#undef PrintDlg
#undef PrintDlgEx
#undef ReplaceText
#undef SendMessage
#undef SetWindowText

// What divides the pieces of a path that the library makes.
#define MYCH_DELIMDIR '\\'

#else

#include <bxtools/wintypes_base.h>
#define MAX_PATH 260
#define _MAX_PATH MAX_PATH
#define MYCH_DELIMDIR '/'
#define INFINITE 0xFFFFFFFFu

#define LOBYTE( w ) ( (BYTE)( (DWORD_PTR)(w)&0xff ) )
#define HIBYTE( w ) ( (BYTE)( ( (DWORD_PTR)( w ) >> 8 ) & 0xff ) )
#define LOWORD( l ) ( (WORD)( (DWORD_PTR)(l)&0xffff ) )
#define HIWORD( l ) ( (WORD)( ( (DWORD_PTR)( l ) >> 16 ) & 0xffff ) )
#define MAKEWORD( low, high ) ( (WORD)( ( (WORD)(low)&0xff ) | ( ( (WORD)(high)&0xff ) << 8 ) ) )
#define MAKELONG( low, high ) ( (LONG)( ( (DWORD)(low)&0xffff ) | ( ( (DWORD)(high)&0xffff ) << 16 ) ) )

// A lock between the threads of one process; see InitializeCriticalSection. The members are the platform
// layer's own.
typedef struct _CRITICAL_SECTION
{
    ULONGLONG m_ullOwner; // 0 when free; bit 0: somebody waits; above it the number of the owning thread
    LONG m_lRecursion;    // how often the owner has entered beyond the first time
    DWORD m_dwReserved;
} CRITICAL_SECTION, *PCRITICAL_SECTION, *LPCRITICAL_SECTION;

typedef struct _SECURITY_ATTRIBUTES
{
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef struct _FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

// What a search finds; see FindFirstFileA.
typedef struct _WIN32_FIND_DATAA
{
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    CHAR cFileName[MAX_PATH];
    CHAR cAlternateFileName[14];
} WIN32_FIND_DATAA, *PWIN32_FIND_DATAA, *LPWIN32_FIND_DATAA, WIN32_FIND_DATA;

// Of calls that go on behind the caller's back, which are not offered: always null.
typedef struct _OVERLAPPED* LPOVERLAPPED;

typedef struct _OSVERSIONINFOA
{
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    CHAR szCSDVersion[128];
} OSVERSIONINFOA, *POSVERSIONINFOA, *LPOSVERSIONINFOA, OSVERSIONINFO;
#define VER_PLATFORM_WIN32s 0
#define VER_PLATFORM_WIN32_WINDOWS 1
#define VER_PLATFORM_WIN32_NT 2

// What a thread runs; its result is the thread's exit code.
typedef DWORD ( *LPTHREAD_START_ROUTINE )( LPVOID pParameter );

// A message of a thread.
typedef struct tagPOINT
{
    LONG x;
    LONG y;
} POINT, *PPOINT, *LPPOINT;

typedef struct tagMSG
{
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
} MSG, *PMSG, *LPMSG;

// A security descriptor: bytes that are kept as they are given, behind a header that says how many they are.
typedef DWORD SECURITY_INFORMATION;
typedef SECURITY_INFORMATION* PSECURITY_INFORMATION;
typedef PVOID PSECURITY_DESCRIPTOR;

// Reasons of the entry point.
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu
#define TLS_MINIMUM_AVAILABLE 64
#define MAX_COMPUTERNAME_LENGTH 15

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200u
#define FORMAT_MESSAGE_FROM_STRING 0x00000400u
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000u
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000u
#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FFu

#define LANG_NEUTRAL 0x00
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define MAKELANGID( primary, sub ) ( (WORD)( ( (WORD)( sub ) << 10 ) | (WORD)( primary ) ) )

#define LOCALE_SYSTEM_DEFAULT 0x0800u
#define LOCALE_USER_DEFAULT 0x0400u
#define LOCALE_ICOUNTRY 0x00000005u

#define CP_ACP 0
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001u
#define MB_ERR_INVALID_CHARS 0x00000008u

#define MB_OK 0x00000000u
#define MB_OKCANCEL 0x00000001u
#define MB_ABORTRETRYIGNORE 0x00000002u
#define MB_YESNOCANCEL 0x00000003u
#define MB_YESNO 0x00000004u
#define MB_RETRYCANCEL 0x00000005u
#define MB_ICONHAND 0x00000010u
#define MB_ICONSTOP MB_ICONHAND
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONQUESTION 0x00000020u
#define MB_ICONEXCLAMATION 0x00000030u
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONASTERISK 0x00000040u
#define MB_ICONINFORMATION MB_ICONASTERISK
#define MB_SYSTEMMODAL 0x00001000u
#define MB_TASKMODAL 0x00002000u
#define MB_SETFOREGROUND 0x00010000u
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7

// Results.
#define S_OK ( (HRESULT)0 )
#define S_FALSE ( (HRESULT)1 )
#define E_FAIL ( (HRESULT)0x80004005u )
#define E_NOTIMPL ( (HRESULT)0x80004001u )
#define E_NOINTERFACE ( (HRESULT)0x80004002u )
#define E_POINTER ( (HRESULT)0x80004003u )
#define E_UNEXPECTED ( (HRESULT)0x8000FFFFu )
#define E_ACCESSDENIED ( (HRESULT)0x80070005u )
#define E_HANDLE ( (HRESULT)0x80070006u )
#define E_OUTOFMEMORY ( (HRESULT)0x8007000Eu )
#define E_INVALIDARG ( (HRESULT)0x80070057u )
#define FACILITY_NULL 0
#define FACILITY_RPC 1
#define FACILITY_DISPATCH 2
#define FACILITY_STORAGE 3
#define FACILITY_ITF 4
#define FACILITY_WIN32 7
#define FACILITY_WINDOWS 8
#define SEVERITY_SUCCESS 0
#define SEVERITY_ERROR 1
#define SUCCEEDED( hr ) ( (HRESULT)( hr ) >= 0 )
#define FAILED( hr ) ( (HRESULT)( hr ) < 0 )
#define HRESULT_CODE( hr ) ( (hr)&0xFFFF )
#define HRESULT_FACILITY( hr ) ( ( ( hr ) >> 16 ) & 0x1FFF )
#define MAKE_HRESULT( severity, facility, code )                                                             \
    ( (HRESULT)( ( (ULONG)( severity ) << 31 ) | ( (ULONG)( facility ) << 16 ) | (ULONG)( code ) ) )

// Constants and records, a file for each family.
#include <bxtools/wintypes_errors.h>
#include <bxtools/wintypes_files.h>
#include <bxtools/wintypes_kernel.h>
#include <bxtools/wintypes_registry.h>
#include <bxtools/wintypes_windows.h>

#endif

// An error number in the library's own interfaces: 32 bits, signed.
typedef LONG ERR;
