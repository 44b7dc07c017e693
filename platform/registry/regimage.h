// A registry image as it is read: bytes that are not trusted. Each key's block and each value's data is checked before
// its first use and remembered as good for as long as the image is in memory.
//
// Results: an error number, 0 for success; 2 is "not there", 1015 "damaged".
#pragma once

#include "platform/registry/regformat.h"

#include <atomic>
#include <memory>
#include <string_view>
#include <sys/stat.h>

class RegImage;

struct RegValueView
{
    std::string_view aName;
    DWORD dwType;
    DWORD dwSize;
    const BYTE* pData; // checked
    const RegValueEntry* pEntry;
};

// A key whose block is good. Valid while its image is.
class RegKeyView
{
public:
    RegKeyView() = default;

    const RegKeyHead& GetHead() const noexcept { return *m_pHead; }
    const BYTE* GetBytes() const noexcept { return reinterpret_cast<const BYTE*>( m_pHead ); }
    std::string_view GetName() const noexcept;
    std::string_view GetClassName() const noexcept;
    std::string_view GetSecurity() const noexcept;

    LONG FindChild( std::string_view aName, RegKeyView& rChild ) const noexcept;
    LONG GetChild( size_t nIndex, RegKeyView& rChild ) const noexcept;
    // Of a key some levels down; the path has been checked.
    LONG FindPath( std::string_view aPath, RegKeyView& rKey ) const noexcept;
    const RegChildEntry* GetChildEntries() const noexcept;

    LONG FindValue( std::string_view aName, RegValueView& rValue ) const noexcept;
    LONG GetValue( size_t nIndex, RegValueView& rValue ) const noexcept;
    std::string_view GetValueName( size_t nIndex ) const noexcept;
    const RegValueEntry* GetValueEntries() const noexcept;

private:
    friend class RegImage;

    const RegSlot* GetChildSlots() const noexcept;
    const char* GetCharacters() const noexcept;

    const RegImage* m_pImage = nullptr;
    const RegKeyHead* m_pHead = nullptr;
};

// Counted; made with one reference.
class RegImage
{
public:
    // What is in a file, which stays the caller's. It is mapped, so that only what is used is loaded, where nobody but the
    // user and root can change it in place; else it is read, so that what was checked stays as it is. Whoever puts an image
    // into a mapped one's place has to rename it there: what is cut off a mapped file ends the process.
    //   rStatus  the file's.
    //   rpImage  out: the caller's reference; null on failure.
    static LONG FromFile( int nFile, const struct stat& rStatus, RegImage*& rpImage ) noexcept;
    static LONG Map( int nFile, ULONGLONG ullSize, RegImage*& rpImage ) noexcept;
    static LONG Read( int nFile, ULONGLONG ullSize, RegImage*& rpImage ) noexcept;
    // Takes over bytes that were allocated with operator new[], at a multiple of eight; null is out of memory.
    static LONG Adopt( std::unique_ptr<BYTE[]> pBytes, ULONGLONG ullSize, RegImage*& rpImage ) noexcept;
    // The image of a store that nobody has written yet, with a reference for the caller.
    static RegImage* Empty() noexcept;

    RegImage( const RegImage& ) = delete;
    RegImage& operator=( const RegImage& ) = delete;

    void AddReference() noexcept { m_lReferences.fetch_add( 1, std::memory_order_relaxed ); }
    void Release() noexcept;

    const RegImageHead& GetHead() const noexcept
    {
        return *reinterpret_cast<const RegImageHead*>( m_pBytes );
    }
    LONG GetRoot( RegKeyView& rRoot ) const noexcept;
    // Looks at every byte that means something.
    LONG CheckAll() const noexcept;
    // The bytes come from this process, which wrote them just now.
    void MarkAllGood() const noexcept;

private:
    friend class RegKeyView;

    RegImage( const BYTE* pBytes, ULONGLONG ullSize, bool fMapped ) noexcept;
    ~RegImage();

    LONG Open() noexcept;
    static LONG OpenOrRelease( RegImage*& rpImage ) noexcept;
    LONG ViewKey( const BYTE* pKey, ULONGLONG ullSize, RegKeyView& rKey ) const noexcept;
    LONG CheckKey( const BYTE* pKey, ULONGLONG ullSize ) const noexcept;
    LONG CheckTree( const RegKeyView& rKey, size_t nDepth ) const noexcept;
    LONG CheckValue( const RegKeyView& rKey, size_t nIndex ) const noexcept;
    // In each read of a value.
    bool IsDataGood( const BYTE* pData, const RegValueEntry& rEntry ) const noexcept
    {
        return rEntry.dwSize == 0 || IsKnownGood( pData ) || CheckData( pData, rEntry );
    }
    bool CheckData( const BYTE* pData, const RegValueEntry& rEntry ) const noexcept;

    // One bit for each eight bytes: what begins there has been found good.
    static constexpr size_t GOOD_STEP = 8;             // bytes for each bit
    static constexpr size_t GOOD_BYTE = GOOD_STEP * 8; // bytes for each byte of bits
    bool IsKnownGood( const BYTE* pPlace ) const noexcept
    {
        if ( m_fAllGood.load( std::memory_order_relaxed ) )
            return true;
        const size_t nPlace = static_cast<size_t>( pPlace - m_pBytes );
        const BYTE ucBits = m_pGood[nPlace / GOOD_BYTE].load( std::memory_order_relaxed );
        return ( ucBits >> ( nPlace / GOOD_STEP % 8 ) & 1 ) != 0;
    }
    void RememberGood( const BYTE* pPlace ) const noexcept;

    const BYTE* const m_pBytes;
    const ULONGLONG m_ullSize;
    const bool m_fMapped;
    std::atomic<LONG> m_lReferences{ 1 };
    mutable std::atomic<bool> m_fAllGood{ false };
    std::unique_ptr<std::atomic<BYTE>[]> m_pGood;
};

// Holds a reference for a scope.
class RegImageUse
{
public:
    RegImageUse() = default;
    ~RegImageUse() { Set( nullptr ); }
    RegImageUse( const RegImageUse& ) = delete;
    RegImageUse& operator=( const RegImageUse& ) = delete;

    RegImage* Get() const noexcept { return m_pImage; }
    // Takes the caller's reference over.
    void Set( RegImage* pImage ) noexcept
    {
        if ( m_pImage != nullptr )
            m_pImage->Release();
        m_pImage = pImage;
    }

private:
    RegImage* m_pImage = nullptr;
};
