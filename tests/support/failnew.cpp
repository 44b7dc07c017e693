#include "support/failnew.h"

#include <cstdlib>
#include <new>

namespace
{

struct Counters
{
    unsigned long ulMade = 0;
    long lOutstanding = 0;
    unsigned long ulUntilFault = 0;
    bool fHit = false;
};
thread_local constinit Counters t_aCounters;

void* Allocate( std::size_t uSize ) noexcept
{
    Counters& rCounters = t_aCounters;
    if ( rCounters.ulUntilFault != 0 && --rCounters.ulUntilFault == 0 )
    {
        rCounters.fHit = true;
        return NULL;
    }
    void* pMemory = std::malloc( uSize != 0 ? uSize : 1 );
    if ( pMemory != NULL )
    {
        ++rCounters.ulMade;
        ++rCounters.lOutstanding;
    }
    return pMemory;
}

void* AllocateOrThrow( std::size_t uSize )
{
    void* pMemory = Allocate( uSize );
    if ( pMemory == NULL )
        throw std::bad_alloc();
    return pMemory;
}

void Free( void* pMemory ) noexcept
{
    if ( pMemory != NULL )
        --t_aCounters.lOutstanding;
    std::free( pMemory );
}

} // namespace

void NewFault::Arm()
{
    t_aCounters.fHit = false;
    t_aCounters.ulUntilFault = m_ulFailing;
}

void NewFault::Disarm()
{
    m_fHit = m_fHit || t_aCounters.fHit;
    t_aCounters.fHit = false;
    t_aCounters.ulUntilFault = 0;
}

unsigned long NewCount()
{
    return t_aCounters.ulMade;
}

long NewOutstanding()
{
    return t_aCounters.lOutstanding;
}

void* operator new( std::size_t uSize )
{
    return AllocateOrThrow( uSize );
}
void* operator new[]( std::size_t uSize )
{
    return AllocateOrThrow( uSize );
}
void* operator new( std::size_t uSize, const std::nothrow_t& ) noexcept
{
    return Allocate( uSize );
}
void* operator new[]( std::size_t uSize, const std::nothrow_t& ) noexcept
{
    return Allocate( uSize );
}
void operator delete( void* pMemory ) noexcept
{
    Free( pMemory );
}
void operator delete[]( void* pMemory ) noexcept
{
    Free( pMemory );
}
void operator delete( void* pMemory, std::size_t ) noexcept
{
    Free( pMemory );
}
void operator delete[]( void* pMemory, std::size_t ) noexcept
{
    Free( pMemory );
}
void operator delete( void* pMemory, const std::nothrow_t& ) noexcept
{
    Free( pMemory );
}
void operator delete[]( void* pMemory, const std::nothrow_t& ) noexcept
{
    Free( pMemory );
}
