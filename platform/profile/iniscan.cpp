#include "platform/profile/iniscan.h"

#include "platform/profile/inifold.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr bool IsBlank( char c ) noexcept
{
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

bool IsLineEnd( char c ) noexcept
{
    return c == '\n' || c == '\r';
}

// Those in front.
size_t CountBlanks( std::string_view aText ) noexcept
{
    size_t nBlanks = 0;
    while ( nBlanks < aText.size() && IsBlank( aText[nBlanks] ) )
        ++nBlanks;
    return nBlanks;
}
} // namespace

std::string_view TrimIniBlanks( std::string_view aText ) noexcept
{
    const size_t nBegin = CountBlanks( aText );
    size_t nEnd = aText.size();
    while ( nEnd > nBegin && IsBlank( aText[nEnd - 1] ) )
        --nEnd;
    return aText.substr( nBegin, nEnd - nBegin );
}

size_t IniByteFinder::Find( size_t nFrom, size_t nLimit ) noexcept
{
    // A rare byte is looked for in strides of this length: not to the end for one line, nor once for each line.
    constexpr size_t STRIDE = 512;
    if ( nFrom > m_nLooked || ( nFrom == m_nLooked && !m_fFound ) )
    {
        m_nLooked = nFrom;
        m_fFound = false;
    }
    while ( !m_fFound && m_nLooked < nLimit )
    {
        const size_t nEnd = std::min( std::max( nLimit, m_nLooked + STRIDE ), m_aText.size() );
        const char* const pFrom = m_aText.data() + m_nLooked;
        const void* const pFound = std::memchr( pFrom, m_cByte, nEnd - m_nLooked );
        m_fFound = pFound != nullptr;
        m_nLooked =
            m_fFound ? m_nLooked + static_cast<size_t>( static_cast<const char*>( pFound ) - pFrom ) : nEnd;
    }
    return std::min( m_nLooked, nLimit );
}

IniScanner::IniScanner( std::string_view aText ) noexcept
    : m_aText( aText ),
      m_nStart( aText.starts_with( "\xEF\xBB\xBF" ) ? 3 : 0 ),
      m_aLineFeeds( aText, '\n' ),
      m_aReturns( aText, '\r' ),
      m_aZeros( aText, '\0' )
{
}

IniLine IniScanner::LineAt( size_t nBegin ) noexcept
{
    const size_t nLineFeed = m_aLineFeeds.Find( nBegin, m_aText.size() );
    IniLine aLine;
    aLine.nBegin = nBegin;
    aLine.nEnd = m_aReturns.Find( nBegin, nLineFeed );
    aLine.nTextEnd = m_aZeros.Find( nBegin, aLine.nEnd );
    aLine.nNext = std::min( aLine.nEnd + ( aLine.nEnd + 1 == nLineFeed ? 2 : 1 ), m_aText.size() );
    return aLine;
}

size_t IniScanner::BeginOfBlanks( size_t nAt ) const noexcept
{
    while ( nAt > m_nStart && IsBlank( m_aText[nAt - 1] ) )
        --nAt;
    return nAt;
}

bool IniScanner::FindHeader( size_t nFrom, IniSection& rSection ) noexcept
{
    for ( size_t nBracket = nFrom; nBracket < m_aText.size(); ++nBracket )
    {
        nBracket = m_aText.find( '[', nBracket );
        if ( nBracket == m_aText.npos )
            return false;
        const size_t nBegin = BeginOfBlanks( nBracket );
        if ( nBegin != m_nStart && !IsLineEnd( m_aText[nBegin - 1] ) )
            continue;
        IniKey aKey;
        if ( ReadLine( nBegin, aKey, rSection ) == IniLineKind::Header )
            return true;
    }
    return false;
}

bool IniScanner::FindSection( std::string_view aName, IniSection& rSection ) noexcept
{
    rSection = FirstSection();
    if ( aName.empty() )
        return true;
    while ( FindHeader( rSection.nBody, rSection ) )
    {
        if ( EqualIniNames( rSection.aName, aName ) )
            return true;
    }
    return false;
}

IniLineKind IniScanner::ReadLine( size_t nBegin, IniKey& rKey, IniSection& rHeader ) noexcept
{
    rKey.aLine = LineAt( nBegin );
    const std::string_view aText = m_aText.substr( nBegin, rKey.aLine.nTextEnd - nBegin );
    const size_t nFirst = CountBlanks( aText );
    if ( nFirst < aText.size() && aText[nFirst] == '[' )
    {
        const size_t nLast = aText.rfind( ']' );
        if ( nLast != aText.npos )
        {
            rHeader = { TrimIniBlanks( aText.substr( nFirst + 1, nLast - nFirst - 1 ) ), nBegin,
                        rKey.aLine.nNext };
            return IniLineKind::Header;
        }
    }
    const size_t nEquals = aText.find( '=', nFirst );
    if ( nEquals == aText.npos )
        return IniLineKind::Other;
    rKey.aName = TrimIniBlanks( aText.substr( 0, nEquals ) );
    rKey.aValue = TrimIniBlanks( aText.substr( nEquals + 1 ) );
    return IniLineKind::Key;
}

bool IniScanner::NextKey( size_t nFrom, IniKey& rKey ) noexcept
{
    for ( size_t nLine = nFrom; nLine < m_aText.size(); nLine = rKey.aLine.nNext )
    {
        IniSection aHeader;
        const IniLineKind eKind = ReadLine( nLine, rKey, aHeader );
        if ( eKind != IniLineKind::Other )
            return eKind == IniLineKind::Key;
    }
    return false;
}

bool IniScanner::FindKey( const IniSection& rSection, std::string_view aName, IniKey& rKey ) noexcept
{
    for ( size_t nFrom = rSection.nBody; NextKey( nFrom, rKey ); nFrom = rKey.aLine.nNext )
    {
        if ( EqualIniNames( rKey.aName, aName ) )
            return true;
    }
    return false;
}
