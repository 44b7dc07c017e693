// The file "processes" of a folder. docs/formats.md draws it.
#pragma once

#include "platform/object/objectlayout.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

struct SlotRecord
{
    std::atomic<uint32_t> uGeneration;
    std::atomic<uint32_t> uProcess; // 0 when the slot's last process gave it back
};

constexpr char PROCESSES_LEAF[] = "processes";
constexpr off_t PROCESSES_BYTES = MOST_PROCESSES * sizeof( SlotRecord );

// The bytes that are locked; nothing stands in them. Who takes a slot locks the first one, raises the generation, and
// locks the second one: a generation is never seen alive that is not its own.
constexpr off_t TakenByte( DWORD dwSlot ) noexcept
{
    return 2 * static_cast<off_t>( dwSlot );
}

constexpr off_t AliveByte( DWORD dwSlot ) noexcept
{
    return TakenByte( dwSlot ) + 1;
}

constexpr off_t FOLDER_BYTE = TakenByte( MOST_PROCESSES );

inline struct flock RangeOf( short nType, off_t nByte ) noexcept
{
    struct flock aRange
    {
    };
    aRange.l_type = nType;
    aRange.l_whence = SEEK_SET;
    aRange.l_start = nByte;
    aRange.l_len = 1;
    return aRange;
}

inline bool IsLockedByOther( int nDescriptor, off_t nByte ) noexcept
{
    struct flock aRange = RangeOf( F_WRLCK, nByte );
    return syscall( SYS_fcntl, nDescriptor, F_OFD_GETLK, &aRange ) != 0 || aRange.l_type != F_UNLCK;
}
