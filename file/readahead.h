// The bytes of a file that have been read before they were asked for, so that a line costs no call of the system. For a file
// that nobody else writes. The position of the file is then further on than that of its reader.
#pragma once

#include <bxtools/file.h>

class ReadAhead
{
public:
    ReadAhead() = default;
    ReadAhead( const ReadAhead& ) = delete;
    ReadAhead& operator=( const ReadAhead& ) = delete;

    // Result: true with the next line and a zero in pData; the reader is behind it. False where what was read does not tell
    // whether there is a line that pData has room for: the reader is where it was, and pData is undefined.
    //   unSize  not 0.
    bool TakeLine( BaseFile& rFile, LPTSTR pData, UINT unSize, TCHAR cDelim );

    // Whether the file's position is not the reader's, which Position tells then.
    bool IsAhead() const noexcept { return m_fAhead; }
    DWORD Position() const noexcept { return m_dwEnd - Left(); }
    // Moves the file's position to the reader's and forgets what was read. Throws as BaseFile does.
    void GoBack( BaseFile& rFile );

private:
    static constexpr UINT ROOM = 65536;

    UINT Left() const noexcept { return m_unCount - m_unNext; }
    bool Start( BaseFile& rFile );
    bool Fill( BaseFile& rFile );
    bool ReadMore( BaseFile& rFile );

    bool m_fAhead = false;
    DWORD m_dwEnd = 0;   // position of the file, behind the bytes here
    UINT m_unCount = 0;  // bytes here
    UINT m_unNext = 0;   // the reader's among them
    char m_aBytes[ROOM]; // not filled before they are read
};
