// The stores of the registry, each an image in a file, as readers see them.
//
// A page beside the image holds a number, the generation, that every process has mapped: as long as it is the same, so is
// the image, and finding that out costs one load. It is odd while a writer puts a new image in place, and stays odd when the
// writer is killed there; meanwhile, and where the page cannot be had, readers look at the file itself each time.
#pragma once

#include "platform/registry/regimage.h"

#include <atomic>
#include <ctime>
#include <string>
#include <sys/stat.h>

struct RegChangesPage
{
    BYTE aMark[8];
    std::atomic<ULONGLONG> ullGeneration;
};
static_assert( std::atomic<ULONGLONG>::is_always_lock_free );

constexpr BYTE REG_CHANGES_MARK[8] = { 'B', 'X', 'R', 'E', 'G', 'C', 'H', 1 };
constexpr size_t REG_CHANGES_SIZE = 4096;

struct RegStorePaths
{
    std::string strFolder;
    std::string strImage;
    std::string strChanges;
    std::string strNext;     // what a writer is at
    std::string strPrevious; // the image before
};

// Which file an image came from.
struct RegFileIdentity
{
    dev_t nDevice = 0;
    ino_t nFile = 0;
    off_t nSize = 0;
    timespec aModified{};

    static RegFileIdentity Of( const struct stat& rStatus ) noexcept;
    bool operator==( const RegFileIdentity& rOther ) const noexcept;
};

// Whoever keeps an image beside the store: an old one needs as much memory, and room on the disk, as the newest.
class RegImageKeeper
{
public:
    // Called with the store's lock held; does not wait.
    virtual void DropImage() noexcept = 0;

protected:
    RegImageKeeper() = default;
    ~RegImageKeeper() = default;

private:
    friend class RegStore;

    RegImageKeeper* m_pNext = nullptr;
    RegImageKeeper** m_ppThis = nullptr; // what leads to this one
};

class RegStore
{
public:
    constexpr RegStore( const char* pName, bool fOfMachine ) noexcept
        : m_pName( pName ),
          m_fOfMachine( fOfMachine )
    {
    }
    RegStore( const RegStore& ) = delete;
    RegStore& operator=( const RegStore& ) = delete;

    // What the image is the newest of; 0 when only a look at the file can tell.
    ULONGLONG GetGeneration() noexcept
    {
        if ( m_nLooked.load( std::memory_order_relaxed ) != GetSeconds() ) [[unlikely]]
            LookAtPage();
        const ULONGLONG ullGeneration = ReadPage();
        return ullGeneration % 2 == 0 ? ullGeneration : 0;
    }

    // The newest image, for which the caller gets a reference, and its generation.
    LONG TakeImage( RegImage*& rpImage, ULONGLONG& rullGeneration ) noexcept;

    // Notices that the page is another file now, or none: somebody has put the folder back from elsewhere. Readers look
    // once in a second.
    void LookAtPage() noexcept;

    // For writers, who hold the store's lock: the same, whatever the page says.
    LONG TakeNewestImage( RegImage*& rpImage ) noexcept;
    // Null: there is no place for the files, or no memory.
    const RegStorePaths* GetPaths() noexcept;
    // The page shows this now. Where it is another file's than the one mapped here, it is mapped anew.
    void FollowPage( ULONGLONG ullGeneration ) noexcept;
    // What a writer has just put in place, with its reference.
    void Install( RegImage* pImage, const RegFileIdentity& aIdentity, ULONGLONG ullGeneration ) noexcept;

    CRITICAL_SECTION& GetWriteLock() noexcept { return m_aWriteLock; }
    // The writer's lock is taken through this descriptor; -1 when it is not open. A fork comes neither between the opening
    // and the remembering nor between the forgetting and the closing: the child's copy would keep the lock taken.
    int OpenLockFile( mode_t nMode ) noexcept;
    void CloseLockFile() noexcept;
    // The page, to be written; null: no memory. A mapping keeps the lock as a descriptor does, so the child gets none.
    RegChangesPage* MapLockFile() noexcept;
    int GetLockFile() const noexcept { return m_nLockFile.load(); }

    // Who keeps an image is asked to let go of it when a newer one is there.
    void Add( RegImageKeeper& rKeeper ) noexcept;
    void Remove( RegImageKeeper& rKeeper ) noexcept;

    void LockForFork() noexcept;
    void UnlockAfterFork() noexcept;
    void ResetInChild() noexcept;
    // As if the process had not looked yet.
    void Forget() noexcept;
    // The same, with nobody using it any more.
    void Close() noexcept;

private:
    static time_t GetSeconds() noexcept;
    ULONGLONG ReadPage() const noexcept;
    void FindPage() noexcept;
    LONG Reload() noexcept;
    LONG LoadFrom( int nFile ) noexcept;
    LONG Keep( RegImage* pImage, LONG lError, const RegFileIdentity& aIdentity ) noexcept;

    const char* const m_pName;
    const bool m_fOfMachine;
    std::atomic<int> m_nLockFile{ -1 };
    std::atomic<time_t> m_nLooked{ 0 };                    // at the page
    std::atomic<const RegChangesPage*> m_pPage{ nullptr }; // stays mapped: readers hold no lock
    CRITICAL_SECTION m_aWriteLock{};                       // for one writer of this process at a time
    CRITICAL_SECTION m_aLock{};                            // guards what follows
    RegStorePaths* m_pPaths = nullptr;
    RegImageKeeper* m_pKeepers = nullptr;
    RegFileIdentity m_aPageFile{};
    RegImage* m_pImage = nullptr;
    LONG m_lError = ERROR_SUCCESS; // why there is no image
    RegFileIdentity m_aIdentity{};
    ULONGLONG m_ullGeneration = 0;
};

inline time_t RegStore::GetSeconds() noexcept
{
    timespec aNow;
    clock_gettime( CLOCK_MONOTONIC_COARSE, &aNow );
    return aNow.tv_sec;
}

inline ULONGLONG RegStore::ReadPage() const noexcept
{
    const RegChangesPage* const pPage = m_pPage.load( std::memory_order_acquire );
    return pPage != nullptr ? pPage->ullGeneration.load( std::memory_order_acquire ) : 0;
}

// The stores: the machine's, the user's, those of all users and of the current configuration.
enum class RegStoreName : unsigned char
{
    LocalMachine,
    CurrentUser,
    Users,
    CurrentConfig
};
RegStore& GetRegStore( RegStoreName eName ) noexcept;

// Of all of them.
void CloseRegStores() noexcept;
// Fork handlers, and what tests use.
void LockRegStores();
void UnlockRegStores();
void ResetRegStoresInChild();
void ForgetRegistryForTest() noexcept;
