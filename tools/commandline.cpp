#include "tools/commandline.h"

#include "tools/toolfailure.h"

#include <CLI/CLI.hpp>
#include <map>
#include <sstream>

namespace
{

// Its own function for an optional: the library takes an empty word for none.
template <class Value>
Option AddOptional( CLI::App* pApp, const char* pName, std::optional<Value>& rValue,
                    const std::string& aHelp )
{
    return Option( pApp->add_option_function<Value>(
        pName, [&rValue]( const Value& rGiven ) { rValue = rGiven; }, aHelp ) );
}

// What was wrong with the command line. A word that nothing takes explains more than the lack of what was wanted.
std::string DescribeUsage( const CLI::App& rProgram, const CLI::ParseError& rError )
{
    const std::vector<std::string> aUnknown = rProgram.remaining( true );
    return aUnknown.empty() ? rError.what() : "\"" + aUnknown.front() + "\" is not known here";
}

} // namespace

// ---- options ------------------------------------------------------------------------------------------------------------

Option Option::Required() const
{
    return Option( m_pOption->required() );
}

Option Option::TypeName( const char* pName ) const
{
    return Option( m_pOption->type_name( pName ) );
}

Option Option::ShowsDefault() const
{
    return Option( m_pOption->capture_default_str() );
}

Option Option::Excludes( Option aOther ) const
{
    return Option( m_pOption->excludes( aOther.m_pOption ) );
}

Option Option::AtLeast( int nValues ) const
{
    return Option( m_pOption->expected( nValues, CLI::detail::expected_max_vector_size ) );
}

Option Option::DividedBy( char cDivider ) const
{
    return Option( m_pOption->delimiter( cDivider )->allow_extra_args( false ) );
}

Option Option::CheckedBy( const ValueCheck& rCheck ) const
{
    return Option( m_pOption->check( rCheck ) );
}

Option Option::NotEmpty() const
{
    return CheckedBy( []( const std::string& aValue ) { return aValue.empty() ? "it is empty" : ""; } );
}

Option Option::OneOf( const std::vector<std::string>& rValues ) const
{
    return Option( m_pOption->check( CLI::IsMember( rValues ) ) );
}

Option Option::InRange( int nLeast, int nMost ) const
{
    return Option( m_pOption->check( CLI::Range( nLeast, nMost ) ) );
}

Option Option::InRange( double fLeast, double fMost ) const
{
    return Option( m_pOption->check( CLI::Range( fLeast, fMost ) ) );
}

// ---- commands -----------------------------------------------------------------------------------------------------------

Command Command::AddSubcommand( const char* pName, const char* pSummary ) const
{
    return Command( m_pApp->add_subcommand( pName, pSummary ) );
}

void Command::RequireSubcommand() const
{
    m_pApp->require_subcommand( 1 );
}

void Command::SetFooter( const std::string& aText ) const
{
    m_pApp->footer( aText );
}

void Command::SetAction( const std::function<void()>& rAction ) const
{
    m_pApp->callback( rAction );
}

Option Command::AddOption( const char* pName, std::string& rText, const std::string& aHelp ) const
{
    return Option( m_pApp->add_option( pName, rText, aHelp ) );
}

Option Command::AddOption( const char* pName, std::optional<std::string>& rText,
                           const std::string& aHelp ) const
{
    return AddOptional( m_pApp, pName, rText, aHelp );
}

Option Command::AddOption( const char* pName, std::vector<std::string>& rTexts,
                           const std::string& aHelp ) const
{
    return Option( m_pApp->add_option( pName, rTexts, aHelp ) );
}

Option Command::AddOption( const char* pName, std::vector<int>& rNumbers, const std::string& aHelp ) const
{
    return Option( m_pApp->add_option( pName, rNumbers, aHelp ) );
}

Option Command::AddOption( const char* pName, int& rNumber, const std::string& aHelp ) const
{
    return Option( m_pApp->add_option( pName, rNumber, aHelp ) );
}

Option Command::AddOption( const char* pName, DWORD& rNumber, const std::string& aHelp ) const
{
    return Option( m_pApp->add_option( pName, rNumber, aHelp ) );
}

Option Command::AddOption( const char* pName, size_t& rNumber, const std::string& aHelp ) const
{
    return Option( m_pApp->add_option( pName, rNumber, aHelp ) );
}

Option Command::AddOption( const char* pName, std::optional<double>& rNumber, const std::string& aHelp ) const
{
    return AddOptional( m_pApp, pName, rNumber, aHelp );
}

Option Command::AddFlag( const char* pName, bool& rFlag, const std::string& aHelp ) const
{
    return Option( m_pApp->add_flag( pName, rFlag, aHelp ) );
}

Option Command::AddWord( const char* pName, std::string& rWord, const std::string& aHelp ) const
{
    return AddOption( pName, rWord, aHelp ).Required().TypeName( "" );
}

Option Command::AddWord( const char* pName, std::vector<std::string>& rWords, const std::string& aHelp ) const
{
    return AddOption( pName, rWords, aHelp ).Required().TypeName( "" );
}

Option Command::AddRepeated( const char* pName, const std::string& aHelp ) const
{
    return Option( m_pApp->add_option( pName, aHelp )->type_size( 1 )->expected( 1 )->take_all() );
}

std::vector<GivenOption> Command::GetGiven() const
{
    std::vector<GivenOption> aGiven;
    std::map<const CLI::Option*, size_t> aTimes;
    for ( const CLI::Option* pOption : m_pApp->parse_order() )
        aGiven.push_back( { pOption->get_name(), pOption->results().at( aTimes[pOption]++ ) } );
    return aGiven;
}

// ---- the whole ----------------------------------------------------------------------------------------------------------

CommandLine::CommandLine( const char* pName, const char* pSummary, const char* pVersion )
    : m_pApp( std::make_unique<CLI::App>( pSummary, pName ) )
{
    m_pApp->set_version_flag( "--version", pVersion );
    // A path may begin with a slash on Windows, too.
    m_pApp->allow_windows_style_options( false );
    m_pApp->fallthrough();
}

CommandLine::~CommandLine() = default;

Command CommandLine::GetProgram() const
{
    return Command( m_pApp.get() );
}

std::string CommandLine::Run( int argc, const char* const* argv ) const
{
    try
    {
        m_pApp->parse( argc, argv );
    }
    catch ( const CLI::Success& aAnswer )
    {
        std::ostringstream aText;
        m_pApp->exit( aAnswer, aText );
        return aText.str();
    }
    catch ( const CLI::ParseError& aError )
    {
        throw ToolFailure( ExitCode::Usage, DescribeUsage( *m_pApp, aError ) + "; --help tells what is" );
    }
    return std::string();
}
