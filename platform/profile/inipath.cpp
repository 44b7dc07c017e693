#include "platform/profile/inipath.h"

#include <algorithm>
#include <string_view>
#include <sys/stat.h>

namespace
{
constexpr std::string_view SYSTEM_FOLDER = BXTOOLS_WINDOWS_DIR "/";
constexpr char SYSTEM_PROFILE[] = "win.ini";
} // namespace

DWORD IniPath::Set( const char* pFileName ) noexcept
{
    const std::string_view aName( pFileName != nullptr ? pFileName : SYSTEM_PROFILE );
    if ( aName.empty() )
        return ERROR_ACCESS_DENIED; // the system's folder itself
    const bool fBare = aName.find_first_of( "/\\" ) == aName.npos;
    const std::string_view aFolder = fBare ? SYSTEM_FOLDER : std::string_view{};
    if ( aFolder.size() + aName.size() >= sizeof( m_szPath ) )
        return ERROR_FILENAME_EXCED_RANGE;
    char* const pName = std::copy( aFolder.begin(), aFolder.end(), m_szPath );
    *std::replace_copy( aName.begin(), aName.end(), pName, '\\', '/' ) = '\0';
    return ERROR_SUCCESS;
}

std::string FolderOfIni( const std::string& strPath )
{
    const size_t nSeparator = strPath.rfind( '/' );
    if ( nSeparator == strPath.npos )
        return ".";
    return strPath.substr( 0, nSeparator == 0 ? 1 : nSeparator );
}

DWORD MissingIniError( const std::string& strPath )
{
    struct stat aStatus;
    return stat( FolderOfIni( strPath ).c_str(), &aStatus ) == 0 ? ERROR_FILE_NOT_FOUND
                                                                 : ERROR_PATH_NOT_FOUND;
}
