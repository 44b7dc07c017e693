#include "support/secondprocess.h"

#include <cstdio>
#include <iostream>
#include <map>

namespace
{

constexpr char ROLE_OPTION[] = "--role=";

std::map<std::string, RoleFunction>& Roles()
{
    static std::map<std::string, RoleFunction> aRoles;
    return aRoles;
}

} // namespace

RoleRegistration::RoleRegistration( const char* pName, RoleFunction pFunction )
{
    Roles()[pName] = pFunction;
}

int RunInRole( const std::string& strRole, const std::vector<std::string>& aArguments )
{
    return SecondProcess( strRole, aArguments ).Wait();
}

void TellTest( const std::string& strLine )
{
    std::cout << strLine << std::endl;
}

std::string WaitForTest()
{
    std::string strLine;
    std::getline( std::cin, strLine );
    return strLine;
}

bool IsInRole( int nArguments, char** ppArguments, int* pResult )
{
    const std::string strFirst = nArguments > 1 ? ppArguments[1] : "";
    if ( !strFirst.starts_with( ROLE_OPTION ) )
        return false;
    const auto aRole = Roles().find( strFirst.substr( sizeof( ROLE_OPTION ) - 1 ) );
    if ( aRole == Roles().end() )
    {
        std::fprintf( stderr, "no such role: %s\n", strFirst.c_str() );
        *pResult = 99;
        return true;
    }
    *pResult = aRole->second( std::vector<std::string>( ppArguments + 2, ppArguments + nArguments ) );
    return true;
}
