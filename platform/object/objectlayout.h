// The bytes of a named object's file, which every process that uses the name maps. docs/formats.md draws them.
//
// What stands in there may have been written by a process that was killed half-way, or by one that went wrong: numbers
// are masked or checked before they are used, and every change is a single word or stands under the guard.
#pragma once

#include "platform/object/kernelobject.h"

#include <bxtools/platform.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <pthread.h>

constexpr DWORD MOST_PROCESSES = 4096;
constexpr size_t MOST_SHARED_BELLS = 512;
constexpr size_t MOST_NAME_CHARACTERS = 259;
constexpr size_t OBJECT_PAGE = 4096;

constexpr std::array<char, 8> OBJECT_MAGIC = { 'B', 'X', 'O', 'B', 'J', 'E', 'C', 'T' };
constexpr uint32_t OBJECT_VERSION = 1;

enum class ObjectState : uint32_t
{
    New,      // being made, under the folder's lock
    Dead,     // nobody holds it; the file may serve again
    Live,     // exists if one of its holders is alive
    Unlinked, // the file is given up, and its name in the folder is gone or about to go
};

struct ObjectHeader
{
    std::array<char, 8> acMagic;
    std::atomic<uint32_t> uVersion;
    std::atomic<uint32_t> uKind; // an ObjectKind
    std::atomic<ObjectState> eState;
    std::atomic<uint32_t> uHoldersUsed; // entries from here on are 0
    std::atomic<uint32_t> uBellsUsed;   // likewise
    std::atomic<uint32_t> uNameLength;
    std::atomic<uint64_t> ullMade; // seconds since 1970, of the object and not of the file
    std::atomic<uint64_t> ullDataBytes;
    std::atomic<uint32_t> uReadOnly;
    pthread_mutex_t aGuard;
    // What waiters hammer on has a cache line of its own.
    alignas( 64 ) std::atomic<uint32_t> uEvent; // an EventWord
    std::atomic<uint32_t> uManualReset;
    std::atomic<uint32_t> uWatched; // somebody sleeps who saw an event's lock taken
    // A mutex's own lock. That of an event is taken by who sets it while others sleep.
    alignas( 64 ) pthread_mutex_t aLock;
    std::atomic<uint32_t> uAbandoned;
    alignas( 64 ) std::array<char, MOST_NAME_CHARACTERS + 1> acName;
};

// The part of a file that every user of the name maps.
struct ObjectPages
{
    alignas( OBJECT_PAGE ) ObjectHeader aHeader;
    // Names of the bells of those who wait for it and for others at once; 0 is free.
    alignas( OBJECT_PAGE ) std::array<std::atomic<uint64_t>, MOST_SHARED_BELLS> aullBells;
    // By process slot: the generation of the slot's process while it holds handles, else 0.
    alignas( OBJECT_PAGE ) std::array<std::atomic<uint32_t>, MOST_PROCESSES> auHolders;
};

static_assert( sizeof( ObjectHeader ) <= OBJECT_PAGE );
static_assert( sizeof( ObjectPages ) == 6 * OBJECT_PAGE );
static_assert( std::atomic<uint64_t>::is_always_lock_free && std::atomic<uint32_t>::is_always_lock_free );

// Where a mapping's own bytes begin: a multiple of every page size.
constexpr size_t OBJECT_DATA_OFFSET = 65536;
