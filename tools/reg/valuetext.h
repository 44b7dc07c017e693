// Values as people and other programs read and write them.
#pragma once

#include "tools/jsonline.h"
#include "tools/reg/regvalue.h"

#include <optional>
#include <string>
#include <vector>

// The names of the types that the command line takes, for help texts.
std::string GetTypeNames();
std::optional<DWORD> FindType( const std::string& aName );
// A type's name, or its number in hexadecimal.
std::string GetTypeTitle( DWORD dwType );

// The data as `get` prints them and `set` takes them: a text as it is, one line for each text of several, a number in
// decimal, other bytes in hexadecimal.
std::vector<std::string> GetDataLines( const RegValue& rValue );
// The other way: from the words of the command line. Throws a ToolFailure that says what the type wants.
RegValue MakeValue( const std::string& aName, DWORD dwType, const std::vector<std::string>& rWords );

// The name, and name, type and data in one line; both move no cursor.
std::string GetValueName( const RegValue& rValue );
std::string GetValueLine( const RegValue& rValue );
// An object with name, type and data; and the bytes, in hexadecimal, where the data do not say them all.
Json GetValueJson( const RegValue& rValue );
