// Many changes of one store as one: all of them are there at once when it is committed, or none. For what imports, and
// would write an image for each value otherwise.
//
//     RegistryBatch aBatch;
//     if ( const LONG lError = aBatch.Begin( hKey ) )
//         return lError;
//     ... // RegCreateKeyExA, RegSetValueExA and so on, on this thread
//     return aBatch.Commit();
//
// Between Begin and Commit the calling thread's registry calls on that store see the changes. Reading values and lists after
// a change costs an image in memory, so changes should come in runs; opening, making and deleting does not. Other threads and processes see what was there before, and wait
// when they want to write. Changes of another store give error 170 meanwhile.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#include <memory>

class RegImage;
class RegStore;
class RegTransaction;

class RegistryBatch
{
public:
    // What is exported is for bxtool, which shares the library's threads.
    DLL_EXPORT_MOD RegistryBatch() noexcept;
    // Without Commit nothing has happened.
    DLL_EXPORT_MOD ~RegistryBatch();
    RegistryBatch( const RegistryBatch& ) = delete;
    RegistryBatch& operator=( const RegistryBatch& ) = delete;

    // Takes the lock of the store that the key is in. Errors: 170 the thread has a batch, and as the calls that write.
    DLL_EXPORT_MOD LONG Begin( HKEY hKey ) noexcept;
    // The same thread. The batch is over then, with or without success.
    DLL_EXPORT_MOD LONG Commit() noexcept;

    // For the calls: the calling thread's batch or null, and what it is about.
    static RegistryBatch* OfThread() noexcept;
    // Whether it is about the store of a key: its tree knows more then than the image.
    static bool IsAbout( HKEY hKey ) noexcept;
    const RegStore* GetStore() const noexcept { return m_pStore; }
    // Memory ran out in the middle of a change: none of them will be made.
    void Break() noexcept { m_fBroken = true; }
    RegTransaction* GetTransaction() noexcept { return m_pTransaction.get(); }
    void NoteChanged() noexcept { m_fChanged = m_fUnseen = true; }
    // The store with the changes so far, for which the caller gets a reference. Throws std::bad_alloc.
    LONG TakeImage( RegImage*& rpImage );

private:
    void End() noexcept;

    std::unique_ptr<RegTransaction> m_pTransaction;
    RegStore* m_pStore = nullptr;
    RegImage* m_pImage = nullptr;
    bool m_fChanged = false;
    bool m_fBroken = false;
    bool m_fUnseen = true; // m_pImage does not show all of it
};
