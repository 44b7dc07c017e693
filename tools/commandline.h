// The command line as the commands of the tool describe it: what each is called, what it takes and what it does.
// The library that reads it is all templates; commandline.cpp alone compiles them.
#pragma once

#include <bxtools/wintypes.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

// Whether a value of the command line will do: an empty text, or what is wrong with it.
using ValueCheck = std::function<std::string( const std::string& aValue )>;

// A word or an option that a command takes; a handle, to be copied. Each function returns it for the next.
class Option
{
public:
    explicit Option( CLI::Option* pOption ) : m_pOption( pOption ) {}

    Option Required() const;
    // What --help prints behind the name; "" for nothing, the kind of the variable if not set.
    Option TypeName( const char* pName ) const;
    // --help prints what the variable holds by then.
    Option ShowsDefault() const;
    Option Excludes( Option aOther ) const;

    // Of a vector: this many values and any number more.
    Option AtLeast( int nValues ) const;
    // Of a vector: one word of the command line, that holds all values.
    Option DividedBy( char cDivider ) const;

    Option CheckedBy( const ValueCheck& rCheck ) const;
    Option NotEmpty() const;
    Option OneOf( const std::vector<std::string>& rValues ) const;
    Option InRange( int nLeast, int nMost ) const;
    Option InRange( double fLeast, double fMost ) const;

private:
    CLI::Option* m_pOption;
};

// An option or flag as the user gave it.
struct GivenOption
{
    std::string aName; // with its dashes
    std::string aValue;
};

// A command, or the program itself; a handle, to be copied. A variable that is to take a value must live until the
// command line has been parsed; it keeps what it holds when the user gives none.
class Command
{
public:
    explicit Command( CLI::App* pApp ) : m_pApp( pApp ) {}

    Command AddSubcommand( const char* pName, const char* pSummary ) const;
    // The user must name one of the subcommands.
    void RequireSubcommand() const;
    // What --help prints at the end.
    void SetFooter( const std::string& aText ) const;
    // What the command does when the user chose it.
    void SetAction( const std::function<void()>& rAction ) const;

    // An option when pName begins with dashes, as "-f,--force" does, and a word that may be left out otherwise.
    Option AddOption( const char* pName, std::string& rText, const std::string& aHelp ) const;
    Option AddOption( const char* pName, std::optional<std::string>& rText, const std::string& aHelp ) const;
    Option AddOption( const char* pName, std::vector<std::string>& rTexts, const std::string& aHelp ) const;
    Option AddOption( const char* pName, std::vector<int>& rNumbers, const std::string& aHelp ) const;
    Option AddOption( const char* pName, int& rNumber, const std::string& aHelp ) const;
    Option AddOption( const char* pName, DWORD& rNumber, const std::string& aHelp ) const;
    Option AddOption( const char* pName, size_t& rNumber, const std::string& aHelp ) const;
    Option AddOption( const char* pName, std::optional<double>& rNumber, const std::string& aHelp ) const;
    Option AddFlag( const char* pName, bool& rFlag, const std::string& aHelp ) const;

    // Words that the command line must have, without a kind behind the name.
    Option AddWord( const char* pName, std::string& rWord, const std::string& aHelp ) const;
    Option AddWord( const char* pName, std::vector<std::string>& rWords, const std::string& aHelp ) const;

    // An option that may come several times, each time with one value, which GetGiven tells.
    Option AddRepeated( const char* pName, const std::string& aHelp ) const;
    // All options and flags in the order of the command line; for the command's action.
    std::vector<GivenOption> GetGiven() const;

private:
    CLI::App* m_pApp;
};

// The command line of the program, which --help and --version go with.
class CommandLine
{
public:
    CommandLine( const char* pName, const char* pSummary, const char* pVersion );
    ~CommandLine();

    Command GetProgram() const;
    // Reads the command line and runs the action of the chosen command. Result: the text that the user asked for
    // instead, with --help or --version. Throws a ToolFailure that says what is wrong with the command line, and what
    // the action throws.
    std::string Run( int argc, const char* const* argv ) const;

private:
    std::unique_ptr<CLI::App> m_pApp;
};
