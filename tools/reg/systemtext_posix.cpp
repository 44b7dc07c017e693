#include "tools/reg/utf16.h"

bool ToSystemText( std::string& )
{
    return true;
}

std::string FromSystemText( const std::string& aText )
{
    return aText;
}
