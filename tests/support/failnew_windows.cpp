// A DLL calls the operators of the compiler's library by an import of its own, and that library calls them itself. So they
// begin with a jump to those of the program. The tests run on 64 bits only.
#include "support/allocations.h"
#include "support/failnew.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <windows.h>

namespace
{

DWORD g_dwSlot = TLS_OUT_OF_INDEXES;

// What is put there fits into the shortest of them, which fills 16 bytes.
void JumpFrom( void* pFunction, const void* pTarget )
{
    unsigned char aCode[] = { 0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0 }; // mov rax, pTarget; jmp rax
    memcpy( aCode + 2, &pTarget, sizeof( pTarget ) );
    DWORD dwBefore = 0;
    VirtualProtect( pFunction, sizeof( aCode ), PAGE_EXECUTE_READWRITE, &dwBefore );
    memcpy( pFunction, aCode, sizeof( aCode ) );
    VirtualProtect( pFunction, sizeof( aCode ), dwBefore, &dwBefore );
    FlushInstructionCache( GetCurrentProcess(), pFunction, sizeof( aCode ) );
}

template <class Function>
void TakeOver( const char* pName, Function* pOperator )
{
    const FARPROC pFunction = GetProcAddress( GetModuleHandleA( "libstdc++-6.dll" ), pName );
    JumpFrom( reinterpret_cast<void*>( pFunction ), reinterpret_cast<const void*>( pOperator ) );
}

} // namespace

// No thread_local: it takes locks of the compiler's library, which a thread that is ended by force may have.
Allocations& OfThisThread() noexcept
{
    static constinit Allocations aBefore;
    if ( g_dwSlot == TLS_OUT_OF_INDEXES )
        return aBefore;
    const DWORD dwLastError = GetLastError();
    void* pOwn = TlsGetValue( g_dwSlot );
    if ( pOwn == NULL )
    {
        pOwn = std::calloc( 1, sizeof( Allocations ) );
        TlsSetValue( g_dwSlot, pOwn );
    }
    SetLastError( dwLastError );
    return *static_cast<Allocations*>( pOwn );
}

void TakeOverAllocations()
{
    g_dwSlot = TlsAlloc();
    using New = void*( std::size_t );
    using NewOrNull = void*( std::size_t, const std::nothrow_t& ) noexcept;
    using Delete = void( void* ) noexcept;
    using DeleteSized = void( void*, std::size_t ) noexcept;
    using DeleteOrNull = void( void*, const std::nothrow_t& ) noexcept;
    TakeOver<New>( "_Znwy", &operator new );
    TakeOver<New>( "_Znay", &operator new[] );
    TakeOver<NewOrNull>( "_ZnwyRKSt9nothrow_t", &operator new );
    TakeOver<NewOrNull>( "_ZnayRKSt9nothrow_t", &operator new[] );
    TakeOver<Delete>( "_ZdlPv", &operator delete );
    TakeOver<Delete>( "_ZdaPv", &operator delete[] );
    TakeOver<DeleteSized>( "_ZdlPvy", &operator delete );
    TakeOver<DeleteSized>( "_ZdaPvy", &operator delete[] );
    TakeOver<DeleteOrNull>( "_ZdlPvRKSt9nothrow_t", &operator delete );
    TakeOver<DeleteOrNull>( "_ZdaPvRKSt9nothrow_t", &operator delete[] );
}
