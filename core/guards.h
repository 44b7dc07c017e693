// Locks and module handles that a destructor gives back.
#pragma once

#include <bxtools/platform.h>

#if defined( __clang__ )
#define BX_THREAD_ANNOTATION( x ) __attribute__( ( x ) )
#else
#define BX_THREAD_ANNOTATION( x )
#endif
#define BX_CAPABILITY BX_THREAD_ANNOTATION( capability( "mutex" ) )
#define BX_SCOPED_CAPABILITY BX_THREAD_ANNOTATION( scoped_lockable )
#define BX_GUARDED_BY( x ) BX_THREAD_ANNOTATION( guarded_by( x ) )
#define BX_REQUIRES( ... ) BX_THREAD_ANNOTATION( requires_capability( __VA_ARGS__ ) )
#define BX_ACQUIRE( ... ) BX_THREAD_ANNOTATION( acquire_capability( __VA_ARGS__ ) )
#define BX_RELEASE( ... ) BX_THREAD_ANNOTATION( release_capability( __VA_ARGS__ ) )

// A recursive lock between the threads of this process.
class BX_CAPABILITY CriticalSection
{
public:
    CriticalSection() noexcept
    {
        InitializeCriticalSection( &m_aSection );
    }
    ~CriticalSection()
    {
        DeleteCriticalSection( &m_aSection );
    }
    CriticalSection( const CriticalSection& ) = delete;
    CriticalSection& operator=( const CriticalSection& ) = delete;

    void Enter() noexcept BX_ACQUIRE()
    {
        EnterCriticalSection( &m_aSection );
    }
    void Leave() noexcept BX_RELEASE()
    {
        LeaveCriticalSection( &m_aSection );
    }

private:
    CRITICAL_SECTION m_aSection;
};

// Holds a lock for a scope.
class BX_SCOPED_CAPABILITY LockGuard
{
public:
    explicit LockGuard( CriticalSection& rSection ) noexcept BX_ACQUIRE( rSection ) : m_rSection( rSection )
    {
        m_rSection.Enter();
    }
    ~LockGuard() BX_RELEASE()
    {
        m_rSection.Leave();
    }
    LockGuard( const LockGuard& ) = delete;
    LockGuard& operator=( const LockGuard& ) = delete;

private:
    CriticalSection& m_rSection;
};

// Keeps the thread's last error as it was when the scope began.
class LastErrorGuard
{
public:
    LastErrorGuard() noexcept : m_dwLastError( GetLastError() )
    {
    }
    ~LastErrorGuard()
    {
        SetLastError( m_dwLastError );
    }
    LastErrorGuard( const LastErrorGuard& ) = delete;
    LastErrorGuard& operator=( const LastErrorGuard& ) = delete;

private:
    DWORD m_dwLastError;
};
