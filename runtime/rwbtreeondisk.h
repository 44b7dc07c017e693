// Keys and places in a file: a B-tree that is kept in the file of a file manager, beside what the places are those of. A
// place is that of a text in the form in which RWCString saves it; the tree keeps the text's checksum, too, and never gives
// out the place of a text that is not as it was.
//
// What is inserted waits in memory, in bounded room, and becomes part of the file's last complete state, all at once, with
// Flush or the end of the object. A tree whose file was opened to be read follows the states that others complete.
//
// Whatever fails throws RWFileErr, or std::bad_alloc where there is no memory. Threads: one at a time, file included.
#pragma once

#include "runtime/pendingkeys.h"
#include "runtime/rwfilemanager.h"

#include <bxtools/rwcstring.h>

class RWBTreeOnDisk
{
public:
    enum createMode
    {
        autoCreate // makes a tree in a file that holds none
    };
    enum styleMode
    {
        V6Style
    };

    // Opens the tree of a file.
    //   ulKeyLength  for a file that holds none yet: how many characters of a key stand in the tree's pages. The rest of a
    //                longer one stands elsewhere in the file and makes it slower to find, no more. At least one counts, and
    //                at most 1,024.
    //   fIgnoreNull  true: the empty key is never inserted and never found.
    // The other numbers are taken and not used: pages are of one size and as full as may be, a file holds one tree.
    RW_EXPORT RWBTreeOnDisk( RWFileManager& rFile, unsigned uBuffers = 10, createMode eCreate = autoCreate,
                             unsigned ulKeyLength = 16, bool fIgnoreNull = false, RWoffset lStart = RWNIL,
                             styleMode eStyle = V6Style, unsigned uHalfOrder = 10, unsigned uMinFill = 10 );
    // Completes what was inserted; what fails is lost, so flush before.
    RW_EXPORT ~RWBTreeOnDisk();
    RWBTreeOnDisk( const RWBTreeOnDisk& ) = delete;
    RWBTreeOnDisk& operator=( const RWBTreeOnDisk& ) = delete;

    // Inserts a key with the place of a text that has been saved there.
    // Result: false when the tree has the key, which then keeps its place.
    RW_EXPORT bool insertKeyAndValue( const char* pKey, RWoffset lValue );
    // Finds the place of a key's text.
    //   rFoundKey  out: the key, when it was found; else unchanged, as is lValue.
    RW_EXPORT bool findKeyAndValue( const char* pKey, RWCString& rFoundKey, RWoffset& rlValue );
    // Calls a function for each key, in their order, with the place of its text, which is not looked at. The tree must not be
    // used meanwhile; its file may be. What was inserted is completed first.
    RW_EXPORT void applyToKeyAndValue( void ( *pApply )( const char* pKey, RWoffset lValue, void* pContext ),
                                       void* pContext );
    // Takes the state that another process may have completed meanwhile. Result: its number, more than that of any before.
    RW_EXPORT uint64_t FollowState();
    // What was inserted is on the disk, as the file's last complete state.
    RW_EXPORT void Flush();

private:
    const TreePage& GetRoot() const noexcept
    {
        return m_pNewRoot != nullptr ? *m_pNewRoot : *m_rFile.GetStates().GetRoot();
    }
    TreeKey MakeKey( std::string_view aKey ) const noexcept;
    bool Find( const TreeKey& rKey, uint32_t ulHash, LeafSlot& rSlot );
    void ReserveForOneMore( const TreeKey& rKey );
    void SaveRest( TreeKey& rKey );
    void WritePending();

    RWFileManager& m_rFile;
    bool m_fIgnoreNull;
    unsigned m_uLookups = 0; // up to where the file is mapped
    PendingKeys m_aPending;
    std::unique_ptr<TreePage> m_pNewRoot; // of the state to come, once pages of it have been written
};
