// The texts of profile files that were read, kept while the files stay as they are.
#pragma once

#include "platform/profile/iniindex.h"

#include <bxtools/wintypes.h>

#include <atomic>
#include <memory>
#include <string>
#include <sys/stat.h>

// Larger files are refused: places in a text are numbers of 31 bits.
constexpr off_t MOST_INI_BYTES = 0x7FFFFFFF;

// What makes two looks at a file find the same text. The times of change count as well as those of modification, which
// anybody can set.
struct IniStamp
{
    dev_t nDevice;
    ino_t nInode;
    off_t nSize;
    int64_t llModified;
    int64_t llChanged;

    bool operator==( const IniStamp& ) const = default;
};

// A whole text; never changed once read.
class IniText
{
public:
    // Reads an open file. The result is 0 or the Win32 number.
    static DWORD Read( int nFile, std::shared_ptr<IniText>& rText );

    std::string_view Text() const noexcept { return { m_pBytes.get(), m_nBytes }; }
    const IniStamp& Stamp() const noexcept { return m_aStamp; }
    // Whether the file was still so young that another change might leave its times as they are.
    bool IsYoung() const noexcept { return m_fYoung; }
    // Whether an open file is the one that was read, and has not changed since, as far as its times tell.
    bool IsStillIn( int nFile ) const noexcept;

    // Threads: any. The first search goes through the text, which is faster than making an index for it.
    bool FindSection( std::string_view aSection, size_t& rnBody ) noexcept;
    bool FindValue( std::string_view aSection, std::string_view aKey, std::string_view& rValue ) noexcept;

    IniText() = default;
    ~IniText() { delete m_pIndex.load( std::memory_order_relaxed ); }
    IniText( const IniText& ) = delete;
    IniText& operator=( const IniText& ) = delete;

private:
    DWORD ReadOnce( int nFile, const struct stat& rStatus );
    const IniIndex* Index() noexcept;

    IniStamp m_aStamp{};
    std::unique_ptr<char[]> m_pBytes;
    size_t m_nBytes = 0;
    bool m_fYoung = true;
    std::atomic<bool> m_fSearched{ false };
    std::atomic<const IniIndex*> m_pIndex{ nullptr };
};

// The text of the file as it is now. Throws std::bad_alloc.
//   rText  out: the text, which stays whole for its holders whatever becomes of the file.
// Result: 0 or the Win32 number.
DWORD GetIniText( const char* pPath, std::shared_ptr<IniText>& rText );
// Drops what is kept of a file that this process is about to change.
void DropIniText( const char* pPath ) noexcept;
// Drops everything; for the end of the library.
void CloseIniCache() noexcept;

// Around a fork.
void LockIniCache();
void UnlockIniCache();
