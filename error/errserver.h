// The error stack: the records that one thread has set and not yet taken, oldest first, and the operations on
// error streams held as text. The exported functions of error.h are thin layers over this class.
#pragma once

#include <bxtools/error.h>
#include <bxtools/lists.h>

class CallReport;

// One stack. It owns its records. Results and errors as in error.h; reports go to the library's debug messages.
class ERRServer : public MyErrList
{
public:
    ERRServer();
    ~ERRServer();
    ERRServer( const ERRServer& ) = delete;
    ERRServer& operator=( const ERRServer& ) = delete;

    // A record that cannot be filled stays on the stack; kept so.
    BOOL SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr, const MString& aOriginErrText,
                     const MString& aOptionalText, const MString& aOptionalTextParams );
    BOOL Error2Stream( MString& aStream, ULONG ulIndex );
    BOOL AllErrors2Stream( MString& aStream );
    BOOL ClearErrorStack();
    BOOL DeleteError( ULONG ulIndex );
    BOOL GetOriginErrorValues( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr, ULONG ulIndex );

    BOOL DisplayError( HWND hWndParent, BOOL fModeless );
    // Loads the display library, once; it stays loaded as long as the stack lives.
    BOOL CheckErrDisplayFunc();

    static BOOL GetAvailableErrorCountFromStream( ULONG& ulCount, const MString& aErrStream );
    static BOOL Error2ObjectFromStream( ErrObjectBase& aErrObjectBase, ULONG ulIndex,
                                        const MString& aErrStream );
    static BOOL DeleteErrorFromStream( ULONG ulIndex, MString& aErrStream );
    static BOOL FindObjectInStream( ULONG& ulIndex, ErrObjectBase& aErrObjectBase,
                                    const MString& aErrStream );
    static BOOL GetOriginErrorValuesFromStream( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr,
                                                ULONG ulIndex, const MString& aErrStream );
    static BOOL Append2Stream( MString& aErrStream, const MString& aErrStream2Append );
    static BOOL ReverseStream( MString& aErrStream );
    static BOOL IsErrorStream( const MString& aErrStream );

private:
    ErrObjectBase* AppendRecord();
    BOOL BuildStream( CallReport& aReport, MString& aStream );
    ULONG PrepareRecords( CallReport& aReport, size_t& ulRoom );
    char* WriteRecords( char* pOut, ULONG ulCount );
    void ReleaseDisplayLibrary();

    ERRDISPFUNC m_pErrDisplayFunc = NULL;
    HMODULE m_hHMODULE = NULL;
};

// The calling thread's stacks, made on first use; NULL with a report when they cannot be had.
ERRServerList* GetERRServerList();

// One of them. The stack after the last one is made when it is asked for; a thread without any gets its first
// one whatever number is asked for, kept so.
// Result: the stack, the thread's; NULL with one report for a number that lies further on, or beyond
// MAX_ERROR_SLOTS_ONSTACK stacks.
ERRServer* GetERRServer( ULONG ulSlotID );

// The one that the library itself uses.
inline constexpr ULONG OWN_SLOT_ID = 0;
