// How the libraries' functions and classes are marked for export, their calling convention, and the
// compiler's checks. Together with wintypes.h the only header that asks which system it is compiled for.
// Plain C takes it, too.
//
//   DLL_EXPORT_MOD   stands before an exported class name or function of the tool library: linkage
//   DLL_EXPORT       stands between result type and function name: the calling convention
//   RW_EXPORT        linkage of what the run-time library (bxruntime) exports
//
// BXTOOLS_BUILD and BXRUNTIME_BUILD are defined while the library in question is being compiled, and by
// nobody else.
#pragma once

#if defined( _WIN32 )

#if defined( BXTOOLS_BUILD )
#define DLL_EXPORT_MOD __declspec( dllexport )
#else
#define DLL_EXPORT_MOD __declspec( dllimport )
#endif

#if defined( BXRUNTIME_BUILD )
#define RW_EXPORT __declspec( dllexport )
#else
#define RW_EXPORT __declspec( dllimport )
#endif

// Callee-cleaned stack on 32-bit Windows; 64-bit compilers know one convention only and ignore the word.
#define DLL_EXPORT __stdcall

// The formatters behind our variadic functions are the C99 ones, which mingw's runtime library brings itself.
#define BX_PRINTF_ARCHETYPE gnu_printf

#else

#define DLL_EXPORT_MOD __attribute__( ( visibility( "default" ) ) )
#define RW_EXPORT __attribute__( ( visibility( "default" ) ) )
#define DLL_EXPORT
#define BX_PRINTF_ARCHETYPE __printf__

#endif

// Lets the compiler check the arguments of a variadic formatter against its format text. Both positions count
// from 1, and a member function's object is argument 1; nFirst is 0 for a function that takes a va_list.
#define BX_PRINTF_FORMAT( nFormat, nFirst )                                                                  \
    __attribute__( ( format( BX_PRINTF_ARCHETYPE, nFormat, nFirst ) ) )
