// A file whose room is given out in blocks, and which may hold a tree. Room is only ever given out behind the last complete
// state of the tree, so that nobody who reads that state is disturbed. Its first two pages are kept for the tree's roots.
#pragma once

#include "runtime/rwfile.h"
#include "runtime/treestates.h"

class RWFileManager : public RWFile
{
public:
    // Opens a file, as RWFile does; with a mode that lets it be written, only one at a time succeeds among all processes. What
    // the file holds is not looked at.
    RW_EXPORT explicit RWFileManager( const char* pFileName, const char* pMode = NULL );
    RW_EXPORT ~RWFileManager();

    // Takes a block of so many bytes. Result: its place. Throws RWFileErr where the file would grow beyond what an RWoffset
    // reaches, with what its tree still has to put there.
    RW_EXPORT RWoffset allocate( unsigned long ulSize );

    // What follows is for the tree in the file.

    using RWFile::IsReadOnly;
    const TreeStates& GetStates() const noexcept { return m_aStates; }
    // Takes the state that another process may have completed. Result: whether there is a new one.
    bool FollowStates();
    // After the first few lookups: what is read from now on comes from a mapping, where one is to be had.
    using RWFile::Map;

    // A page below the root; valid until the next one is asked for. Throws RWFileErr unless it is whole and of that level.
    const TreePage& GetPage( uint32_t ulPage, unsigned uLevel );
    // A text with its length in front, and one without, both checked; valid until the file is used again.
    std::string_view ViewTextBlock( uint32_t ulPlace ) { return RWFile::ViewTextBlock( ulPlace ); }
    std::string_view ViewText( const TreeKeyRest& rText );
    // Whoever looks at the text there soon finds it nearer.
    void Prefetch( uint32_t ulPlace ) const noexcept
    {
        if ( const char* const pText = ViewMapped( ulPlace, 1 ) )
        {
            __builtin_prefetch( pText );
            __builtin_prefetch( pText + 64 );
        }
    }

    // Writes a page of a state to come. Result: its number.
    uint32_t WritePage( TreePage& rPage );
    // Pages that no state needs: those written since the last complete one are taken again.
    void GiveBack( const std::vector<uint32_t>& aPages );
    // Bytes that the tree will need for its pages. Throws as allocate does, and then changes nothing.
    void Reserve( uint64_t ullSize );
    // Makes a root, with all that has been written, the last complete state.
    void Complete( TreePage& rRoot, bool fToDisk );

private:
    const TreePage* GetMappedPage( uint32_t ulPage );
    uint64_t GetCompleteEnd() const noexcept;
    void TakeRoom( uint64_t ullSize, uint64_t ullReserved );

    TreeStates m_aStates;
    uint64_t m_ullEnd;          // behind the last block
    uint64_t m_ullReserved = 0; // for pages
    std::vector<uint32_t> m_aFreePages;
    std::unique_ptr<TreePage> m_pPage;   // read last, without a mapping
    std::vector<uint64_t> m_aWholePages; // a bit for each page of the mapping that has been found whole
};
