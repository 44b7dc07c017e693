#include "tools/systemtext.h"

void CheckCommandLine() {}

bool ToSystemText( std::string& )
{
    return true;
}

std::string FromSystemText( const std::string& aText )
{
    return aText;
}

std::string TakeSystemCharacter( std::string_view, size_t& rnBytes )
{
    rnBytes = 1;
    return "\xEF\xBF\xBD";
}

std::filesystem::path ToPath( const std::string& aName )
{
    return aName;
}

std::string FromPath( const std::filesystem::path& rPath )
{
    return rPath.string();
}
