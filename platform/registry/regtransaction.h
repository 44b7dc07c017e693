// A change of a store: complete or not made at all, and one writer at a time.
#pragma once

#include "platform/registry/regstore.h"
#include "platform/registry/regtree.h"

#include <memory>

// The writer's lock of a store, among threads and processes; it ends with the process that holds it.
class RegStoreLock
{
public:
    RegStoreLock() = default;
    ~RegStoreLock() { Leave(); }
    RegStoreLock( const RegStoreLock& ) = delete;
    RegStoreLock& operator=( const RegStoreLock& ) = delete;

    // Waits. The store's folder and changes page are made where they are missing. Error 5: the user may not write here.
    LONG Take( RegStore& rStore );
    void Leave() noexcept;
    // False in the child of a fork under the lock, which does not have it.
    bool IsHeld() const noexcept { return m_pStore != nullptr && m_pStore->GetLockFile() >= 0; }

    // Around the moment at which a new image takes the old one's place.
    void BeginReplacing() noexcept;
    // Result: the generation of what is in place now.
    ULONGLONG EndReplacing() noexcept;

private:
    LONG Open( const RegStorePaths& rPaths ) noexcept;
    bool IsStillTheFile( const RegStorePaths& rPaths ) const noexcept;
    LONG MapPage() noexcept;

    RegStore* m_pStore = nullptr;
    RegChangesPage* m_pPage = nullptr;
};

class RegTransaction
{
public:
    RegTransaction() = default;
    RegTransaction( const RegTransaction& ) = delete;
    RegTransaction& operator=( const RegTransaction& ) = delete;

    // Takes the lock and the newest image. Error 1015: it is damaged, and must not be overwritten. Throws std::bad_alloc.
    LONG Begin( RegStore& rStore );
    RegTree& GetTree() noexcept { return *m_pTree; }
    // Puts the changed tree in place, unless this returns an error. Throws std::bad_alloc.
    LONG Commit();

private:
    LONG Replace( int nFile );

    RegStore* m_pStore = nullptr;
    RegStoreLock m_aLock;
    RegImageUse m_aImage;
    std::unique_ptr<RegTree> m_pTree;
};
