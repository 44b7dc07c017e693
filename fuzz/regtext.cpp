// .reg files of any bytes: what can be read is written as a text that reads as the same.
#include "tools/reg/regtext.h"

#include "fuzz/require.h"
#include "tools/toolfailure.h"

#include <cstdint>

namespace
{
bool Sets( const RegStep& rStep )
{
    return rStep.aAction == RegAction::MakeKey || rStep.aAction == RegAction::SetValue;
}

void CheckStep( const RegStep& rStep )
{
    Require( rStep.nLine > 0 );
    Require( rStep.aKey.aPath.find( '\0' ) == std::string::npos );
    Require( rStep.aValue.aName.find( '\0' ) == std::string::npos );
    Require( rStep.aAction != RegAction::DeleteKey || !rStep.aKey.aPath.empty() );
}

// Keys and values as export writes them; what is deleted has no place there.
std::string Written( const std::vector<RegStep>& rSteps )
{
    std::string strText = GetRegHeader();
    for ( size_t n = 0; n < rSteps.size(); )
    {
        const KeyPath& rKey = rSteps[n].aKey;
        RegTree aTree;
        bool fMade = false;
        do
        {
            fMade = fMade || Sets( rSteps[n] );
            if ( rSteps[n].aAction == RegAction::SetValue )
                aTree.aValues.push_back( rSteps[n].aValue );
            ++n;
        } while ( n < rSteps.size() && rSteps[n].aAction != RegAction::MakeKey &&
                  rSteps[n].aAction != RegAction::DeleteKey );
        if ( fMade )
            AppendRegTree( strText, rKey, aTree );
    }
    return strText;
}

void ReadAgain( const std::vector<RegStep>& rSteps )
{
    std::string strText;
    try
    {
        strText = Written( rSteps );
    }
    catch ( const ToolFailure& )
    {
        return; // a line end in a name
    }
    const std::vector<RegStep> aAgain = ParseRegText( strText, "again" );
    auto pAgain = aAgain.begin();
    for ( const RegStep& rStep : rSteps )
    {
        if ( !Sets( rStep ) )
            continue;
        Require( pAgain != aAgain.end() && pAgain->aAction == rStep.aAction );
        Require( pAgain->aKey.GetTitle() == rStep.aKey.GetTitle() && pAgain->aValue == rStep.aValue );
        ++pAgain;
    }
    Require( pAgain == aAgain.end() );
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pBytes, size_t nBytes )
{
    std::vector<RegStep> aSteps;
    try
    {
        aSteps = ParseRegText( std::string( reinterpret_cast<const char*>( pBytes ), nBytes ), "input" );
    }
    catch ( const ToolFailure& rFailure )
    {
        Require( rFailure.GetCode() == ExitCode::Input );
        return 0;
    }
    for ( const RegStep& rStep : aSteps )
        CheckStep( rStep );
    ReadAgain( aSteps );
    return 0;
}
