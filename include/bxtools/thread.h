// SingleThread: one piece of work on a thread of its own, which its owner starts, stops, continues and ends, and whose
// errors the owner receives; and the wait that keeps a thread's messages flowing.
//
//     class Indexer : public WorkerThreadBase
//     {
//     public:
//         bool Execute( SingleThread* pThread ) override;   // one portion; TRUE: there is more
//         void OnNotify( bool fStop ) override { m_fHurry = fStop; }
//         std::atomic<bool> m_fHurry;
//     };
//     Indexer aIndexer;
//     SingleThread aThread( &aIndexer, false );
//     if ( aThread.Begin() && aThread.Stop( false, false ) )   // waits until the portion is done
//         aThread.Continue();
//     aThread.Wait( INFINITE, false, false );
//     aThread.AllErrors2Stream( aErrors );
//
// The work is called again and again, while the thread may run and the work asks for it. After each call the errors that it
// left on its thread's error stack (see error.h) are taken over. Between two calls is the safe point, where a stop that was asked
// for takes place.
//
// Operations give true, or false with a report to the debug messages. Some report what they did although they succeeded:
// Begin the new thread, the thread that its work asked to end ("Nothing"), whatever ends a thread by force, and, with the
// reporting flag, the closing of its handle; kept so. Nothing throws to the owner. What the work throws, from Execute
// or OnNotify, is reported; out of Execute it ends the thread.
// Threads: any thread may call any operation, but the work's own thread only those that ask and SetICanRun. Begin, End, Stop,
// Continue, Wait, PostMessage, ClearErrors and the two setters exclude each other: each waits for the one before it to
// return. The first five refuse the work's own thread, which would wait for itself. What a message handler calls, while one
// of them lets messages flow, is let in.
#pragma once

#include <bxtools/export.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

#include <atomic>

class CallReport;
class SingleThread;

// What a thread may be asked by its work. The order of the virtual operations is fixed here and in WorkerThreadBase.
class ThreadBase
{
public:
    virtual ~ThreadBase() = default;
    // Whether the work is to be called again.
    virtual bool CanIRun() = 0;
    virtual void SetICanRun( bool fICanRun ) = 0;
};

// The work; the caller's, who keeps it until the thread has ended.
class WorkerThreadBase
{
public:
    virtual ~WorkerThreadBase() = default;
    // On the thread: one portion of the work. Result: true to be called again, false to end the thread.
    // It may end the thread itself (ExitThread); its last errors are lost then, since they are taken when it returns.
    virtual bool Execute( SingleThread* pSingleThread ) = 0;
    // On the owner's thread: false when the thread is started or continued, before it runs; true when it was asked to stop
    // or to end. It calls none of the operations that exclude each other.
    virtual void OnNotify( bool fStop ) = 0;
};

// Creates the system's thread: see SingleThread::SDKThreadCreateFunc. Its result is not used, only the handle.
typedef bool( DLL_EXPORT* ThreadCreateFunc )( SingleThread* pSingleThread );

class DLL_EXPORT_MOD SingleThread : public ThreadBase
{
public:
    //   pWork    the work. May be NULL until Begin, which refuses it.
    //   fReport  also reports waits for a thread that is not there, and the closing of its handle.
    //   pCreate  what creates the thread; NULL is SDKThreadCreateFunc.
    //   fCom     initialises COM for the thread; without effect on Linux.
    explicit SingleThread( WorkerThreadBase* pWork, bool fReport = false, ThreadCreateFunc pCreate = NULL,
                           bool fCom = false );
    // A copy has the work, the settings and the errors collected so far, but no thread. An object whose thread
    // runs takes over nothing, with a report.
    SingleThread( const SingleThread& rOther );
    SingleThread& operator=( const SingleThread& rOther );
    // A running thread is ended, as by End( 100, false ). A derived class that overrides CanIRun or SetICanRun calls End in
    // its own destructor.
    virtual ~SingleThread();

    bool CanIRun() override;
    // false: the thread ends before the next call of the work, before the first one if it has not begun. true again when
    // the thread has ended.
    void SetICanRun( bool fICanRun ) override;

    // Starts the thread, once the last one has ended. The errors collected before are forgotten, also when this fails.
    bool Begin();

    // Asks the thread to end, continues it if it is stopped, and waits. One that is still there then gets two more seconds,
    // and is ended by force: nothing of it is run or destroyed, and what it held or allocated stays. Afterwards there is
    // no thread, and the errors collected are forgotten; kept so: Wait keeps them.
    //   dwMilliseconds  how long it may take; INFINITE waits for good.
    //   fWithMsgLoop    lets the calling thread's messages flow, as in WaitForHandleSignaled.
    // Result: true, also when it was ended by force. false: there was no thread that had begun; or a step failed.
    bool End( DWORD dwMilliseconds, bool fWithMsgLoop );

    // Stops the thread.
    //   fImmediately  false: at its next safe point, for which this waits without a limit. Result: true when it stands there, or
    //                 when it has ended instead; IsSuspended tells. true: wherever it is, in malloc for instance: until Continue
    //                 the caller does nothing that could need a lock of the work's. The locks of this object are none of
    //                 these, nor, on Linux, those of this library.
    // false: no thread is running, or it is stopped already.
    bool Stop( bool fImmediately, bool fWithMsgLoop );

    // Lets a stopped thread go on.
    bool Continue();

    // Waits for the thread's end, to which a stopped one does not come.
    //   dwMilliseconds               how long.
    //   fForceTerminationOnTimeout   when the time is over, ends the thread by force, as in End.
    //   fWithMsgLoop                 as in End.
    // Result: true when it has ended, whenever that was, and when the time is over (IsRunning tells); kept so. false: no
    // thread has begun since the last End; reported with the reporting flag only.
    // After a wait with a limit the handle of an ended thread stays open, to be asked for its exit code, until the next
    // wait, end or start: 0 when it was not to run any longer, 42 when the work asked to end or threw.
    bool Wait( DWORD dwMilliseconds, bool fForceTerminationOnTimeout, bool fWithMsgLoop );

    // Stopped at a safe point or at once, and not continued yet.
    bool IsSuspended() const;
    // Between Begin and the end of the thread.
    bool IsRunning() const;
    // Running, and there is a handle of it.
    bool IsValidThread() const;
    // A stop was asked for, and the thread is on its way to it or stands there.
    bool IsStopRequested() const;
    // Somebody waits for its end.
    bool IsWaiting() const;
    // The thread has left its routine, and nothing began or ended since; not that it is about to. The name is kept.
    bool IsGoingToDie() const;

    // Another work, or another function that creates the thread (NULL: SDKThreadCreateFunc). false while running.
    bool SetContextBase( WorkerThreadBase* pWork );
    bool SetThreadCreateFunc( ThreadCreateFunc pCreate );

    // Posts a message to the thread. false: it is not running; or has no queue yet, or a full one.
    bool PostMessage( UINT Msg, WPARAM wParam, LPARAM lParam );

    // The errors collected so far: their number, and all of them as one error stream, "" when there is none. They stay.
    // Result: true.
    bool GetAvailableErrorCount( ULONG& ulCount ) const;
    bool AllErrors2Stream( MString& aStream ) const;
    // Forgets them. Result: true.
    bool ClearErrors();

    // What the thread runs. For functions that create threads: as the start routine of CreateThread, or of a framework
    // whose routines have this form. pData is the SingleThread. Result: the exit code, 42 at once without an object or work.
    static DWORD WINAPI MainThreadRoutine( LPVOID pData );
    static UINT MFCMainThreadRoutine( LPVOID pData );
    // Creates the thread with the attributes, stack size and flags below, suspended, and stores handle and id below. Another
    // function does the same. No handle: it has failed.
    static bool DLL_EXPORT SDKThreadCreateFunc( SingleThread* pSingleThread );

    // For the function that creates the thread.
    HANDLE m_aThreadHDL; // NULL without a thread
    DWORD m_aThreadID;
    LPSECURITY_ATTRIBUTES m_pThreadAttributes; // NULL
    DWORD m_dwCreationFlags;                   // CREATE_SUSPENDED
    DWORD m_dwStackSize;                       // bytes; 0: the system's usual size

private:
    class StateGuard;
    class CallGuard;
    class BorrowedHandle;
    class RoutineScope;

    // What a reset is made for; what it does beside clearing the flags.
    enum ResetType
    {
        RESET_CREATION = 0, // no thread, and the arguments of its creation as at first
        RESET_ROUTINE = 1,  // the routine has not been left
        RESET_LEAVING = 2,  // the thread leaves: its handle is closed
        RESET_WAITED = 3,   // somebody has waited: the thread is ended if told so, its handle closed
        RESET_ENDED =
            4, // the thread is ended if it still runs, its handle closed; the routine has not been left
        RESET_ERRORS = 5 // the errors collected, and nothing else
    };
    void Reset( ResetType aType, bool fForceTermination );
    void ClearFlags();
    void CloseThreadHandle( CallReport& rReport );
    void DropEvents();
    void EndActiveThread( CallReport& rReport );

    bool InitThread();
    bool SetSuspended( bool fSuspend, bool fFromThread );
    bool PrepareStop( CallReport& rReport );
    bool Resume( CallReport& rReport );
    bool SuspendMyself( CallReport& rReport );
    bool StayStopped( CallReport& rReport );
    bool CanBeStopped( CallReport& rReport ) const;
    bool StopAtOnce( CallReport& rReport );
    bool StopAtSafePoint( CallReport& rReport, bool fWithMsgLoop );
    bool HoldStill( HANDLE aThread );
    bool IsCalledByOther( CallReport& rReport ) const;
    void NoteExitOfThread();
    void ForgetLastThread();
    bool internalWait( DWORD dwMilliseconds, bool& fTimeout, bool fWithMsgLoop );
    void OnWaited( bool fEnded );
    void Notify( CallReport& rReport, bool fStop );
    void CheckForExitCode( bool& fActive );
    bool Terminate();
    bool MySetEvent( HANDLE aHandle );
    bool MyCloseHandle( HANDLE hHandle, bool fThreadHDL );
    bool LeaveToBorrower( HANDLE aHandle );
    bool RunWork();
    bool ExecuteOnce( CallReport& rReport );
    void CollectErrors();
    bool KeepErrors( const MString& aErrStream );
    void OnLeavingThreadRoutine();

    // The state lock guards all that follows and the handle; taken for moments, by the thread as well. Flags are changed under
    // it, but read without: a thread that asks all the time does not keep its owner waiting. The call lock is held through
    // each operation of the owner's, and taken first.
    mutable CRITICAL_SECTION m_aStateLock;
    mutable CRITICAL_SECTION m_aCallLock;
    std::atomic<bool> m_fRunning;
    std::atomic<bool> m_fICanRun;
    std::atomic<bool> m_fStopRequested;
    std::atomic<bool> m_fSuspended;
    std::atomic<bool> m_fWaiting;

public:
    // For the function that creates the thread: the handle belongs to somebody else, who closes it.
    bool m_fHandleNotOwned;

private:
    std::atomic<bool> m_fLeftThreadRoutine;
    HANDLE m_aSuspendEvent; // set by the thread when it stops
    WorkerThreadBase* m_pWorkerThreadBase;
    bool m_fReport;
    bool m_fCom;
    bool m_fGoingToDie;
    ThreadCreateFunc m_pThreadCreateFunc;
    MString m_aThreadsErrStream;
    ULONG m_ulErrorCount;
    HANDLE m_aResumeEvent;              // what a stopped thread sleeps on
    ULONG m_ulThreadsStarted;           // tells one thread from the next
    BorrowedHandle* m_pBorrowedHandles; // handles that owners use without the state lock
};

// Waits until an object is ready.
//   aThreadHDL             not null; of any object that can be waited for.
//   dwMilliseconds         the limit; INFINITE for none.
//   fWithMessageLoop       lets the calling thread's messages flow: translates and dispatches them, WM_QUIT too, which is
//                          lost by that. Its limit is looked at when messages come or it is over: up to twice that long when
//                          they come. A mutex whose owner has died is a failure with it. All of this is kept so.
//   pdwRetValueOnSuccess   out, not null: WAIT_OBJECT_0, WAIT_TIMEOUT, or, without messages, WAIT_ABANDONED.
// Result: TRUE also when the time is over; FALSE with one report. Threads: any. Never throws.
DLL_EXPORT_MOD BOOL DLL_EXPORT WaitForHandleSignaled( HANDLE aThreadHDL, DWORD dwMilliseconds,
                                                      BOOL fWithMessageLoop, DWORD* pdwRetValueOnSuccess );
