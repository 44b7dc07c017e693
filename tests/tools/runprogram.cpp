#include "tools/runprogram.h"

#include "tools/startprogram.h"

#include <algorithm>

ProgramResult ProgramFolder::Run( const std::string& strProgram, const std::vector<std::string>& aArguments,
                                  const std::string& strInput,
                                  const std::vector<std::string>& aEnvironment ) const
{
    ProgramStart aStart = { strProgram,
                            aArguments,
                            Path(),
                            Path( "stdin" ),
                            Path( "stdout" ),
                            Path( "stderr" ),
                            { "BXTOOLS_DEBUG_SINK=" } };
    aStart.aEnvironment.insert( aStart.aEnvironment.end(), aEnvironment.begin(), aEnvironment.end() );
    WriteBytes( aStart.strInput, strInput );
    ProgramResult aResult;
    aResult.nExitCode = StartProgram( aStart );
    aResult.strOutput = ReadBytes( aStart.strOutput );
    aResult.strErrors = ReadBytes( aStart.strErrors );
    std::erase( aResult.strErrors, '\r' );
    return aResult;
}

ProgramResult ProgramFolder::Errors( std::vector<std::string> aArguments, const std::string& strInput ) const
{
    aArguments.insert( aArguments.begin(), "errors" );
    return Run( BXTOOL_PROGRAM, aArguments, strInput );
}

std::string ProgramFolder::Outcome( const std::vector<std::string>& aArguments,
                                    const std::string& strInput ) const
{
    const ProgramResult aResult = Errors( aArguments, strInput );
    return std::to_string( aResult.nExitCode ) + " " + aResult.strOutput;
}

std::string StreamOf( const std::vector<std::string>& aRecords )
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
