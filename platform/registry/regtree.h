// The registry as a writer changes it: keys that are touched are taken out of the image, all others stay views into it.
// So the image must outlive the tree. Out of memory throws std::bad_alloc.
#pragma once

#include "platform/registry/regimage.h"

#include <memory>
#include <string_view>
#include <vector>

// Memory that is given back all at once.
class RegArena
{
public:
    // At a multiple of eight, and zero.
    BYTE* Allocate( size_t nSize );
    std::string_view Keep( std::string_view aText );
    // Zeroes follow up to a multiple of eight.
    const BYTE* KeepData( const BYTE* pData, size_t nSize );

private:
    std::vector<std::unique_ptr<BYTE[]>> m_aBlocks;
    BYTE* m_pFree = nullptr;
    size_t m_nFree = 0;
};

// Which entry has which hash; for entries that are only added to. Deleted ones keep their slot, so that a search goes on
// behind them.
class RegSlots
{
public:
    // The entry that is not deleted and has the name, or null.
    template <class Entry, class NameOf>
    Entry* Find( std::vector<Entry>& rEntries, std::string_view aName, NameOf aNameOf );
    void Clear() noexcept;

private:
    // All entries have their slot afterwards.
    template <class Entry>
    void Index( const std::vector<Entry>& aEntries );
    void Add( DWORD dwHash, size_t nEntry ) noexcept;

    std::vector<RegSlot> m_aSlots;
    size_t m_nIndexed = 0; // that many of the first entries have one
};

struct RegTreeValue
{
    std::string_view aName;
    const BYTE* pData;
    DWORD dwSize;
    DWORD dwType;
    DWORD dwHash;
    bool fDeleted;
    bool fSummed; // ullChecksum is that of the data
    ULONGLONG ullChecksum;
};

struct RegTreeKey;

// A subkey, taken out of the image or not.
struct RegTreeChild
{
    RegKeyView aView;
    std::unique_ptr<RegTreeKey> pKey;
    DWORD dwHash;
    bool fDeleted;

    std::string_view GetName() const noexcept;
    std::string_view GetClassName() const noexcept;
};

struct RegTreeKey
{
    std::string_view aName;
    std::string_view aClassName;
    std::string_view aSecurity;
    ULONGLONG ullId = 0;
    ULONGLONG ullLastWrite = 0;
    ULONGLONG aullChanged[CHANGE_KINDS] = {};
    ULONGLONG aullChangedBelow[CHANGE_KINDS] = {};
    DWORD dwFlags = 0;
    std::vector<RegTreeValue> aValues;
    RegSlots aValueSlots;
    std::vector<RegTreeChild> aChildren;
    RegSlots aChildSlots;
    size_t nSorted = 0; // that many of the first children are in the order of their names
    // What the writer of the image plans.
    DWORD dwBlockSize = 0;
    ULONGLONG ullSize = 0;

    bool HasChildren() const noexcept;
    // What is deleted goes, and children that were added find their places.
    void Settle() noexcept;
};

inline std::string_view RegTreeChild::GetName() const noexcept
{
    return pKey != nullptr ? pKey->aName : aView.GetName();
}

inline std::string_view RegTreeChild::GetClassName() const noexcept
{
    return pKey != nullptr ? pKey->aClassName : aView.GetClassName();
}

// From the root to a key.
using RegTreePath = std::vector<RegTreeKey*>;

class RegTree
{
public:
    RegTree() = default;
    RegTree( const RegTree& ) = delete;
    RegTree& operator=( const RegTree& ) = delete;

    // Begins with an image that has been checked from end to end. What does not outlive the start of the machine is
    // left out when that was another one.
    LONG Load( const RegImage& rImage );

    RegTreeKey& GetRoot() noexcept { return m_aRoot; }
    ULONGLONG GetSequence() const noexcept { return m_ullSequence; }
    ULONGLONG GetNextId() const noexcept { return m_ullNextId; }
    bool HasPassingKeys() const noexcept { return m_fPassingKeys; }
    RegArena& GetArena() noexcept { return m_aArena; }

    // The subkey, taken out of the image; null when there is none.
    RegTreeKey* FindChild( RegTreeKey& rParent, std::string_view aName );
    // There is no such subkey yet.
    RegTreeKey& AddChild( RegTreeKey& rParent, std::string_view aName, std::string_view aClassName,
                          DWORD dwFlags );
    void RemoveChild( RegTreeKey& rParent, const RegTreeKey& rChild );
    // Down from the last key of a path. Error 2: there is none.
    LONG GoDown( RegTreePath& rPath, std::string_view aSubKey );

    RegTreeValue* FindValue( RegTreeKey& rKey, std::string_view aName );
    void SetValue( RegTreeKey& rKey, std::string_view aName, DWORD dwType, const BYTE* pData, DWORD dwSize );

    // Takes away all values and subkeys.
    void Clear( RegTreeKey& rKey ) noexcept;
    // Copies class, security, values and subkeys of a key of another image, which has been checked, into an empty key.
    //   dwFlags  for all the keys that are made.
    void Graft( RegTreeKey& rKey, const RegKeyView& aSource, DWORD dwFlags );

    // Remembers that the last key of the path has changed now, and in which way: REG_NOTIFY_CHANGE_...
    void NoteChange( const RegTreePath& aPath, DWORD dwKinds ) noexcept;

private:
    void TakeOut( RegTreeKey& rKey, const RegKeyView& aView );
    RegTreeKey& TakeOutChild( RegTreeChild& rChild );
    void DropPassingKeys( RegTreeKey& rKey );
    void CopyValues( RegTreeKey& rKey, const RegKeyView& aSource );

    RegArena m_aArena;
    RegTreeKey m_aRoot;
    ULONGLONG m_ullSequence = 0;
    ULONGLONG m_ullNextId = FIRST_FREE_REG_ID;
    bool m_fPassingKeys = false;
};

// Now, in steps of 100 ns since 1601.
ULONGLONG GetRegTime() noexcept;

// The number of the machine's last start.
const BYTE ( &GetRegBoot() noexcept )[16];
