#include "tools/ini/findings.h"

#include "tools/errors/displaytext.h"
#include "tools/ini/inifile.h"

#include <map>

namespace
{

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";
constexpr char BLANKS[] = " \t\v\f";

std::string_view Trimmed( std::string_view aText )
{
    const size_t nFirst = aText.find_first_not_of( BLANKS );
    if ( nFirst == aText.npos )
        return {};
    return aText.substr( nFirst, aText.find_last_not_of( BLANKS ) - nFirst + 1 );
}

std::string Quoted( std::string_view aText )
{
    constexpr size_t MOST_SHOWN = 60;
    return "\"" + MakeVisible( aText.substr( 0, MOST_SHOWN ) ) +
           ( aText.size() > MOST_SHOWN ? "\" and so on" : "\"" );
}

// Looks at one line after the other.
class FaultFinder
{
public:
    void Look( size_t nLine, std::string_view aLine )
    {
        m_nLine = nLine;
        const size_t nZero = aLine.find( '\0' );
        if ( nZero != aLine.npos )
            Add( "a zero byte: what follows it in the line is not read" );
        const std::string_view aText = Trimmed( aLine.substr( 0, nZero ) );
        if ( aText.empty() || aText[0] == ';' )
            return;
        const size_t nBracket = aText.rfind( ']' );
        if ( aText[0] == '[' && nBracket != aText.npos )
            LookAtHeader( Trimmed( aText.substr( 1, nBracket - 1 ) ) );
        else if ( aText.find( '=' ) != aText.npos )
            LookAtKey( aText );
        else
            Add( Quoted( aText ) + ( aText[0] == '[' ? " lacks its closing bracket: it begins no group"
                                                     : " is no entry: it has no =" ) );
    }

    std::vector<IniFinding> aFindings;

private:
    void Add( const std::string& aText ) { aFindings.push_back( { m_nLine, aText } ); }
    void LookAtHeader( std::string_view aName )
    {
        m_aGroup = aName;
        m_aKeys.clear();
        const auto [aPlace, fNew] = m_aGroups.emplace( Folded( m_aGroup ), m_nLine );
        m_fRead = fNew && !aName.empty();
        if ( aName.empty() )
            Add( "a group without a name: its keys are not read" );
        else if ( !fNew )
            Add( "group [" + MakeVisible( aName ) + "] is there already, in line " +
                 std::to_string( aPlace->second ) + ": the keys here are not read" );
    }
    void LookAtKey( std::string_view aText )
    {
        const std::string_view aName = Trimmed( aText.substr( 0, aText.find( '=' ) ) );
        if ( aName.empty() )
            Add( "a key without a name" );
        else if ( aName[0] == '[' )
            Add( Quoted( aText ) + " lacks its closing bracket: it begins no group, it is a key" );
        // In a group that is not read at all it makes no difference.
        if ( !m_fRead || aName.empty() )
            return;
        const auto [aPlace, fNew] = m_aKeys.emplace( Folded( std::string( aName ) ), m_nLine );
        if ( !fNew )
            Add( "key " + Quoted( aName ) + " of [" + MakeVisible( m_aGroup ) +
                 "] is there already, in line " + std::to_string( aPlace->second ) +
                 ": this one is not read" );
    }

    size_t m_nLine = 0;
    std::string m_aGroup;
    bool m_fRead = true;
    std::map<std::string, size_t> m_aGroups;
    std::map<std::string, size_t> m_aKeys; // of the group
};

} // namespace

std::vector<IniFinding> FindIniFaults( std::string_view aText )
{
    if ( aText.starts_with( UTF8_MARK ) )
        aText.remove_prefix( UTF8_MARK.size() );
    FaultFinder aFinder;
    for ( size_t nLine = 1; !aText.empty(); ++nLine )
    {
        const size_t nEnd = std::min( aText.find_first_of( "\r\n" ), aText.size() );
        aFinder.Look( nLine, aText.substr( 0, nEnd ) );
        const bool fTwo = aText.substr( nEnd ).starts_with( "\r\n" );
        aText.remove_prefix( std::min( nEnd + ( fTwo ? 2 : 1 ), aText.size() ) );
    }
    return aFinder.aFindings;
}
