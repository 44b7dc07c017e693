#include "tools/runprogram.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

static bool HoldsAll( const std::string& strText, const Texts& aParts )
{
    const auto IsThere = [&]( const std::string& strPart ) { return Holds( strText, strPart ); };
    return aParts.empty() ? strText.empty() : std::ranges::all_of( aParts, IsThere );
}

static Texts WordsOf( const std::string& strText )
{
    Texts aWords;
    std::istringstream aText( strText );
    for ( std::string strWord; aText >> std::quoted( strWord, '\'', '\0' ); )
        aWords.push_back( strWord );
    return aWords;
}

::testing::AssertionResult ProgramResult::Is( int nExpected, const Texts& aOutput,
                                              const Texts& aErrors ) const
{
    if ( nExitCode == nExpected && HoldsAll( strOutput, aOutput ) && HoldsAll( strErrors, aErrors ) )
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "exit code " << nExitCode << "\noutput:\n"
           << strOutput << "\nerrors:\n"
           << strErrors << "\nexpected: " << nExpected << ", " << ::testing::PrintToString( aOutput ) << ", "
           << ::testing::PrintToString( aErrors );
}

ProgramResult ProgramFolder::RunProgram( const std::string& strProgram, const Texts& aArguments,
                                         const std::string& strInput ) const
{
    WriteBytes( Path( "stdin" ), strInput );
    ProgramResult aResult{ Start( strProgram, aArguments ), ReadBytes( Path( "stdout" ) ),
                           ReadBytes( Path( "stderr" ) ) };
    std::erase( aResult.strErrors, '\r' );
    return aResult;
}

ProgramResult ProgramFolder::Tool( const std::string& strWords, const std::string& strInput ) const
{
    return RunProgram( BXTOOL_PROGRAM, WordsOf( strWords ), strInput );
}

bool ProgramFolder::KillTool( const std::string& strWords, unsigned uMilliseconds ) const
{
    WriteBytes( Path( "stdin" ), "" );
    return Start( BXTOOL_PROGRAM, WordsOf( strWords ), uMilliseconds ) == -1;
}

std::string ProgramFolder::Outcome( const std::string& strWords, const std::string& strInput ) const
{
    const ProgramResult aResult = Tool( strWords, strInput );
    return std::to_string( aResult.nExitCode ) + " " + aResult.strOutput;
}

std::string StreamOf( const Texts& aRecords )
{
    std::string strStream = "##HDRMSG0";
    for ( const std::string& strRecord : aRecords )
        strStream += SEP + strRecord;
    return strStream;
}

bool Holds( std::string_view strText, std::string_view strPart )
{
    return strText.find( strPart ) != std::string_view::npos;
}
