// Paths as callers give them and as the system takes them.
#pragma once

#include <bxtools/wintypes.h>

#include <array>
#include <climits>
#include <string_view>
#include <sys/stat.h>

// A path with '/' for either separator, in memory of its own.
class FilePath
{
public:
    // False with the last error: 3 null or empty, 206 too long.
    bool Set( LPCSTR pPath ) noexcept;

    const char* Text() const noexcept { return m_aText.data(); }
    std::string_view View() const noexcept { return { m_aText.data(), m_nLength }; }
    bool EndsInSeparator() const noexcept { return m_nLength > 0 && m_aText[m_nLength - 1] == '/'; }
    // What follows the last separator.
    std::string_view LastPiece() const noexcept { return View().substr( View().rfind( '/' ) + 1 ); }
    // Takes separators at the end off, but not the root.
    void CutSeparators() noexcept;
    // Takes what follows the last separator off; the folder that is left is "." or "/" where nothing else is.
    void CutLastPiece() noexcept;

private:
    std::array<char, PATH_MAX> m_aText;
    size_t m_nLength = 0;
};

// Whether a name holds a character that stands for others.
bool HasWildcards( std::string_view aText ) noexcept;

// What a system call's failure on a path means: a file that is missing in a folder, a folder that is missing, and what can
// be no file's name are told apart.
DWORD ErrorOfPath( const FilePath& rPath, int nErrno ) noexcept;
// Sets the last error from errno, likewise; false.
bool FailForPath( const FilePath& rPath ) noexcept;

// What the mode bits allow as far as the system does not look at them itself: for root, any of them will do.
bool ModeAllowsReading( const struct stat& rStatus ) noexcept;
bool ModeAllowsWriting( const struct stat& rStatus ) noexcept;
// Without any bit for writing: read-only in the sense of Windows, whoever asks.
bool IsReadOnly( const struct stat& rStatus ) noexcept;
