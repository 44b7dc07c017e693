// The last complete state of a tree file: the newer one of the two roots that are whole. A new state takes the place of the
// older root, and only when all that it stands on is on the disk; so whatever interrupts it, one of the two is whole.
#pragma once

#include "runtime/systemfile.h"
#include "runtime/treepage.h"

#include <memory>

class TreeStates
{
public:
    // Reads the roots.
    explicit TreeStates( SystemFile& rFile );

    // The root of the state, the object's own; NULL: the file has none.
    const TreePage* GetRoot() const noexcept { return m_pRoot; }
    // Whether the file has never held a tree or anything else.
    bool IsNewFile() const noexcept { return m_fNewFile; }

    // The number of the page where the next state will come up, and the place of its sequence number in the file.
    uint32_t GetNextPage() const noexcept { return m_pRoot == nullptr ? 0 : 1 - m_pRoot->aHead.ulPage; }
    uint64_t GetNextSequencePlace() const noexcept
    {
        return GetNextPage() * TREE_PAGE_SIZE + offsetof( TreePageHead, ullSequence );
    }
    // Reads the roots again, since several states may have come up meanwhile. Result: whether there is a newer one.
    bool TakeNewest();

    // Makes a root that of the last complete state; what it stands on is in the file. The number of the page, its sequence
    // number and its sum are set here.
    //   fToDisk  a loss of power must not leave less than one complete state.
    void Complete( TreePage& rRoot, bool fToDisk );

private:
    bool IsWholeRoot( const TreePage& rPage, uint32_t ulPage, uint64_t ullFileSize ) const noexcept;

    SystemFile& m_rFile;
    std::unique_ptr<TreePage[]> m_pPages; // as many as there are roots
    const TreePage* m_pRoot = nullptr;
    bool m_fNewFile = false;
};
