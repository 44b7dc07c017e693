#include "runtime/rwfilemanager.h"

#include <algorithm>
#include <cstring>

namespace
{
constexpr uint64_t MOST_FILE_SIZE = 0x7FFFFFFF;
constexpr uint64_t FIRST_BLOCK = TREE_ROOTS * TREE_PAGE_SIZE;
constexpr size_t WORD_BITS = 64;

// Nobody else may complete a state once it has been looked at.
SystemFile& LockedUnless( bool fReadOnly, SystemFile& rFile )
{
    if ( !fReadOnly && !rFile.LockForWriting() )
        throw RWFileErr( "RWFileManager: another one writes to the file" );
    return rFile;
}
} // namespace

RWFileManager::RWFileManager( const char* pFileName, const char* pMode )
    : RWFile( pFileName, pMode ),
      m_aStates( LockedUnless( IsReadOnly(), GetSystemFile() ) ),
      m_ullEnd( m_aStates.GetRoot() != nullptr ? GetCompleteEnd()
                                               : std::max( GetSystemFile().GetSize(), FIRST_BLOCK ) )
{
}

RWFileManager::~RWFileManager() = default;

uint64_t RWFileManager::GetCompleteEnd() const noexcept
{
    const TreePage* const pRoot = m_aStates.GetRoot();
    return std::max<uint64_t>( pRoot != nullptr ? pRoot->aHead.ulEnd : 0, FIRST_BLOCK );
}

void RWFileManager::TakeRoom( uint64_t ullSize, uint64_t ullReserved )
{
    const uint64_t ullTaken = m_ullEnd + ullReserved;
    if ( ullTaken > MOST_FILE_SIZE || ullSize > MOST_FILE_SIZE - ullTaken )
        throw RWFileErr(
            "RWFileManager: the file would grow beyond the 2147483647 bytes that offsets reach" );
    m_ullEnd += ullSize;
}

RWoffset RWFileManager::allocate( unsigned long ulSize )
{
    const uint64_t ullPlace = m_ullEnd;
    TakeRoom( ulSize, m_ullReserved );
    return static_cast<RWoffset>( ullPlace );
}

void RWFileManager::Reserve( uint64_t ullSize )
{
    const uint64_t ullAgain = std::min<uint64_t>( ullSize, m_aFreePages.size() * TREE_PAGE_SIZE );
    TakeRoom( 0, ullSize - ullAgain );
    m_ullReserved = ullSize - ullAgain;
}

bool RWFileManager::FollowStates()
{
    uint64_t ullSequence = 0;
    const uint64_t ullPlace = m_aStates.GetNextSequencePlace();
    if ( const char* const pSequence = ViewMapped( ullPlace, sizeof( ullSequence ) ) )
        std::memcpy( &ullSequence, pSequence, sizeof( ullSequence ) );
    else
        GetSystemFile().ReadAt( &ullSequence, sizeof( ullSequence ), ullPlace );
    if ( ullSequence <= m_aStates.GetRoot()->aHead.ullSequence || !m_aStates.TakeNewest() )
        return false;
    ForgetWhatWasRead();
    return true;
}

const TreePage& RWFileManager::GetPage( uint32_t ulPage, unsigned uLevel )
{
    const uint64_t ullPlace = uint64_t{ ulPage } * TREE_PAGE_SIZE;
    if ( IsWaiting( ullPlace, TREE_PAGE_SIZE ) )
        Flush();
    // A mapping is renewed when pages have been written behind it.
    if ( GetMappedSize() != 0 && ViewMapped( ullPlace, TREE_PAGE_SIZE ) == nullptr )
        Map();
    const TreePage* pPage = GetMappedPage( ulPage );
    if ( pPage == nullptr )
    {
        if ( m_pPage == nullptr )
            m_pPage = std::make_unique_for_overwrite<TreePage>();
        if ( GetSystemFile().ReadAt( m_pPage.get(), TREE_PAGE_SIZE, ullPlace ) == TREE_PAGE_SIZE &&
             IsWholePage( *m_pPage, ulPage ) )
            pPage = m_pPage.get();
    }
    if ( pPage == nullptr || ulPage < TREE_ROOTS || pPage->aHead.usLevel != uLevel ||
         ullPlace + TREE_PAGE_SIZE > std::max( m_ullEnd, GetCompleteEnd() ) )
        throw RWFileErr( "RWBTreeOnDisk: a page of the file is damaged" );
    return *pPage;
}

// NULL: the page is not mapped, or not whole. It is looked through once.
const TreePage* RWFileManager::GetMappedPage( uint32_t ulPage )
{
    const char* const pMapped = ViewMapped( uint64_t{ ulPage } * TREE_PAGE_SIZE, TREE_PAGE_SIZE );
    if ( pMapped == nullptr )
        return nullptr;
    const TreePage* const pPage = reinterpret_cast<const TreePage*>( pMapped );
    if ( m_aWholePages.size() <= ulPage / WORD_BITS )
        m_aWholePages.resize( GetMappedSize() / TREE_PAGE_SIZE / WORD_BITS + 1 );
    uint64_t& rBits = m_aWholePages[ulPage / WORD_BITS];
    const uint64_t ullBit = uint64_t{ 1 } << ulPage % WORD_BITS;
    if ( ( rBits & ullBit ) == 0 )
    {
        if ( !IsWholePage( *pPage, ulPage ) )
            return nullptr;
        rBits |= ullBit;
    }
    return pPage;
}

std::string_view RWFileManager::ViewText( const TreeKeyRest& rText )
{
    const std::string_view aBlock = ViewTextBlock( static_cast<uint32_t>( rText.lPlace ) );
    if ( ChecksumOfText( aBlock ) != rText.ulChecksum )
        throw RWFileErr( "RWBTreeOnDisk: a text of the file is damaged" );
    return aBlock.substr( sizeof( uint32_t ) );
}

uint32_t RWFileManager::WritePage( TreePage& rPage )
{
    uint32_t ulPage = 0;
    if ( !m_aFreePages.empty() )
        ulPage = m_aFreePages.back();
    else
    {
        const uint64_t ullGap = ( TREE_PAGE_SIZE - m_ullEnd % TREE_PAGE_SIZE ) % TREE_PAGE_SIZE;
        TakeRoom( ullGap + TREE_PAGE_SIZE, 0 );
        ulPage = static_cast<uint32_t>( m_ullEnd / TREE_PAGE_SIZE - 1 );
    }
    std::memcpy( rPage.aHead.aMark, TREE_PAGE_MARK, sizeof( TREE_PAGE_MARK ) );
    rPage.aHead.ulPage = ulPage;
    rPage.aHead.ullChecksum = ChecksumOfPage( rPage );
    SeekTo( static_cast<RWoffset>( ulPage * TREE_PAGE_SIZE ) );
    Write( reinterpret_cast<const char*>( &rPage ), TREE_PAGE_SIZE );
    if ( !m_aFreePages.empty() )
        m_aFreePages.pop_back();
    return ulPage;
}

void RWFileManager::GiveBack( const std::vector<uint32_t>& aPages )
{
    m_aFreePages.reserve( m_aFreePages.size() + aPages.size() );
    std::copy_if( aPages.begin(), aPages.end(), std::back_inserter( m_aFreePages ),
                  [this]( uint32_t ulPage ) { return ulPage * TREE_PAGE_SIZE >= GetCompleteEnd(); } );
}

void RWFileManager::Complete( TreePage& rRoot, bool fToDisk )
{
    Flush();
    rRoot.aHead.ulEnd = static_cast<uint32_t>( m_ullEnd );
    // The last block was perhaps taken and never written.
    if ( m_ullEnd != FIRST_BLOCK && GetSystemFile().GetSize() < m_ullEnd )
        GetSystemFile().WriteAt( "", 1, m_ullEnd - 1 );
    m_aStates.Complete( rRoot, fToDisk );
    m_ullReserved = 0;
}
