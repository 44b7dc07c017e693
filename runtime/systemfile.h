// A file of the system: read and written at places, mapped, locked, and flushed. One form for each system.
#pragma once

#include <cstddef>
#include <cstdint>

class SystemFile
{
public:
    enum class Opening
    {
        READ,             // the file is there
        UPDATE,           // likewise, to be written too
        UPDATE_OR_CREATE, // made where it is missing
        ANEW              // a new one takes the place of an old one; who has that open keeps it
    };

    // Opens the file; throws RWFileErr.
    SystemFile( const char* pFileName, Opening eOpening );
    ~SystemFile();
    SystemFile( const SystemFile& ) = delete;
    SystemFile& operator=( const SystemFile& ) = delete;

    // Keeps other writers out until the object ends. False: there is one.
    bool LockForWriting() noexcept;

    uint64_t GetSize() const;

    // Reads up to nSize bytes; fewer where the file ends. Throws RWFileErr.
    size_t ReadAt( void* pBytes, size_t nSize, uint64_t ullPlace ) const;
    // Writes all bytes; throws RWFileErr.
    void WriteAt( const void* pBytes, size_t nSize, uint64_t ullPlace );
    // What has been written is on the disk; throws RWFileErr.
    void FlushToDisk();

    // Whether the file could be cut short by somebody else than its owner and root, which ends a process that has it mapped.
    bool MayBeCutByOthers() const noexcept;
    // The first nSize bytes, to be read at places that nothing tells beforehand; they change as the file does. NULL: not to be
    // had.
    const char* Map( size_t nSize ) const noexcept;
    static void Unmap( const char* pBytes, size_t nSize ) noexcept;

private:
    intptr_t m_nHandle;
};
