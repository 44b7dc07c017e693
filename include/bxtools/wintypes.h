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
#include <oleauto.h>
#include <tlhelp32.h>
// clang-format on

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
#undef FormatMessage
#undef GetClassName
#undef GetComputerName
#undef GetFileAttributes
#undef GetFullPathName
#undef GetLocaleInfo
#undef GetMessage
#undef GetModuleFileName
#undef GetModuleHandle
#undef GetObject
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
#undef PeekMessage
#undef PostMessage
#undef PostThreadMessage
#undef SendMessage
#undef SetWindowText

#else

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
#define MAX_PATH 260
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

// Error numbers of GetLastError.
#define NO_ERROR 0
#define ERROR_SUCCESS 0
#define ERROR_INVALID_FUNCTION 1
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_TOO_MANY_OPEN_FILES 4
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_BAD_ENVIRONMENT 10
#define ERROR_BAD_FORMAT 11
#define ERROR_INVALID_ACCESS 12
#define ERROR_INVALID_DATA 13
#define ERROR_OUTOFMEMORY 14
#define ERROR_INVALID_DRIVE 15
#define ERROR_CURRENT_DIRECTORY 16
#define ERROR_NOT_SAME_DEVICE 17
#define ERROR_NO_MORE_FILES 18
#define ERROR_WRITE_PROTECT 19
#define ERROR_NOT_READY 21
#define ERROR_CRC 23
#define ERROR_BAD_LENGTH 24
#define ERROR_SEEK 25
#define ERROR_WRITE_FAULT 29
#define ERROR_READ_FAULT 30
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_LOCK_VIOLATION 33
#define ERROR_SHARING_BUFFER_EXCEEDED 36
#define ERROR_HANDLE_EOF 38
#define ERROR_HANDLE_DISK_FULL 39
#define ERROR_NOT_SUPPORTED 50
#define ERROR_BAD_NETPATH 53
#define ERROR_NETWORK_BUSY 54
#define ERROR_DEV_NOT_EXIST 55
#define ERROR_UNEXP_NET_ERR 59
#define ERROR_NETNAME_DELETED 64
#define ERROR_NETWORK_ACCESS_DENIED 65
#define ERROR_BAD_NET_NAME 67
#define ERROR_FILE_EXISTS 80
#define ERROR_CANNOT_MAKE 82
#define ERROR_INVALID_PARAMETER 87
#define ERROR_NO_PROC_SLOTS 89
#define ERROR_BROKEN_PIPE 109
#define ERROR_OPEN_FAILED 110
#define ERROR_BUFFER_OVERFLOW 111
#define ERROR_DISK_FULL 112
#define ERROR_CALL_NOT_IMPLEMENTED 120
#define ERROR_SEM_TIMEOUT 121
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_WAIT_NO_CHILDREN 128
#define ERROR_NEGATIVE_SEEK 131
#define ERROR_SEEK_ON_DEVICE 132
#define ERROR_DIR_NOT_EMPTY 145
#define ERROR_SIGNAL_REFUSED 156
#define ERROR_NOT_LOCKED 158
#define ERROR_BAD_PATHNAME 161
#define ERROR_MAX_THRDS_REACHED 164
#define ERROR_LOCK_FAILED 167
#define ERROR_BUSY 170
#define ERROR_ALREADY_EXISTS 183
#define ERROR_INVALID_EXE_SIGNATURE 191
#define ERROR_BAD_EXE_FORMAT 193
#define ERROR_FILENAME_EXCED_RANGE 206
#define ERROR_FILE_TOO_LARGE 223
#define ERROR_NO_DATA 232
#define ERROR_MORE_DATA 234
#define WAIT_TIMEOUT 258
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_DIRECTORY 267
#define ERROR_NOT_OWNER 288
#define ERROR_TOO_MANY_POSTS 298
#define ERROR_PARTIAL_COPY 299
#define ERROR_MR_MID_NOT_FOUND 317
#define ERROR_INVALID_ADDRESS 487
#define ERROR_OPERATION_ABORTED 995
#define ERROR_IO_INCOMPLETE 996
#define ERROR_IO_PENDING 997
#define ERROR_NOACCESS 998
#define ERROR_SWAPERROR 999
#define ERROR_STACK_OVERFLOW 1001
#define ERROR_INVALID_MESSAGE 1002
#define ERROR_CAN_NOT_COMPLETE 1003
#define ERROR_INVALID_FLAGS 1004
#define ERROR_FILE_INVALID 1006
#define ERROR_NO_TOKEN 1008
#define ERROR_BADDB 1009
#define ERROR_BADKEY 1010
#define ERROR_CANTOPEN 1011
#define ERROR_CANTREAD 1012
#define ERROR_CANTWRITE 1013
#define ERROR_REGISTRY_RECOVERED 1014
#define ERROR_REGISTRY_CORRUPT 1015
#define ERROR_REGISTRY_IO_FAILED 1016
#define ERROR_NOT_REGISTRY_FILE 1017
#define ERROR_KEY_DELETED 1018
#define ERROR_KEY_HAS_CHILDREN 1020
#define ERROR_CHILD_MUST_BE_VOLATILE 1021
#define ERROR_EXCEPTION_IN_SERVICE 1064
#define ERROR_NO_UNICODE_TRANSLATION 1113
#define ERROR_DLL_INIT_FAILED 1114
#define ERROR_IO_DEVICE 1117
#define ERROR_POSSIBLE_DEADLOCK 1131
#define ERROR_MAPPED_ALIGNMENT 1132
#define ERROR_TOO_MANY_LINKS 1142
#define ERROR_DLL_NOT_FOUND 1157
#define ERROR_NOT_FOUND 1168
#define ERROR_CANCELLED 1223
#define ERROR_USER_MAPPED_FILE 1224
#define ERROR_RETRY 1237
#define ERROR_NOT_ALL_ASSIGNED 1300
#define ERROR_NO_SUCH_PRIVILEGE 1313
#define ERROR_PRIVILEGE_NOT_HELD 1314
#define ERROR_DISK_CORRUPT 1393
#define ERROR_INVALID_WINDOW_HANDLE 1400
#define ERROR_INVALID_MENU_HANDLE 1401
#define ERROR_INVALID_INDEX 1413
#define ERROR_INVALID_THREAD_ID 1444
#define ERROR_MENU_ITEM_NOT_FOUND 1456
#define ERROR_NO_SYSTEM_RESOURCES 1450
#define ERROR_TIMEOUT 1460
#define ERROR_CANT_ACCESS_FILE 1920

#endif

// An error number in the library's own interfaces: 32 bits, signed.
typedef LONG ERR;
