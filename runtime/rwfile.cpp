#include "runtime/rwfile.h"

#include <bxtools/rwcstring.h>

#include <algorithm>
#include <cstring>

namespace
{
constexpr size_t WAITING_SIZE = 256 * 1024;
constexpr size_t WINDOW_SIZE = 1024;
constexpr uint64_t MOST_MAPPED = 0x80000000;

SystemFile::Opening OpeningOf( const char* pMode )
{
    const std::string_view aMode( pMode != NULL ? pMode : "a+" );
    const bool fUpdate = aMode.find( '+' ) != std::string_view::npos;
    switch ( aMode.empty() ? '\0' : aMode[0] )
    {
    case 'r': return fUpdate ? SystemFile::Opening::UPDATE : SystemFile::Opening::READ;
    case 'w': return SystemFile::Opening::ANEW;
    case 'a': return SystemFile::Opening::UPDATE_OR_CREATE;
    default: throw RWFileErr( "RWFile: there is no such mode" );
    }
}

[[noreturn]] void ThrowPastEnd()
{
    throw RWFileErr( "RWFile: the file ends before what is to be read" );
}
} // namespace

RWFileErr::~RWFileErr() = default;

RWFile::RWFile( const char* pFileName, const char* pMode )
    : m_aSystemFile( pFileName != NULL ? pFileName : "", OpeningOf( pMode ) ),
      m_fReadOnly( OpeningOf( pMode ) == SystemFile::Opening::READ )
{
}

RWFile::~RWFile()
{
    try
    {
        Flush();
    }
    catch ( const std::exception& )
    {
    }
    Unmap();
}

bool RWFile::SeekTo( RWoffset lPlace )
{
    if ( lPlace < 0 )
        return false;
    m_ullPosition = static_cast<uint64_t>( lPlace );
    return true;
}

void RWFile::Read( char* pBytes, size_t nSize )
{
    if ( nSize != 0 )
        std::memcpy( pBytes, View( m_ullPosition, nSize ), nSize );
    m_ullPosition += nSize;
}

void RWFile::Write( const char* pBytes, size_t nSize )
{
    if ( m_fReadOnly )
        throw RWFileErr( "RWFile: the file was opened to be read" );
    m_nWindow = 0;
    if ( m_pWaiting == nullptr )
        m_pWaiting = std::make_unique_for_overwrite<char[]>( WAITING_SIZE );
    if ( m_ullPosition != m_ullWaitingPlace + m_nWaiting )
        Flush();
    while ( nSize != 0 )
    {
        if ( m_nWaiting == 0 )
            m_ullWaitingPlace = m_ullPosition;
        // Up to the next multiple of the buffer's size, since the system takes pieces that begin at such faster.
        const size_t nRoom =
            WAITING_SIZE - static_cast<size_t>( m_ullWaitingPlace % WAITING_SIZE ) - m_nWaiting;
        const size_t nNow = std::min( nSize, nRoom );
        std::memcpy( m_pWaiting.get() + m_nWaiting, pBytes, nNow );
        m_nWaiting += nNow;
        m_ullPosition += nNow;
        pBytes += nNow;
        nSize -= nNow;
        if ( nNow == nRoom )
            Flush();
    }
}

void RWFile::Flush()
{
    if ( m_nWaiting != 0 )
        m_aSystemFile.WriteAt( m_pWaiting.get(), m_nWaiting, m_ullWaitingPlace );
    m_nWaiting = 0;
}

void RWFile::WriteText( std::string_view aText )
{
    if ( aText.size() > INT32_MAX )
        throw RWFileErr( "RWFile: the text is too long for a file of this kind" );
    const uint32_t ulLength = static_cast<uint32_t>( aText.size() );
    Write( reinterpret_cast<const char*>( &ulLength ), sizeof( ulLength ) );
    Write( aText.data(), aText.size() );
}

std::string_view RWFile::ReadText()
{
    const std::string_view aBlock = ViewTextBlock( m_ullPosition );
    m_ullPosition += aBlock.size();
    return aBlock.substr( sizeof( uint32_t ) );
}

std::string_view RWFile::ViewTextBlock( uint64_t ullPlace )
{
    uint32_t ulLength = 0;
    std::memcpy( &ulLength, View( ullPlace, sizeof( ulLength ) ), sizeof( ulLength ) );
    const size_t nSize = sizeof( ulLength ) + size_t{ ulLength };
    if ( ulLength > INT32_MAX )
        ThrowPastEnd();
    return { View( ullPlace, nSize ), nSize };
}

// Where bytes wait, where there is no mapping, or behind it.
const char* RWFile::ViewElsewhere( uint64_t ullPlace, size_t nSize )
{
    const uint64_t ullEnd = ullPlace + nSize;
    if ( IsWaiting( ullPlace, nSize ) )
    {
        if ( ullPlace >= m_ullWaitingPlace && ullEnd <= m_ullWaitingPlace + m_nWaiting )
            return m_pWaiting.get() + ( ullPlace - m_ullWaitingPlace );
        Flush();
    }
    if ( const char* const pMapped = ViewMapped( ullPlace, nSize ) )
        return pMapped;
    if ( m_nWindow != 0 && ullPlace >= m_ullWindowPlace && ullEnd <= m_ullWindowPlace + m_nWindow )
        return m_aWindow.data() + ( ullPlace - m_ullWindowPlace );
    // A damaged length must not ask for memory that the file could not fill.
    if ( nSize > WINDOW_SIZE && ullEnd > m_aSystemFile.GetSize() )
        ThrowPastEnd();
    m_nWindow = 0;
    if ( m_aWindow.size() < nSize )
        m_aWindow.resize( std::max( nSize, WINDOW_SIZE ) );
    m_nWindow = m_aSystemFile.ReadAt( m_aWindow.data(), std::max( nSize, WINDOW_SIZE ), ullPlace );
    m_ullWindowPlace = ullPlace;
    if ( m_nWindow < nSize )
        ThrowPastEnd();
    return m_aWindow.data();
}

void RWFile::Map() noexcept
{
    try
    {
        const uint64_t ullSize = std::min( m_aSystemFile.GetSize(), MOST_MAPPED );
        if ( ullSize <= m_nMapped || m_aSystemFile.MayBeCutByOthers() )
            return;
        const char* const pMapped = m_aSystemFile.Map( static_cast<size_t>( ullSize ) );
        if ( pMapped == nullptr )
            return;
        Unmap();
        m_pMapped = pMapped;
        m_nMapped = static_cast<size_t>( ullSize );
    }
    catch ( const std::exception& )
    {
        // Reading goes on without it.
    }
}

void RWFile::Unmap() noexcept
{
    if ( m_pMapped != nullptr )
        SystemFile::Unmap( m_pMapped, m_nMapped );
    m_pMapped = nullptr;
    m_nMapped = 0;
}

void RWCString::saveOn( RWFile& rFile ) const
{
    rFile.WriteText( { m_pText, m_ulLength } );
}

void RWCString::restoreFrom( RWFile& rFile )
{
    const std::string_view aText = rFile.ReadText();
    assign( aText.data(), aText.size() );
}
