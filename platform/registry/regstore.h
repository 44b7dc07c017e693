// The stores of the registry, each an image in a file, as readers see them.
//
// A page beside the image holds a number, the generation, that every process has mapped: as long as it is the same, so is
// the image, and finding that out costs one load. It is odd while a writer puts a new image in place, and stays odd when the
// writer is killed there; meanwhile, and where the page cannot be had, readers look at the file itself each time.
#pragma once

#include "platform/registry/regimage.h"

#include <atomic>
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
    ULONGLONG GetGeneration() const noexcept
    {
        const ULONGLONG ullGeneration = ReadPage();
        return ullGeneration % 2 == 0 ? ullGeneration : 0;
    }

    // The newest image, for which the caller gets a reference, and its generation.
    LONG TakeImage( RegImage*& rpImage, ULONGLONG& rullGeneration ) noexcept;

    // For writers, who hold the store's lock: the same, whatever the page says.
    LONG TakeNewestImage( RegImage*& rpImage ) noexcept;
    // Null: there is no place for the files, or no memory.
    const RegStorePaths* GetPaths() noexcept;
    // The page shows this now. Where it is another file's than the one mapped here, it is mapped anew.
    void FollowPage( ULONGLONG ullGeneration ) noexcept;
    // What a writer has just put in place, with its reference.
    void Install( RegImage* pImage, const RegFileIdentity& aIdentity, ULONGLONG ullGeneration ) noexcept;

    CRITICAL_SECTION& GetWriteLock() noexcept { return m_aWriteLock; }
    // The writer's lock is taken through this descriptor, or -1.
    std::atomic<int> m_nLockFile{ -1 };

    void LockForFork() noexcept;
    void UnlockAfterFork() noexcept;
    void ResetInChild() noexcept;
    // For tests: as if the process had not looked yet.
    void Forget() noexcept;

private:
    ULONGLONG ReadPage() const noexcept;
    void FindPage() noexcept;
    LONG Reload() noexcept;
    LONG LoadFrom( int nFile ) noexcept;
    LONG Keep( RegImage* pImage, LONG lError, const RegFileIdentity& aIdentity ) noexcept;

    const char* const m_pName;
    const bool m_fOfMachine;
    std::atomic<const RegChangesPage*> m_pPage{ nullptr }; // never unmapped: readers hold no lock
    CRITICAL_SECTION m_aWriteLock{};                       // for one writer of this process at a time
    CRITICAL_SECTION m_aLock{};                            // guards what follows
    RegStorePaths* m_pPaths = nullptr;
    RegImage* m_pImage = nullptr;
    LONG m_lError = ERROR_SUCCESS; // why there is no image
    RegFileIdentity m_aIdentity{};
    ULONGLONG m_ullGeneration = 0;
};

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

// Fork handlers, and what tests use.
void LockRegStores();
void UnlockRegStores();
void ResetRegStoresInChild();
void ForgetRegistryForTest() noexcept;
