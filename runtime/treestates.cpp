#include "runtime/treestates.h"

#include <algorithm>
#include <cstring>

TreeStates::TreeStates( SystemFile& rFile )
    : m_rFile( rFile ),
      m_pPages( std::make_unique_for_overwrite<TreePage[]>( TREE_ROOTS ) )
{
    const size_t nRead = rFile.ReadAt( m_pPages.get(), TREE_ROOTS * TREE_PAGE_SIZE, 0 );
    // Asked for afterwards: the file grows before a root says so.
    const uint64_t ullSize = rFile.GetSize();
    const size_t nRoots = nRead / TREE_PAGE_SIZE;
    // The newer one first: with it whole, nobody asks for the other one.
    const size_t nNewer =
        nRoots == TREE_ROOTS && m_pPages[1].aHead.ullSequence > m_pPages[0].aHead.ullSequence ? 1 : 0;
    for ( const size_t nRoot : { nNewer, 1 - nNewer } )
    {
        if ( m_pRoot == nullptr && nRoot < nRoots &&
             IsWholeRoot( m_pPages[nRoot], static_cast<uint32_t>( nRoot ), ullSize ) )
            m_pRoot = &m_pPages[nRoot];
    }
    // Whoever made the file may have been stopped before the first root, which is one of an empty tree, had its head.
    const char* const pBytes = reinterpret_cast<const char*>( m_pPages.get() );
    m_fNewFile = ullSize <= TREE_ROOTS * TREE_PAGE_SIZE &&
                 std::all_of( pBytes, pBytes + nRead, []( char cByte ) { return cByte == 0; } );
}

bool TreeStates::IsWholeRoot( const TreePage& rPage, uint32_t ulPage, uint64_t ullFileSize ) const noexcept
{
    return IsWholePage( rPage, ulPage ) && rPage.aHead.usLevel < MOST_TREE_LEVELS &&
           rPage.aHead.ulKeyLength != 0 && rPage.aHead.ulEnd <= ullFileSize &&
           rPage.aHead.ulPages <= ullFileSize / TREE_PAGE_SIZE;
}

bool TreeStates::TakeNewest()
{
    TreeStates aNow( m_rFile );
    if ( aNow.m_pRoot == nullptr ||
         ( m_pRoot != nullptr && aNow.m_pRoot->aHead.ullSequence <= m_pRoot->aHead.ullSequence ) )
        return false;
    m_pPages.swap( aNow.m_pPages );
    m_pRoot = aNow.m_pRoot;
    return true;
}

void TreeStates::Complete( TreePage& rRoot, bool fToDisk )
{
    const uint32_t ulPage = GetNextPage();
    std::memcpy( rRoot.aHead.aMark, TREE_PAGE_MARK, sizeof( TREE_PAGE_MARK ) );
    rRoot.aHead.ulPage = ulPage;
    rRoot.aHead.ullSequence = m_pRoot == nullptr ? 1 : m_pRoot->aHead.ullSequence + 1;
    rRoot.aHead.ullChecksum = ChecksumOfPage( rRoot );

    if ( fToDisk )
        m_rFile.FlushToDisk();
    // Room for both roots is taken at once: a full disk must not keep a state from being completed.
    if ( m_pRoot == nullptr )
        m_rFile.WriteAt( std::make_unique<TreePage>().get(), TREE_PAGE_SIZE, TREE_PAGE_SIZE );
    // The head comes last: readers look at its sequence number to see that there is a new state.
    const uint64_t ullPlace = ulPage * TREE_PAGE_SIZE;
    m_rFile.WriteAt( rRoot.aBytes, sizeof( rRoot.aBytes ), ullPlace + sizeof( TreePageHead ) );
    m_rFile.WriteAt( &rRoot.aHead, sizeof( TreePageHead ), ullPlace );
    m_pPages[ulPage] = rRoot;
    m_pRoot = &m_pPages[ulPage];
    if ( fToDisk )
        m_rFile.FlushToDisk();
}
