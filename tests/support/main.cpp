// The main function of every test program.
#include "support/debugcapture.h"
#include "support/failnew.h"
#include "support/secondprocess.h"

#include <gtest/gtest.h>

int main( int nArguments, char** ppArguments )
{
    TakeOverAllocations();
    PrepareTestProcess( ppArguments );
    int nResult = 0;
    if ( IsInRole( nArguments, ppArguments, &nResult ) )
        return nResult;
    ::testing::InitGoogleTest( &nArguments, ppArguments );
    return RUN_ALL_TESTS();
}
