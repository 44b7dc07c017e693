#include "platform/profile/iniedit.h"

#include "platform/profile/iniscan.h"

namespace
{
constexpr std::string_view WINDOWS_LINE_END = "\r\n";

// The line end right before a place; empty where none is.
std::string_view LineEndBefore( std::string_view aText, size_t nAt ) noexcept
{
    const std::string_view aBefore = aText.substr( 0, nAt );
    if ( aBefore.ends_with( WINDOWS_LINE_END ) )
        return aBefore.substr( nAt - WINDOWS_LINE_END.size() );
    const bool fEnds = aBefore.ends_with( '\n' ) || aBefore.ends_with( '\r' );
    return fEnds ? aBefore.substr( nAt - 1 ) : std::string_view{};
}

// How lines end in a text: as its last one does.
std::string_view UsualLineEnd( std::string_view aText ) noexcept
{
    const size_t nLast = aText.find_last_of( WINDOWS_LINE_END );
    return nLast != aText.npos ? LineEndBefore( aText, nLast + 1 ) : WINDOWS_LINE_END;
}

std::string Joined( std::initializer_list<std::string_view> aPieces )
{
    std::string strJoined;
    for ( const std::string_view aPiece : aPieces )
        strJoined += aPiece;
    return strJoined;
}

// New lines at a place where a line begins, or behind a last line without end, which then gets one.
IniEdit InsertLines( std::string_view aText, size_t nAt, size_t nTextBegin,
                     std::initializer_list<std::string_view> aLines )
{
    std::string_view aLineEnd = LineEndBefore( aText, nAt );
    IniEdit aEdit;
    aEdit.nAt = nAt;
    if ( aLineEnd.empty() )
    {
        aLineEnd = UsualLineEnd( aText );
        if ( nAt > nTextBegin )
            aEdit.strInserted = aLineEnd;
    }
    for ( const std::string_view aLine : aLines )
        ( aEdit.strInserted += aLine ) += aLineEnd;
    return aEdit;
}

// Behind the last line of a section that is not blank.
size_t EndOfLines( IniScanner& rScanner, std::string_view aText, const IniSection& rSection ) noexcept
{
    size_t nEnd = rSection.nBody;
    IniKey aLine;
    IniSection aNext;
    for ( size_t nLine = rSection.nBody; nLine < aText.size(); nLine = aLine.aLine.nNext )
    {
        if ( rScanner.ReadLine( nLine, aLine, aNext ) == IniLineKind::Header )
            break;
        if ( !TrimIniBlanks( aText.substr( nLine, aLine.aLine.nEnd - nLine ) ).empty() )
            nEnd = aLine.aLine.nNext;
    }
    return nEnd;
}

IniEdit AddKey( std::string_view aText, const IniSection& rSection, const IniChange& rChange )
{
    IniScanner aScanner( aText );
    const size_t nAt = EndOfLines( aScanner, aText, rSection );
    return InsertLines( aText, nAt, aScanner.FirstSection().nBody,
                        { Joined( { rChange.aKey, "=", rChange.aValue } ) } );
}

// The rest of the line goes, with what follows a zero byte in it.
IniEdit ReplaceValue( std::string_view aText, const IniKey& rKey, std::string_view aValue )
{
    const size_t nAt = static_cast<size_t>( rKey.aValue.data() - aText.data() );
    const size_t nRemoved = rKey.aLine.nEnd - nAt;
    if ( aText.substr( nAt, nRemoved ) == aValue )
        return {};
    return { nAt, nRemoved, std::string( aValue ) };
}

IniEdit DeleteSection( std::string_view aText, const IniSection& rSection ) noexcept
{
    IniSection aNext;
    const size_t nEnd =
        IniScanner( aText ).FindHeader( rSection.nBody, aNext ) ? aNext.nHeader : aText.size();
    return { rSection.nHeader, nEnd - rSection.nHeader, {} };
}
} // namespace

IniEdit EditIni( std::string_view aText, const IniChange& rChange )
{
    IniScanner aScanner( aText );
    IniSection aSection;
    const bool fSets = rChange.eKind == IniChange::Kind::SetKey;
    if ( !aScanner.FindSection( rChange.aSection, aSection ) )
    {
        if ( !fSets )
            return {};
        return InsertLines(
            aText, aText.size(), aScanner.FirstSection().nBody,
            { Joined( { "[", rChange.aSection, "]" } ), Joined( { rChange.aKey, "=", rChange.aValue } ) } );
    }
    if ( rChange.eKind == IniChange::Kind::DeleteSection )
        return DeleteSection( aText, aSection );
    IniKey aKey;
    if ( aScanner.FindKey( aSection, rChange.aKey, aKey ) )
        return fSets ? ReplaceValue( aText, aKey, rChange.aValue )
                     : IniEdit{ aKey.aLine.nBegin, aKey.aLine.nNext - aKey.aLine.nBegin, {} };
    return fSets ? AddKey( aText, aSection, rChange ) : IniEdit{};
}
