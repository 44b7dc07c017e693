// Open keys of the registry: what a key's handle stands for, and the ways to read and to change it.
#pragma once

#include "platform/object/handletable.h"
#include "platform/registry/regstore.h"
#include "platform/registry/regtransaction.h"
#include "platform/stopgate.h"

#include <bxtools/platform.h>

#include <new>
#include <optional>
#include <string>

class RegistryBatch;
class RegWatch;

// A key by its path and its number, so that a key of the same name that is made later is another one. What it was found
// as in the image is kept until the image is replaced.
class RegistryKey final : public KernelObject, public RegImageKeeper
{
public:
    // A root, or a place below one: it need not be there, and has no number.
    static constexpr ULONGLONG ANY_ID = 0;

    RegistryKey( RegStore& rStore, std::string strPath, ULONGLONG ullId )
        : KernelObject( KIND_REGISTRY_KEY ),
          m_rStore( rStore ),
          m_strPath( std::move( strPath ) ),
          m_ullId( ullId )
    {
        m_rStore.Add( *this );
    }

    RegStore& GetStore() const noexcept { return m_rStore; }
    // From the store's root.
    const std::string& GetPath() const noexcept { return m_strPath; }
    ULONGLONG GetId() const noexcept { return m_ullId; }
    std::string PathOf( std::string_view aSubKey ) const;

    // The view as it is now; good while the key is locked. Error 1018: the key was deleted.
    LONG Look( RegKeyView& rView ) noexcept;
    // Found by a caller who just has been there.
    void Remember( RegImage* pImage, const RegKeyView& aView, ULONGLONG ullGeneration ) noexcept;
    // In an image that is not the store's newest.
    LONG Find( const RegImage& rImage, RegKeyView& rView ) const noexcept;
    // In the tree of a writer: from the root to the key. Missing keys are made for ANY_ID.
    LONG LookInTree( RegTree& rTree, RegTreePath& rPath ) const;

    void Lock() noexcept
    {
        RaiseStopGate();
        EnterCriticalSection( &m_aLock );
        m_fInUse = true;
    }
    void Unlock() noexcept
    {
        m_fInUse = false;
        LeaveCriticalSection( &m_aLock );
        LowerStopGate();
    }
    ULONGLONG GetSeen() const noexcept { return m_ullSeen; }
    RegImage* GetImage() const noexcept { return m_aImage.Get(); }

    // With the key locked; the list is the notifications' own. A key whose handle was closed gets no more of them.
    RegWatch*& GetWatches() noexcept { return m_pWatches; }
    bool IsClosed() const noexcept { return m_fClosed; }
    void MarkClosed() noexcept { m_fClosed = true; }

    // Unless the key is locked, by this thread or another one.
    void DropImage() noexcept override;
    // Sets the events of its watches.
    void HandleClosed() noexcept override;
    // For the keys of the roots, too, which stay.
    void AbandonInChild() noexcept override;

private:
    ~RegistryKey() override;

    RegStore& m_rStore;
    const std::string m_strPath;
    const ULONGLONG m_ullId;
    CRITICAL_SECTION m_aLock{};
    RegImageUse m_aImage;
    RegKeyView m_aView;
    ULONGLONG m_ullSeen = 0; // the generation that m_aView is of
    RegWatch* m_pWatches = nullptr;
    bool m_fClosed = false;
    bool m_fInUse = false; // the lock alone would let its own thread in once more
};

// A use of a key by its handle, a root's included. The last error is left alone.
class RegKeyUse
{
public:
    // Error 6 no key's handle, 5 the handle does not give all of the rights.
    RegKeyUse( HKEY hKey, REGSAM dwAccess ) noexcept;
    RegKeyUse( const RegKeyUse& ) = delete;
    RegKeyUse& operator=( const RegKeyUse& ) = delete;

    LONG GetError() const noexcept { return m_lError; }
    RegistryKey& GetKey() const noexcept { return *m_pKey; }

private:
    std::optional<HandleUse> m_aHandle;
    RegistryKey* m_pKey = nullptr;
    LONG m_lError = ERROR_SUCCESS;
};

// A key that is held still for reading.
class RegKeyReader
{
public:
    RegKeyReader( HKEY hKey, REGSAM dwAccess ) noexcept;
    ~RegKeyReader();
    RegKeyReader( const RegKeyReader& ) = delete;
    RegKeyReader& operator=( const RegKeyReader& ) = delete;

    LONG GetError() const noexcept { return m_lError; }
    RegistryKey& GetKey() const noexcept { return m_aUse.GetKey(); }
    const RegKeyView& GetView() const noexcept { return m_aView; }
    const RegKeyHead& GetHead() const noexcept { return m_aView.GetHead(); }
    // What the view is in, and its generation.
    RegImage* GetImage() const noexcept;
    ULONGLONG GetGeneration() const noexcept;

private:
    LONG LookInBatch( RegistryBatch& rBatch ) noexcept;

    RegKeyUse m_aUse;
    RegKeyView m_aView;
    RegImageUse m_aOfBatch;
    LONG m_lError;
    bool m_fLocked = false;
};

// A change below a key: in the batch of the calling thread, else on its own.
class RegChange
{
public:
    RegChange() = default;
    RegChange( const RegChange& ) = delete;
    RegChange& operator=( const RegChange& ) = delete;

    // Takes the lock of the key's store, unless the key cannot be used. Throws std::bad_alloc.
    LONG Begin( const RegKeyUse& rUse );
    RegTree& GetTree() const noexcept { return m_pTransaction->GetTree(); }
    // From the root to the key.
    RegTreePath& GetPath() noexcept { return m_aPath; }
    RegTreeKey& GetTreeKey() const noexcept { return *m_aPath.back(); }
    // Without it nothing has happened. dwKinds: REG_NOTIFY_CHANGE_..., of the last key of the path.
    LONG Commit( DWORD dwKinds );

private:
    RegTransaction m_aOwn;
    RegistryBatch* m_pBatch = nullptr;
    RegTransaction* m_pTransaction = nullptr;
    RegTreePath m_aPath;
};

// A text that a caller gave; null is the empty one.
std::string_view RegTextOf( LPCSTR pText ) noexcept;

// The access that a caller asks for, without the generic rights.
REGSAM MapRegAccess( REGSAM dwAccess ) noexcept;

// A new handle.
LONG MakeKeyHandle( RegistryKey* pKey, REGSAM dwAccess, PHKEY pResult ) noexcept;

// The store and the path of a predefined root. Null: it is none.
RegistryKey* FindRegRoot( HKEY hKey ) noexcept;

// Error 8; the calling thread's batch, whose change may be half made, is lost.
LONG FailOutOfMemory() noexcept;

// Runs the body of a call. Memory that runs out is error 8; the last error is left alone.
template <class Body>
LONG RunRegCall( Body aBody ) noexcept
{
    const DWORD dwLastError = GetLastError();
    LONG lResult;
    try
    {
        lResult = aBody();
    }
    catch ( const std::bad_alloc& )
    {
        lResult = FailOutOfMemory();
    }
    SetLastError( dwLastError );
    return lResult;
}

// Nobody uses the registry any more: what is kept between calls goes.
void CloseRegistry() noexcept;
// Fork handler, also for the stores: the roots' keys stay, and know nothing.
void ResetRegistryInChild();
