#include "support/failnew.h"

#include <cstdlib>
#include <new>

namespace
{

thread_local constinit unsigned long t_ulMade = 0;
thread_local constinit long t_lOutstanding = 0;
thread_local constinit unsigned long t_ulUntilFault = 0;
thread_local constinit bool t_fHit = false;

void* Allocate( std::size_t uSize ) noexcept
{
    if ( t_ulUntilFault != 0 && --t_ulUntilFault == 0 )
    {
        t_fHit = true;
        return NULL;
    }
    void* pMemory = std::malloc( uSize != 0 ? uSize : 1 );
    t_ulMade += pMemory != NULL;
    t_lOutstanding += pMemory != NULL;
    return pMemory;
}

void* AllocateOrThrow( std::size_t uSize )
{
    if ( void* pMemory = Allocate( uSize ) )
        return pMemory;
    throw std::bad_alloc();
}

void Free( void* pMemory ) noexcept
{
    t_lOutstanding -= pMemory != NULL;
    std::free( pMemory );
}

} // namespace

void NewFault::Arm()
{
    t_fHit = false;
    t_ulUntilFault = m_ulFailing;
}

void NewFault::Disarm()
{
    m_fHit = m_fHit || t_fHit;
    t_fHit = false;
    t_ulUntilFault = 0;
}

unsigned long NewCount()
{
    return t_ulMade;
}

long NewOutstanding()
{
    return t_lOutstanding;
}

// One line for each form that the compiler may call.
// clang-format off
void* operator new( std::size_t uSize ) { return AllocateOrThrow( uSize ); }
void* operator new[]( std::size_t uSize ) { return AllocateOrThrow( uSize ); }
void* operator new( std::size_t uSize, const std::nothrow_t& ) noexcept { return Allocate( uSize ); }
void* operator new[]( std::size_t uSize, const std::nothrow_t& ) noexcept { return Allocate( uSize ); }
void operator delete( void* pMemory ) noexcept { Free( pMemory ); }
void operator delete[]( void* pMemory ) noexcept { Free( pMemory ); }
void operator delete( void* pMemory, std::size_t ) noexcept { Free( pMemory ); }
void operator delete[]( void* pMemory, std::size_t ) noexcept { Free( pMemory ); }
void operator delete( void* pMemory, const std::nothrow_t& ) noexcept { Free( pMemory ); }
void operator delete[]( void* pMemory, const std::nothrow_t& ) noexcept { Free( pMemory ); }
// clang-format on
