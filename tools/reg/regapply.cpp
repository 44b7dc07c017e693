#include "tools/reg/regapply.h"

#include "tools/reg/regaccess.h"
#include "tools/toolfailure.h"

#include <optional>

namespace
{

// The key that the last steps were about stays open.
class StepMaker
{
public:
    void Make( const RegStep& rStep )
    {
        if ( rStep.aAction == RegAction::DeleteKey )
        {
            m_aKey.reset();
            DeleteTree( rStep.aKey );
            return;
        }
        if ( rStep.aAction == RegAction::MakeKey )
        {
            m_aKey.reset();
            m_aKey.emplace( OpenedKey::Make( rStep.aKey ) );
        }
        else if ( rStep.aAction == RegAction::SetValue )
            m_aKey->Set( rStep.aValue );
        else
            m_aKey->Delete( rStep.aValue.aName );
    }

private:
    std::optional<OpenedKey> m_aKey;
};

} // namespace

void ApplyRun( const std::vector<RegStep>& rSteps, size_t nFirst, size_t nEnd, const std::string& aTitle )
{
    StepMaker aMaker;
    for ( size_t n = nFirst; n < nEnd; n++ )
        try
        {
            aMaker.Make( rSteps[n] );
        }
        catch ( const ToolFailure& rFailure )
        {
            throw ToolFailure( ExitCode::Output,
                               aTitle + ":" + std::to_string( rSteps[n].nLine ) + ": " + rFailure.what() );
        }
}
