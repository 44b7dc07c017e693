// A language file: texts by group and key, one text for each language.
#pragma once

#include "tools/nls/csvrows.h"

#include <string>
#include <string_view>
#include <vector>

// Something wrong in a file.
struct Finding
{
    std::string aFile;
    Place aPlace;
    std::string aText;
};
// "file:line:column: text"
std::string DescribeFinding( const Finding& rFinding );

// The code of a column whose header names none.
inline constexpr int NO_LANGUAGE = 0;

struct Language
{
    int nCode;
    std::string aName; // empty where the header has none
};

struct LanguageEntry
{
    std::string aGroup;
    std::string aKey;
    Place aPlace;
    std::vector<Cell> aTexts; // as many as the file has languages; an empty one is missing
};

struct LanguageFile
{
    std::string aPath;
    std::string aModule; // the file's name without its extension
    std::vector<Language> aLanguages;
    std::vector<LanguageEntry> aEntries;
};

// Reads a file's bytes. What is wrong is added to rFindings and left out.
LanguageFile ParseLanguageFile( const std::string& aPath, std::string_view aBytes,
                                std::vector<Finding>& rFindings );

// In upper case, as texts are looked up; ASCII letters only.
std::string UpperCase( std::string aText );
// The beginning of a text in quotes, fit for a terminal.
std::string Quoted( std::string_view aText );
// "049"
std::string CodeText( int nCode );
