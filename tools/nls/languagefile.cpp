#include "tools/nls/languagefile.h"

#include "tools/errors/displaytext.h"
#include "tools/systemtext.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>

namespace
{

// Of larger codes the library makes its default one.
constexpr int LARGEST_CODE = 1000;

// Whether it is UTF-8 without a zero, which ends what programs read.
bool IsText( std::string_view aText )
{
    return aText.find( '\0' ) == aText.npos && IsUtf8( aText );
}

class LanguageFileParser
{
public:
    LanguageFileParser( LanguageFile& rFile, std::vector<Finding>& rFindings )
        : m_rFile( rFile ),
          m_rFindings( rFindings )
    {
    }

    void Parse( std::string_view aBytes )
    {
        RowReader aReader( aBytes );
        std::vector<Cell> aRow;
        // Comments may stand anywhere but before the header: it is the first line for whoever reads it.
        const bool fAny = aReader.Next( aRow );
        if ( !fAny || aRow[0].aPlace.nLine != 1 )
            Add( {}, "the first line is no header, such as Key;German=049;English=044" );
        else
            TakeHeader( aRow );
        // Without a language nothing that follows can be told right from wrong.
        while ( !m_rFile.aLanguages.empty() && aReader.Next( aRow ) )
            TakeRow( aRow );
        for ( const CellFinding& rFinding : aReader.GetFindings() )
            Add( rFinding.aPlace, rFinding.aText );
    }

private:
    void Add( const Place& rPlace, const std::string& aText )
    {
        m_rFindings.push_back( { m_rFile.aPath, rPlace, aText } );
    }

    void TakeHeader( const std::vector<Cell>& rRow )
    {
        // Spreadsheets fill it up to the longest row.
        size_t nCells = rRow.size();
        while ( nCells > 1 && Trimmed( rRow[nCells - 1].aText ).empty() )
            nCells--;
        if ( nCells == 1 )
            Add( rRow[0].aPlace, "the header names no language; it looks like Key;German=049;English=044" );
        for ( size_t i = 1; i < nCells; i++ )
            TakeLanguage( rRow[i] );
    }

    // "German=049" or "049"
    void TakeLanguage( const Cell& rCell )
    {
        const std::string_view aText = rCell.aText;
        const size_t nEqual = aText.find( '=' );
        const std::string_view aCode = nEqual == aText.npos ? aText : aText.substr( nEqual + 1 );
        Language aLanguage{ 0, nEqual == aText.npos ? "" : std::string( aText.substr( 0, nEqual ) ) };
        const auto [pEnd, aError] =
            std::from_chars( aCode.data(), aCode.data() + aCode.size(), aLanguage.nCode );
        if ( aError != std::errc() || pEnd != aCode.data() + aCode.size() || aLanguage.nCode < 1 ||
             aLanguage.nCode > LARGEST_CODE )
        {
            Add( rCell.aPlace, Quoted( aText ) +
                                   " is no language: a code from 1 to 1000 is wanted, or a name, "
                                   "= and a code" );
            aLanguage.nCode = NO_LANGUAGE;
        }
        else if ( std::any_of( m_rFile.aLanguages.begin(), m_rFile.aLanguages.end(),
                               [&]( const Language& rOther ) { return rOther.nCode == aLanguage.nCode; } ) )
            Add( rCell.aPlace, "language " + CodeText( aLanguage.nCode ) + " is there already" );
        // It keeps its column in any case.
        m_rFile.aLanguages.push_back( aLanguage );
    }

    void TakeRow( const std::vector<Cell>& rRow )
    {
        const std::string_view aFirst = Trimmed( rRow[0].aText );
        if ( aFirst.starts_with( '[' ) )
            TakeGroup( rRow, aFirst );
        else if ( aFirst.find( '=' ) != aFirst.npos )
            TakeEntry( rRow, aFirst );
        else
            for ( const Cell& rCell : rRow )
                if ( !Trimmed( rCell.aText ).empty() )
                    return Add( rCell.aPlace, Quoted( rCell.aText ) + " is no entry: it has no =" );
    }

    void TakeGroup( const std::vector<Cell>& rRow, std::string_view aFirst )
    {
        const size_t nBracket = aFirst.rfind( ']' );
        m_aGroup = Trimmed( aFirst.substr( 1, nBracket == aFirst.npos ? nBracket : nBracket - 1 ) );
        m_aKeys.clear();
        if ( nBracket == aFirst.npos )
            Add( rRow[0].aPlace, Quoted( aFirst ) + " lacks its closing bracket: it begins no group" );
        else if ( m_aGroup.empty() || m_aGroup.find( '.' ) != std::string::npos )
            Add( rRow[0].aPlace,
                 Quoted( m_aGroup ) + " cannot be asked for: a group has a name, and no dot in it" );
        const auto [aPlace, fNew] = m_aGroups.emplace( UpperCase( m_aGroup ), rRow[0].aPlace );
        if ( !fNew )
            Add( rRow[0].aPlace, "group [" + MakeVisible( m_aGroup ) + "] is there already, in line " +
                                     std::to_string( aPlace->second.nLine ) );
        NameSurplus( rRow, 1, "a group has no texts" );
    }

    void TakeEntry( const std::vector<Cell>& rRow, std::string_view aFirst )
    {
        LanguageEntry aEntry{ m_aGroup, std::string( Trimmed( aFirst.substr( 0, aFirst.find( '=' ) ) ) ),
                              rRow[0].aPlace, rRow };
        if ( aEntry.aKey.empty() || m_aGroup.empty() )
            return Add( aEntry.aPlace,
                        aEntry.aKey.empty() ? "a text without a key" : "a key outside a group" );
        const auto [aPlace, fNew] = m_aKeys.emplace( UpperCase( aEntry.aKey ), aEntry.aPlace );
        if ( !fNew )
            return Add( aEntry.aPlace, "key " + Quoted( aEntry.aKey ) + " of [" + MakeVisible( m_aGroup ) +
                                           "] is there already, in line " +
                                           std::to_string( aPlace->second.nLine ) );
        const size_t nLanguages = m_rFile.aLanguages.size();
        NameSurplus( rRow, nLanguages,
                     "the header names " + std::to_string( nLanguages ) +
                         " languages; a text with a semicolon is put in quotes" );
        CutTexts( aEntry );
        for ( size_t i = 0; i < nLanguages; i++ )
            if ( m_rFile.aLanguages[i].nCode != NO_LANGUAGE )
                CheckText( aEntry, m_rFile.aLanguages[i], aEntry.aTexts[i] );
        m_rFile.aEntries.push_back( std::move( aEntry ) );
    }

    // The first text begins behind the key. The blanks around all texts of a line are not theirs.
    void CutTexts( LanguageEntry& rEntry )
    {
        Cell& rFirst = rEntry.aTexts.front();
        const size_t nStart = rFirst.aText.find( '=' ) + 1;
        const size_t nText = std::min( rFirst.aText.find_first_not_of( " \t", nStart ), rFirst.aText.size() );
        rFirst.aPlace.nColumn += CountColumns( rFirst.aText.substr( 0, nText ) ) + ( rFirst.fQuoted ? 1 : 0 );
        rFirst.aText.erase( 0, nText );
        rEntry.aTexts.resize( m_rFile.aLanguages.size(), Cell{ "", rEntry.aPlace } );
        Cell& rLast = rEntry.aTexts.back();
        if ( !rLast.fQuoted )
            rLast.aText.erase( rLast.aText.find_last_not_of( " \t" ) + 1 );
    }

    // Spreadsheets fill rows up with empty cells; those are none.
    void NameSurplus( const std::vector<Cell>& rRow, size_t nColumns, const std::string& aReason )
    {
        for ( size_t i = nColumns; i < rRow.size(); i++ )
            if ( !Trimmed( rRow[i].aText ).empty() )
                return Add( rRow[i].aPlace,
                            "column " + std::to_string( i + 1 ) + " is one too many: " + aReason );
    }

    void CheckText( const LanguageEntry& rEntry, const Language& rLanguage, Cell& rText )
    {
        if ( rText.aText.empty() )
            Add( rText.aPlace, "key " + Quoted( rEntry.aKey ) + " has no text for language " +
                                   CodeText( rLanguage.nCode ) );
        else if ( !IsText( rText.aText ) )
        {
            Add( rText.aPlace, Quoted( rText.aText ) + " is not UTF-8" );
            rText.aText.clear();
        }
        else if ( !rText.fQuoted && rText.aText.starts_with( '"' ) )
            Add( rText.aPlace,
                 "a quote begins this text: whether it belongs to it depends on the reader; put the "
                 "whole column in quotes" );
    }

    LanguageFile& m_rFile;
    std::vector<Finding>& m_rFindings;
    std::string m_aGroup;
    std::map<std::string, Place> m_aGroups;
    std::map<std::string, Place> m_aKeys; // of the group
};

} // namespace

std::string DescribeFinding( const Finding& rFinding )
{
    return MakeVisible( rFinding.aFile ) + ":" + std::to_string( rFinding.aPlace.nLine ) + ":" +
           std::to_string( rFinding.aPlace.nColumn ) + ": " + rFinding.aText;
}

std::string UpperCase( std::string aText )
{
    for ( char& rSign : aText )
        if ( rSign >= 'a' && rSign <= 'z' )
            rSign = static_cast<char>( rSign - 'a' + 'A' );
    return aText;
}

std::string Quoted( std::string_view aText )
{
    constexpr size_t MOST_SHOWN = 60;
    size_t nShown = std::min( aText.size(), MOST_SHOWN );
    // Not in the middle of a character.
    while ( nShown < aText.size() && nShown > 0 &&
            ( static_cast<unsigned char>( aText[nShown] ) & 0xC0 ) == 0x80 )
        nShown--;
    return "\"" + MakeVisible( aText.substr( 0, nShown ) ) +
           ( nShown < aText.size() ? "\" and so on" : "\"" );
}

std::string CodeText( int nCode )
{
    char szCode[16];
    snprintf( szCode, sizeof( szCode ), "%03d", nCode );
    return szCode;
}

LanguageFile ParseLanguageFile( const std::string& aPath, std::string_view aBytes,
                                std::vector<Finding>& rFindings )
{
    LanguageFile aFile;
    aFile.aPath = aPath;
    aFile.aModule = FromPath( ToPath( aPath ).stem() );
    LanguageFileParser( aFile, rFindings ).Parse( aBytes );
    return aFile;
}
