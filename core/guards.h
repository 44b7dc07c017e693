// What a destructor gives back: locks, handles, text buffers, the thread's last error.
#pragma once

#include "core/threadstop.h"

#include <bxtools/buffers.h>
#include <bxtools/platform.h>

#include <memory>

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

// A recursive lock between the threads of this process, held for moments: who holds it is not stopped by other threads.
class BX_CAPABILITY CriticalSection
{
public:
    CriticalSection() noexcept { InitializeCriticalSection( &m_aSection ); }
    ~CriticalSection() { DeleteCriticalSection( &m_aSection ); }
    CriticalSection( const CriticalSection& ) = delete;
    CriticalSection& operator=( const CriticalSection& ) = delete;

    void Enter() noexcept BX_ACQUIRE()
    {
        DeferThreadStop();
        EnterCriticalSection( &m_aSection );
    }
    void Leave() noexcept BX_RELEASE()
    {
        LeaveCriticalSection( &m_aSection );
        AllowThreadStop();
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
    ~LockGuard() BX_RELEASE() { m_rSection.Leave(); }
    LockGuard( const LockGuard& ) = delete;
    LockGuard& operator=( const LockGuard& ) = delete;

private:
    CriticalSection& m_rSection;
};

// Keeps the thread's last error as it was when the scope began.
class LastErrorGuard
{
public:
    LastErrorGuard() noexcept : m_dwLastError( GetLastError() ) {}
    ~LastErrorGuard() { SetLastError( m_dwLastError ); }
    LastErrorGuard( const LastErrorGuard& ) = delete;
    LastErrorGuard& operator=( const LastErrorGuard& ) = delete;

private:
    DWORD m_dwLastError;
};

// An owned handle of a kernel object, null when there is none. The value of a failed CreateFileA is not for it.
class KernelHandle
{
public:
    explicit KernelHandle( HANDLE hObject = NULL ) noexcept : m_hObject( hObject ) {}
    ~KernelHandle() { Reset(); }
    KernelHandle( const KernelHandle& ) = delete;
    KernelHandle& operator=( const KernelHandle& ) = delete;

    HANDLE Get() const noexcept { return m_hObject; }
    explicit operator bool() const noexcept { return m_hObject != NULL; }
    // Gives the handle to the caller.
    HANDLE Detach() noexcept
    {
        const HANDLE hObject = m_hObject;
        m_hObject = NULL;
        return hObject;
    }
    void Reset( HANDLE hObject = NULL ) noexcept
    {
        if ( m_hObject != NULL )
        {
            const LastErrorGuard aLastError;
            CloseHandle( m_hObject );
        }
        m_hObject = hObject;
    }

private:
    HANDLE m_hObject;
};

// A function of a library that was loaded by name, as the type that the caller knows it has. NULL stays NULL.
template <class Function>
Function AsFunction( FARPROC pFunction ) noexcept
{
    return reinterpret_cast<Function>( reinterpret_cast<LPVOID>( pFunction ) );
}

// A library loaded for as long as the object lives, null when it could not be.
class LoadedLibrary
{
public:
    explicit LoadedLibrary( LPCSTR pFileName ) noexcept : m_hModule( LoadLibraryA( pFileName ) ) {}
    ~LoadedLibrary()
    {
        const LastErrorGuard aLastError;
        if ( m_hModule != NULL )
            FreeLibrary( m_hModule );
    }
    LoadedLibrary( const LoadedLibrary& ) = delete;
    LoadedLibrary& operator=( const LoadedLibrary& ) = delete;

    explicit operator bool() const noexcept { return m_hModule != NULL; }
    // One of its functions; null when it has none of that name. The caller knows its type.
    template <class Function>
    Function Get( LPCSTR pProcName ) const noexcept
    {
        return AsFunction<Function>( GetProcAddress( m_hModule, pProcName ) );
    }

private:
    HMODULE m_hModule;
};

// An owned buffer of MyTCHARFactory.
struct TCHARBufferDeleter
{
    void operator()( LPTSTR pBuffer ) const noexcept { MyTCHARDeleter( pBuffer ); }
};
using TCHARBuffer = std::unique_ptr<TCHAR[], TCHARBufferDeleter>;
