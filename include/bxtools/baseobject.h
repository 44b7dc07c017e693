// The two plain bases that nearly every class of the library derives from: two hooks, supplied by the caller, and
// two texts that say what the object reported last.
//
// Every failing call of such an object sends exactly one report to its debug hook: a header ("From " and the
// signature of the function) and a message (" Error: " and what failed). A successful call sends nothing.
// A BaseObject2 always has a debug hook: without one of its own it reports to the library's debug messages. A
// BaseObject may have none and then stays silent.
//
// Hooks must neither throw nor end the thread; they may be called while any object of the library is in use.
// Threads: an object belongs to one thread at a time; two threads in one object may see each other's texts.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

// Receives one report: header and message, both valid during the call only.
typedef void( DLL_EXPORT* MYDBGFUNC )( LPCTSTR pHeader, LPCTSTR pMessage );

// Receives a log line: a printf-style format with two "%s" and their two texts. Its result is not used.
typedef int( DLL_EXPORT* MYLOGFUNC )( LPCTSTR pFormat, LPCTSTR pFirstText, LPCTSTR pSecondText );

// The library's own debug hook: writes a debug message of the module "BXTOOLS.DLL". Threads: any. Never throws; the
// last error is preserved.
DLL_EXPORT_MOD void DLL_EXPORT MyDbgMessage( LPCTSTR pHeader, LPCTSTR pMessage );

// The fields that both bases begin with, in this order. The two texts are constant texts of the library or of the
// caller; they are never owned and never freed. They change in const calls too, but only when such a call fails.
class DLL_EXPORT_MOD HookFields
{
    friend class CallReport;

protected:
    HookFields( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
        : m_pMyLogFunc( pMyLogFunc ),
          m_pMyDbgFunc( pMyDbgFunc )
    {
    }

    mutable LPCTSTR m_pHeader = NULL;
    mutable LPCTSTR m_pOut = "Nothing";
    MYLOGFUNC m_pMyLogFunc;
    MYDBGFUNC m_pMyDbgFunc;
    LPVOID m_pReserved = NULL;
};

// A base whose hooks are exactly those it was given, either of them possibly none.
class DLL_EXPORT_MOD BaseObject : public HookFields
{
public:
    // Stores the hooks as given (each may be NULL); no header, out text "Nothing".
    BaseObject( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );
    // No hooks at all.
    BaseObject();

    // Store a hook, or both, as given; NULL takes the hook away.
    void SetDbgFunc( MYDBGFUNC pMyDbgFunc );
    void SetLogFunc( MYLOGFUNC pMyLogFunc );
    void SetFuncPtr( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );

    // Store a text pointer as given: the text stays the caller's and must outlive its use here.
    void SetHeader( LPCTSTR pHeader );
    void SetOut( LPCTSTR pOut );

    // Puts the object back to the state after construction, with these hooks.
    void OnInit( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );

    // Reports by hand.
    //   pHeader, pText  NULL stands for the stored header and the stored out text.
    //   fLog            non-zero also calls the log hook, with the format "%s\r\n%s\r\n". The stored texts are put
    //                   in only where there is a debug hook: without one the log hook gets NULL for NULL; kept so.
    void Debug( LPCTSTR pHeader, LPCTSTR pText, BOOL fLog ) const;

    // Marks a function whose body is not written yet: sends pText and a remark that the function needs coding to
    // the debug hook, under the stored header. Silent without a hook, or when memory is short.
    //   pText  cut to what its length modulo 65,536 says.
    void ToDoMessage( LPCTSTR pText ) const;

    // For an object that lacks a debug hook: shows pText and a remark that the hook is missing in a message box
    // titled "Error"; without a display, on standard error. Returns when the user has closed it.
    void NoDbgFuncMessage( LPCTSTR pText ) const;
};

// A base that always has a debug hook: where none is given, the library's own.
class DLL_EXPORT_MOD BaseObject2 : public HookFields
{
public:
    // No header, out text "Nothing", then SetFuncPtr.
    BaseObject2( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
        : HookFields( pMyDbgFunc != NULL ? pMyDbgFunc : &MyDbgMessage, pMyLogFunc )
    {
    }
    // The library's debug hook, no log hook.
    BaseObject2() : HookFields( &MyDbgMessage, NULL ) {}

    // Stores both hooks; a debug hook of NULL becomes the library's own, which writes debug messages.
    void SetFuncPtr( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );
};
