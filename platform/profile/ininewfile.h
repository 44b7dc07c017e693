// The file that is to take the place of a profile file.
#pragma once

#include "platform/highdescriptor.h"

#include <bxtools/wintypes.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <sys/stat.h>

// Every step gives 0 or an errno. What was not put in place is gone with the object; of a killed process nothing stays but,
// where the file system has no files without a name, the one it was writing.
class IniNewFile
{
public:
    // The path of what it is to replace, no link.
    explicit IniNewFile( const std::string& strTarget );
    ~IniNewFile();
    IniNewFile( const IniNewFile& ) = delete;
    IniNewFile& operator=( const IniNewFile& ) = delete;

    int Open( mode_t nMode );
    // Gives it the owner, group, access list and mode of an open file.
    int TakeAccessFrom( int nFile, const struct stat& rStatus ) noexcept;
    // Writes and flushes.
    int Write( std::initializer_list<std::string_view> aPieces ) noexcept;
    // Takes the place of the target.
    int Replace() noexcept;
    // Becomes the target, which must not be there (EEXIST).
    int Appear() noexcept;

private:
    int Link( const std::string& strPath ) noexcept;

    std::string m_strTarget;
    std::string m_strName; // where it stands, or will stand for a moment
    int m_nFile = NO_DESCRIPTOR;
    bool m_fNamed = false;
};

// Writes all of the pieces from nAt on. Result: 0 or an errno.
int WriteIniPieces( int nFile, off_t nAt, std::initializer_list<std::string_view> aPieces ) noexcept;
