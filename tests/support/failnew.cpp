#include "support/failnew.h"

#include "support/allocations.h"

#include <cstdlib>
#include <new>

namespace
{

void* Allocate( std::size_t uSize ) noexcept
{
    Allocations& rThread = OfThisThread();
    if ( rThread.ulUntilFault != 0 && --rThread.ulUntilFault == 0 )
    {
        rThread.fHit = true;
        return NULL;
    }
    void* pMemory = std::malloc( uSize != 0 ? uSize : 1 );
    rThread.ulMade += pMemory != NULL;
    rThread.lOutstanding += pMemory != NULL;
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
    OfThisThread().lOutstanding -= pMemory != NULL;
    std::free( pMemory );
}

} // namespace

void NewFault::Arm()
{
    OfThisThread().fHit = false;
    OfThisThread().ulUntilFault = m_ulFailing;
}

void NewFault::Disarm()
{
    m_fHit = m_fHit || OfThisThread().fHit;
    OfThisThread().fHit = false;
    OfThisThread().ulUntilFault = 0;
}

unsigned long NewCount()
{
    return OfThisThread().ulMade;
}

long NewOutstanding()
{
    return OfThisThread().lOutstanding;
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
