// Second processes that play the other side of a test: the test program itself, started again in a role.
//
//     BX_ROLE( holder )
//     {
//         ... // Arguments are those that the test gave
//         TellTest( "held" );
//         WaitForTest();
//         return 0;
//     }
//
//     SecondProcess aHolder( "holder", { "name" } );
//     EXPECT_EQ( "held", aHolder.ReadLine() );
//     aHolder.Kill();
#pragma once

#include <string>
#include <vector>

class SecondProcess
{
public:
    //   strProgram  another name of the test program's file; its own where there is none.
    SecondProcess( const std::string& strRole, const std::vector<std::string>& aArguments,
                   const std::string& strProgram = "" );
    // Ends the process where it still runs.
    ~SecondProcess();
    SecondProcess( const SecondProcess& ) = delete;
    SecondProcess& operator=( const SecondProcess& ) = delete;

    unsigned long Id() const;
    // The next line that the role told, waited for; empty when the process has ended.
    std::string ReadLine();
    void WriteLine( const std::string& strLine );
    // Ends it at once, wherever it is.
    void Kill();
    // Waits for its end: what the role returned, or -1 when it was killed.
    int Wait();

private:
    struct State;
    State* m_pState;
};

// Starts the role, waits for its end and returns its result.
int RunInRole( const std::string& strRole, const std::vector<std::string>& aArguments = {} );

// For the role: a line to the test, a line from the test (empty when the test is gone).
void TellTest( const std::string& strLine );
std::string WaitForTest();

using RoleFunction = int ( * )( const std::vector<std::string>& aArguments );
struct RoleRegistration
{
    RoleRegistration( const char* pName, RoleFunction pFunction );
};

#define BX_ROLE( name )                                                                                      \
    static int Role_##name( const std::vector<std::string>& Arguments );                                     \
    static const RoleRegistration aRole_##name( #name, &Role_##name );                                       \
    static int Role_##name( [[maybe_unused]] const std::vector<std::string>& Arguments )

// For the test program's main: runs the role that the command line names.
//   pResult  out: the role's result.
bool IsInRole( int nArguments, char** ppArguments, int* pResult );
