// A file with a position. What is written waits in a buffer until it is flushed, read back or the object ends; what is read
// comes from the buffer, from a mapping where there is one, or from the system.
//
// Whatever fails throws RWFileErr, or std::bad_alloc where there is no memory. Threads: one at a time.
#pragma once

#include "runtime/systemfile.h"

#include <bxtools/export.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

// A place in a file.
typedef int32_t RWoffset;
// No place.
inline constexpr RWoffset RWNIL = -1;

// Why an operation of a file or of what is kept in it failed.
class RW_EXPORT RWFileErr : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
    ~RWFileErr() override;
};

class RWFile
{
public:
    //   pMode  as for fopen: "r" opens a file to be read, "r+" to be written too, "w+" makes a new one in the place of an old
    //          one, "a+" makes one where there is none; NULL is "a+". A "b" means nothing.
    RW_EXPORT RWFile( const char* pFileName, const char* pMode );
    // Writes what waits; what cannot be written is lost, so flush before.
    RW_EXPORT ~RWFile();
    RWFile( const RWFile& ) = delete;
    RWFile& operator=( const RWFile& ) = delete;

    // Result: false for a negative place, which changes nothing.
    RW_EXPORT bool SeekTo( RWoffset lPlace );
    // At the position, which moves on. A file that ends before the last byte to be read is an error.
    RW_EXPORT void Read( char* pBytes, size_t nSize );
    RW_EXPORT void Write( const char* pBytes, size_t nSize );
    // Hands what waits to the system.
    RW_EXPORT void Flush();

    // A text in the form in which RWCString saves it, its length in four bytes before it: written at the position, and looked
    // at there; in both cases the position moves behind it.
    void WriteText( std::string_view aText );
    std::string_view ReadText();

protected:
    bool IsReadOnly() const noexcept { return m_fReadOnly; }
    // Whether some of these bytes wait to be written.
    bool IsWaiting( uint64_t ullPlace, size_t nSize ) const noexcept
    {
        return m_nWaiting != 0 && ullPlace < m_ullWaitingPlace + m_nWaiting &&
               ullPlace + nSize > m_ullWaitingPlace;
    }
    uint64_t GetPosition() const noexcept { return m_ullPosition; }
    SystemFile& GetSystemFile() noexcept { return m_aSystemFile; }

    // Bytes at a place, valid until the next call of the object. Throws where the file ends before the last one.
    const char* View( uint64_t ullPlace, size_t nSize )
    {
        if ( m_nWaiting == 0 && ullPlace < m_nMapped && nSize <= m_nMapped - ullPlace )
            return m_pMapped + ullPlace;
        return ViewElsewhere( ullPlace, nSize );
    }
    // The same, or null where the place is not mapped; what waits is not looked at.
    const char* ViewMapped( uint64_t ullPlace, size_t nSize ) const noexcept
    {
        return ullPlace < m_nMapped && nSize <= m_nMapped - ullPlace ? m_pMapped + ullPlace : nullptr;
    }
    // A text with its length before it.
    std::string_view ViewTextBlock( uint64_t ullPlace );
    // Maps the file as far as it goes now. Without success nothing is different.
    void Map() noexcept;
    size_t GetMappedSize() const noexcept { return m_nMapped; }
    // What was read may have changed in the file.
    void ForgetWhatWasRead() noexcept { m_nWindow = 0; }

private:
    const char* ViewElsewhere( uint64_t ullPlace, size_t nSize );
    void Unmap() noexcept;

    SystemFile m_aSystemFile;
    bool m_fReadOnly;
    uint64_t m_ullPosition = 0;

    const char* m_pMapped = nullptr;
    size_t m_nMapped = 0;

    std::unique_ptr<char[]> m_pWaiting; // what waits to be written
    uint64_t m_ullWaitingPlace = 0;
    size_t m_nWaiting = 0;

    std::vector<char> m_aWindow; // what was read last
    uint64_t m_ullWindowPlace = 0;
    size_t m_nWindow = 0;
};
