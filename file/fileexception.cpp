// The exceptions of files, and the one table of causes.
#include <bxtools/file.h>

#include <algorithm>
#include <iterator>

namespace
{

constexpr LONG UNSPECIFIED = 1;
constexpr size_t MOST_ERRORS = 20;

// A cause and the system's error numbers that stand for it, filled up with 0.
struct Cause
{
    LPCTSTR pText;
    LONG aErrors[MOST_ERRORS];
};

// The number of a cause is its place.
constexpr Cause CAUSES[] = {
    { "No error occurred.", {} },
    { "An unspecified error occurred.", {} },
    { "The file could not be located.", { 2, 6, 18, 107 } },
    { "All or part of the path is invalid.",
      { 3, 15, 17, 34, 52, 53, 55, 67, 70, 85, 111, 123, 124, 125, 144, 154, 161, 206, 208, 267 } },
    { "The permitted number of open files was exceeded.", { 4, 36, 68, 113 } },
    { "The file could not be accessed.", { 5, 12, 19, 29, 54, 58, 64, 65, 71, 80, 82, 86, 170, 183, 999 } },
    { "There was an attempt to use an invalid file handle.", { 11, 26, 60, 66, 114, 182, 191, 193 } },
    { "The current working directory cannot be removed.", { 16, 145 } },
    { "There are no more directory entries.", { 62 } },
    { "There was an error trying to set the file pointer.", { 24, 25, 27, 30, 131, 132 } },
    { "There was a hardware error.", { 20, 21, 22, 23, 57, 59, 88, 117, 995, 996, 997 } },
    { "SHARE.EXE was not loaded, or a shared region was locked.", { 32 } },
    { "There was an attempt to lock a region that was already locked.", { 33, 108, 167 } },
    { "The disk is full.", { 39, 112 } },
    { "The end of file was reached.", { 38 } },
};

} // namespace

CException::~CException() = default;

CFileException::CFileException( LONG lCause, LONG lOsError, LPCTSTR pFileName )
    : m_lCause( lCause ),
      m_lOsError( lOsError ),
      m_aFileName( pFileName )
{
}

CFileException::~CFileException() = default;

LONG CFileException::CauseOf( LONG lOsError )
{
    if ( lOsError == 0 )
        return 0;
    for ( const Cause& rCause : CAUSES )
    {
        if ( std::find( std::begin( rCause.aErrors ), std::end( rCause.aErrors ), lOsError ) !=
             std::end( rCause.aErrors ) )
            return static_cast<LONG>( &rCause - CAUSES );
    }
    return UNSPECIFIED;
}

LPCTSTR CFileException::CauseText( LONG lCause )
{
    return lCause >= 0 && static_cast<size_t>( lCause ) < std::size( CAUSES ) ? CAUSES[lCause].pText
                                                                              : "Unknown reason.";
}
