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

// Which entry has which hash; for entries that are only added to.
class RegSlots
{
public:
    void Fill( size_t nSlots ) { m_aSlots.assign( nSlots, 0 ); }
    void Add( DWORD dwHash, size_t nEntry ) noexcept;
    const std::vector<RegSlot>& Get() const noexcept { return m_aSlots; }

private:
    std::vector<RegSlot> m_aSlots;
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

    std::string_view GetName() const noexcept;
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
    DWORD dwLongestChild = 0;
    DWORD dwLongestChildClass = 0;
    std::vector<RegTreeValue> aValues;
    RegSlots aValueSlots; // of the first nIndexed values
    size_t nIndexed = 0;
    std::vector<RegTreeChild> aChildren;
    // What the writer of the image plans.
    DWORD dwBlockSize = 0;
    ULONGLONG ullSize = 0;
};

inline std::string_view RegTreeChild::GetName() const noexcept
{
    return pKey != nullptr ? pKey->aName : aView.GetName();
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
    void Index( RegTreeKey& rKey );
    void MeasureChildren( RegTreeKey& rKey );
    size_t PlaceOf( const RegTreeKey& rParent, std::string_view aName ) const noexcept;

    RegArena m_aArena;
    RegTreeKey m_aRoot;
    ULONGLONG m_ullSequence = 0;
    ULONGLONG m_ullNextId = 0;
    bool m_fPassingKeys = false;
};

// Now, in steps of 100 ns since 1601.
ULONGLONG GetRegTime() noexcept;

// The number of the machine's last start.
const BYTE ( &GetRegBoot() noexcept )[16];
