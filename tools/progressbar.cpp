#include "tools/progressbar.h"

#include "tools/terminal.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr std::chrono::milliseconds BETWEEN_TWO( 100 );
constexpr size_t MOST_SIGNS = 40;

} // namespace

// Nothing is shown of what is done at once.
ProgressBar::ProgressBar( const std::string& aWhat, size_t nTotal )
    : m_aWhat( aWhat ),
      m_nTotal( nTotal ),
      m_nColumns( GetTerminalColumns( stderr ) ),
      m_aNext( std::chrono::steady_clock::now() + BETWEEN_TWO )
{
}

ProgressBar::~ProgressBar()
{
    if ( !m_fShown )
        return;
    fprintf( stderr, "\r%*s\r", static_cast<int>( m_nColumns - 1 ), "" );
    fflush( stderr );
}

void ProgressBar::Show( size_t nDone )
{
    if ( m_nColumns < 2 || m_nTotal == 0 || std::chrono::steady_clock::now() < m_aNext )
        return;
    m_aNext = std::chrono::steady_clock::now() + BETWEEN_TWO;
    const size_t nSigns = MOST_SIGNS * std::min( nDone, m_nTotal ) / m_nTotal;
    const std::string aLine = "[" + std::string( nSigns, '#' ) + std::string( MOST_SIGNS - nSigns, '.' ) +
                              "] " + std::to_string( nDone ) + " of " + std::to_string( m_nTotal ) + " " +
                              m_aWhat;
    fprintf( stderr, "\r%s", aLine.substr( 0, m_nColumns - 1 ).c_str() );
    fflush( stderr );
    m_fShown = true;
}
