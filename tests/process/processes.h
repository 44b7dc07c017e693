// Programs with names of a test's own, so that it finds and kills no others; and reports in short.
#pragma once

#include "support/recorder.h"
#include "support/secondprocess.h"

#include <bxtools/platform.h>
#include <bxtools/process.h>

#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <system_error>

inline std::filesystem::path OwnProgram()
{
    char szPath[4096] = "";
    GetModuleFileNameA( NULL, szPath, sizeof( szPath ) );
    return szPath;
}

// The test program under another name, as long as the object lives. A copy: the other system keeps every name of a file that
// runs.
struct NamedProgram
{
    explicit NamedProgram( const std::string& strWhat )
        : strName( "Bx-" + std::to_string( GetCurrentProcessId() ) + "-" + strWhat + ".exe" ),
          strPath( ( OwnProgram().parent_path() / strName ).string() )
    {
        std::filesystem::copy_file( OwnProgram(), strPath );
    }
    // A system may hold on to a program's file for a moment after its process has ended.
    ~NamedProgram()
    {
        std::error_code aError;
        for ( int i = 0; i < 500 && !std::filesystem::remove( strPath, aError ) && aError; ++i )
            Sleep( 10 );
        EXPECT_FALSE( aError ) << strPath << ": " << aError.message();
    }
    NamedProgram( const NamedProgram& ) = delete;
    NamedProgram& operator=( const NamedProgram& ) = delete;

    // Runs it until the role tells its first line.
    std::unique_ptr<SecondProcess> Start( const std::string& strRole,
                                          const std::string& strArgument = "-" ) const
    {
        auto pProcess = std::make_unique<SecondProcess>( strRole, std::vector{ strArgument }, strPath );
        pProcess->ReadLine();
        return pProcess;
    }

    const std::string strName;
    const std::string strPath;
};

// The process that FindProcess gives.
inline DWORD Found( const std::string& strName )
{
    DWORD dwFound = 4711;
    EXPECT_TRUE( FindProcess( strName.c_str(), &dwFound, NULL ) );
    return dwFound;
}

// Does what it is told, where it is not ended before.
BX_ROLE( bystander )
{
    TellTest( "here" );
    return WaitForTest() == "end" ? 0 : 1;
}

// Ends a process that does what it is told. Result: whether it did.
inline bool IsAlive( SecondProcess& rProcess )
{
    rProcess.WriteLine( "end" );
    return rProcess.Wait() == 0;
}

// Each report since the last look: the function's name, '|' and what it said, and a line feed.
inline std::string Reported( DebugRecorder& rRecorder )
{
    const std::regex aReport( "[^\n]*From [^(\n]*?([A-Za-z0-9]+)\\([^\n]*\r\n([^\n]*)\r\n" );
    return std::regex_replace( rRecorder.Take(), aReport, "$1|$2\n" );
}
