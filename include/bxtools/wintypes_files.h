// What calls on files and paths take and give. Part of wintypes.h, which every file includes instead; Windows has its own.
#pragma once

#if !defined( _WIN32 )

// Access of a handle.
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_READ_DATA 0x0001u
#define FILE_WRITE_DATA 0x0002u

// What a handle leaves to others.
#define FILE_SHARE_READ 0x00000001u
#define FILE_SHARE_WRITE 0x00000002u

// What becomes of a file that is there, or is not.
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5

#define FILE_ATTRIBUTE_READONLY 0x00000001u
#define FILE_ATTRIBUTE_HIDDEN 0x00000002u
#define FILE_ATTRIBUTE_SYSTEM 0x00000004u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010u
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u
#define FILE_FLAG_RANDOM_ACCESS 0x10000000u

// Where a distance counts from.
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define INVALID_FILE_SIZE 0xFFFFFFFFu

#define DUPLICATE_SAME_ACCESS 0x00000002u

#endif
