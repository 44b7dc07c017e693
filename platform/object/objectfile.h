// The file of a named object, mapped into this process.
#pragma once

#include "platform/object/objectlayout.h"
#include "platform/object/objectname.h"
#include "platform/object/processslots.h"

#include <sys/types.h>

class ObjectFile
{
public:
    ObjectFile() noexcept = default;
    ~ObjectFile() { Close(); }
    ObjectFile( const ObjectFile& ) = delete;
    ObjectFile& operator=( const ObjectFile& ) = delete;

    enum class Opening : unsigned char
    {
        Done,
        Missing, // there is no such file
        Damaged, // it is none of ours, or its maker was killed: it can be removed
        Failed   // the last error says why
    };
    // Maps the file that is there. With the folder's lock.
    //   rSlot  room is made for this slot's entry.
    Opening Open( NamespaceScope eScope, const ObjectLeaf& rLeaf, const ProcessSlot& rSlot ) noexcept;
    // Makes the file, which must not be there, and maps it; nobody can use it before its state is set. With the folder's
    // lock. False: the last error says why (112 the file system is full), and nothing is left.
    bool Make( const ObjectName& rName, const ObjectLeaf& rLeaf, ObjectKind eKind, ULONGLONG ullDataBytes,
               ULONGLONG ullAllocatedBytes, const ProcessSlot& rSlot ) noexcept;
    // Gives the mapping back. Changes nothing in the file.
    void Close() noexcept;

    NamespaceScope GetScope() const noexcept { return m_eScope; }
    ObjectHeader& GetHeader() const noexcept { return m_pPages->aHeader; }
    ObjectPages& GetPages() const noexcept { return *m_pPages; }
    bool HasName( const ObjectName& rName ) const noexcept;
    // What a mapping's bytes are mapped through; -1 for other kinds. False: somebody closed it.
    bool GetDescriptor( int& rnDescriptor ) const noexcept;

    // The holders. All of these with the guard.
    void EnterHolder( const ProcessSlot& rSlot ) noexcept;
    // False: others stand there, alive or not.
    bool LeaveHolder( const ProcessSlot& rSlot ) noexcept;
    // Clears dead ones away until one is found that lives; our own entry is not looked at.
    bool HasLivingHolder( const ProcessSlot& rOwn ) noexcept;
    void ClearHoldersAndBells() noexcept;

private:
    bool Map( int nDescriptor ) noexcept;
    void Keep( int nDescriptor, ObjectKind eKind ) noexcept;

    NamespaceScope m_eScope = NamespaceScope::Local;
    ObjectPages* m_pPages = nullptr;
    int m_nDescriptor = -1;
    ULONGLONG m_ullDevice = 0;
    ULONGLONG m_ullFile = 0;
};

// Whether a file is one as we make them, and nobody else's.
//   rnBytes  out: its length.
bool IsObjectFile( int nDescriptor, NamespaceScope eScope, off_t& rnBytes ) noexcept;
bool HasGoodHeader( const ObjectHeader& rHeader ) noexcept;

// Takes a file's name out of the folder. With the folder's lock, after its state says Unlinked.
void RemoveObjectFile( NamespaceScope eScope, const char* pLeaf ) noexcept;

// The lock on a file's header, which stands for microseconds. A holder that was killed left nothing that is half done.
class ObjectGuard
{
public:
    explicit ObjectGuard( ObjectHeader& rHeader ) noexcept;
    ~ObjectGuard();
    ObjectGuard( const ObjectGuard& ) = delete;
    ObjectGuard& operator=( const ObjectGuard& ) = delete;

    // False: the file is damaged.
    bool IsGood() const noexcept { return m_fGood; }

private:
    const StopGate m_aGate;
    ObjectHeader& m_rHeader;
    bool m_fGood;
};
