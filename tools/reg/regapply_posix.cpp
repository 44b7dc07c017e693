#include "platform/registry/regbatch.h"
#include "tools/reg/regaccess.h"
#include "tools/reg/regapply.h"

namespace
{

// Where the steps of another root begin. Roots may lie in one store, which a batch of each in turn serves as well.
size_t FindRunEnd( const std::vector<RegStep>& rSteps, size_t nFirst )
{
    size_t nEnd = nFirst;
    while ( nEnd < rSteps.size() && rSteps[nEnd].aKey.hRoot == rSteps[nFirst].aKey.hRoot )
        nEnd++;
    return nEnd;
}

} // namespace

void ApplySteps( const std::vector<RegStep>& rSteps, const std::string& aTitle )
{
    for ( size_t nFirst = 0; nFirst < rSteps.size(); )
    {
        const size_t nEnd = FindRunEnd( rSteps, nFirst );
        const KeyPath& rKey = rSteps[nFirst].aKey;
        RegistryBatch aBatch;
        LONG lError = aBatch.Begin( rKey.hRoot );
        if ( lError == ERROR_SUCCESS )
        {
            ApplyRun( rSteps, nFirst, nEnd, aTitle );
            lError = aBatch.Commit();
        }
        if ( lError != ERROR_SUCCESS )
            ThrowRegistryFailure(
                lError, aTitle + ":" + std::to_string( rSteps[nFirst].nLine ) + ": " + rKey.GetTitle(),
                true );
        nFirst = nEnd;
    }
}
