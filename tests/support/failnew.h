// Memory that runs out: the N-th operator new of this thread fails, throwing or not as its form demands.
//
//     ForEachFailingNew( [&]( NewFault& rFault )
//     {
//         const BOOL fDone = rFault.During( [&] { return Operation(); } );
//         EXPECT_NE( rFault.Hit(), fDone != FALSE );
//     } );
//
// runs the body with the first, the second ... allocation failing, until one run needs fewer.
#pragma once

#include <cstddef>

// The first thing in main: from here on the libraries allocate by the program's operators, too. One form for each system.
void TakeOverAllocations();

class NewFault
{
public:
    explicit NewFault( unsigned long ulFailing ) : m_ulFailing( ulFailing ) {}
    ~NewFault() { Disarm(); }
    NewFault( const NewFault& ) = delete;
    NewFault& operator=( const NewFault& ) = delete;

    // From Arm to Disarm allocations count.
    void Arm();
    void Disarm();
    template <class Operation>
    auto During( Operation aOperation )
    {
        Arm();
        const auto aResult = aOperation();
        Disarm();
        return aResult;
    }
    // Whether the allocation that was to fail came and failed.
    bool Hit() const { return m_fHit; }

private:
    unsigned long m_ulFailing;
    bool m_fHit = false;
};

// Allocations of this thread since the program began, and those among them that are not freed yet. Memory that
// another thread frees makes the second one wrong.
unsigned long NewCount();
long NewOutstanding();

// Result: how many allocations the operation makes when all succeed.
template <class Body>
unsigned long ForEachFailingNew( Body aBody )
{
    for ( unsigned long ulFailing = 1;; ++ulFailing )
    {
        NewFault aFault( ulFailing );
        aBody( aFault );
        if ( !aFault.Hit() )
            return ulFailing - 1;
    }
}
