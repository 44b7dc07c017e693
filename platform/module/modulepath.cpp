#include "platform/module/modulepath.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// The folder with its final separator; empty for a path without one.
std::string FolderOf( const std::string& aPath )
{
    const size_t nSeparator = aPath.rfind( '/' );
    return nSeparator == std::string::npos ? std::string() : aPath.substr( 0, nSeparator + 1 );
}

// The folder of the module that holds this code.
std::string GetOwnFolder()
{
    Dl_info aInfo{};
    link_map* pMap = nullptr;
    const void* const pOwnCode = reinterpret_cast<const void*>( &ListLibraryCandidates );
    if ( dladdr1( pOwnCode, &aInfo, reinterpret_cast<void**>( &pMap ), RTLD_DL_LINKMAP ) == 0 ||
         pMap == nullptr )
        return std::string();
    if ( pMap->l_name == nullptr || pMap->l_name[0] == '\0' )
        return FolderOf( GetProgramPath() );
    return FolderOf( MakeAbsolute( pMap->l_name ) );
}

std::string ToLower( std::string aText )
{
    for ( char& rChar : aText )
    {
        if ( rChar >= 'A' && rChar <= 'Z' )
            rChar = static_cast<char>( rChar - 'A' + 'a' );
    }
    return aText;
}

void AddOnce( std::vector<std::string>& rList, std::string aText )
{
    if ( std::find( rList.begin(), rList.end(), aText ) == rList.end() )
        rList.push_back( std::move( aText ) );
}

// The file names that a name without a directory stands for.
std::vector<std::string> ListFileNames( const std::string& aName )
{
    constexpr size_t EXTENSION_LENGTH = 4;
    std::vector<std::string> aNames;
    const bool fDll = aName.size() > EXTENSION_LENGTH &&
                      strcasecmp( aName.c_str() + aName.size() - EXTENSION_LENGTH, ".dll" ) == 0;
    if ( fDll || aName.find( '.' ) == std::string::npos )
    {
        const std::string aStem = fDll ? aName.substr( 0, aName.size() - EXTENSION_LENGTH ) : aName;
        AddOnce( aNames, "lib" + ToLower( aStem ) + ".so" );
        AddOnce( aNames, "lib" + aStem + ".so" );
    }
    AddOnce( aNames, aName );
    return aNames;
}

class FileDescriptor
{
public:
    explicit FileDescriptor( const char* pPath ) noexcept
        : m_nDescriptor( open( pPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK ) )
    {
    }
    ~FileDescriptor()
    {
        if ( m_nDescriptor >= 0 )
            close( m_nDescriptor );
    }
    FileDescriptor( const FileDescriptor& ) = delete;
    FileDescriptor& operator=( const FileDescriptor& ) = delete;

    int Get() const noexcept { return m_nDescriptor; }

private:
    int m_nDescriptor;
};

typedef ElfW( Ehdr ) ElfHeader;
typedef ElfW( Phdr ) ElfSegment;
} // namespace

// This library's own header, put here by the linker.
extern "C" __attribute__( ( visibility( "hidden" ) ) ) const ElfHeader __ehdr_start;

namespace
{
// The header of a library for the very machine that runs this code.
bool IsOwnKind( const ElfHeader& rHeader ) noexcept
{
    return memcmp( rHeader.e_ident, __ehdr_start.e_ident, EI_VERSION + 1 ) == 0 &&
           rHeader.e_machine == __ehdr_start.e_machine && rHeader.e_type == ET_DYN &&
           rHeader.e_phentsize == sizeof( ElfSegment );
}

bool IsInside( const ElfSegment& rSegment, ULONGLONG ullFileSize ) noexcept
{
    return rSegment.p_type != PT_LOAD ||
           ( rSegment.p_offset <= ullFileSize && rSegment.p_filesz <= ullFileSize - rSegment.p_offset );
}

bool AreSegmentsInside( int nFile, const ElfHeader& rHeader, ULONGLONG ullFileSize ) noexcept
{
    constexpr size_t AT_ONCE = 16; // more than libraries have
    std::array<ElfSegment, AT_ONCE> aSegments;
    for ( size_t nIndex = 0; nIndex < rHeader.e_phnum; nIndex += AT_ONCE )
    {
        const size_t nNow = std::min( AT_ONCE, rHeader.e_phnum - nIndex );
        const size_t nSize = nNow * sizeof( ElfSegment );
        const auto nOffset = static_cast<off_t>( rHeader.e_phoff + nIndex * sizeof( ElfSegment ) );
        if ( pread( nFile, aSegments.data(), nSize, nOffset ) != static_cast<ssize_t>( nSize ) ||
             !std::all_of( aSegments.begin(), aSegments.begin() + nNow,
                           [ullFileSize]( const ElfSegment& rSegment )
                           { return IsInside( rSegment, ullFileSize ); } ) )
            return false;
    }
    return rHeader.e_phnum > 0;
}
} // namespace

std::string GetProgramPath()
{
    static constexpr char DELETED[] = " (deleted)";
    std::array<char, PATH_MAX + sizeof( DELETED )> aBuffer;
    const ssize_t nLength = readlink( "/proc/self/exe", aBuffer.data(), aBuffer.size() );
    std::string aPath( aBuffer.data(), nLength > 0 ? static_cast<size_t>( nLength ) : 0 );
    struct stat aStatus;
    if ( aPath.ends_with( DELETED ) && stat( aPath.c_str(), &aStatus ) != 0 )
        aPath.resize( aPath.size() - ( sizeof( DELETED ) - 1 ) );
    return aPath;
}

std::string MakeAbsolute( const std::string& aPath )
{
    std::array<char, PATH_MAX> aFolder;
    if ( aPath.starts_with( '/' ) || getcwd( aFolder.data(), aFolder.size() ) == nullptr )
        return aPath;
    return std::string( aFolder.data() ) + "/" + aPath;
}

std::vector<std::string> ListLibraryCandidates( LPCSTR pFileName )
{
    std::string aName( pFileName );
    // To the system's loader an empty name is the program.
    if ( aName.empty() )
        return {};
    std::replace( aName.begin(), aName.end(), '\\', '/' );
    if ( aName.find( '/' ) != std::string::npos )
        return { MakeAbsolute( aName ) };

    std::vector<std::string> aCandidates;
    const std::vector<std::string> aNames = ListFileNames( aName );
    for ( const std::string& aFolder : { GetOwnFolder(), FolderOf( GetProgramPath() ), std::string() } )
    {
        for ( const std::string& aFileName : aNames )
            AddOnce( aCandidates, aFolder + aFileName );
    }
    return aCandidates;
}

LibraryFile CheckLibraryFile( const std::string& aPath ) noexcept
{
    const FileDescriptor aFile( aPath.c_str() );
    struct stat aStatus;
    if ( aFile.Get() < 0 || fstat( aFile.Get(), &aStatus ) != 0 || !S_ISREG( aStatus.st_mode ) )
        return LibraryFile::Missing;
    ElfHeader aHeader;
    const bool fGood = pread( aFile.Get(), &aHeader, sizeof( aHeader ), 0 ) == sizeof( aHeader ) &&
                       IsOwnKind( aHeader ) &&
                       AreSegmentsInside( aFile.Get(), aHeader, static_cast<ULONGLONG>( aStatus.st_size ) );
    return fGood ? LibraryFile::Loadable : LibraryFile::NoLibrary;
}
