#include "tools/reg/regapply.h"

void ApplySteps( const std::vector<RegStep>& rSteps, const std::string& aTitle )
{
    ApplyRun( rSteps, 0, rSteps.size(), aTitle );
}
