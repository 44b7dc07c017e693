// Short and long forms of paths.
#include "file/longpath.h"

#include "core/callreport.h"
#include "file/ownpath.h"

#include <bxtools/buffers.h>
#include <bxtools/path.h>
#include <bxtools/platform.h>

#include <memory>

namespace
{

// Where '/' divides there are no drives: an absolute path begins with an empty piece in their place.
constexpr bool FIRST_PIECE_MAY_BE_EMPTY = MYCH_DELIMDIR == '/';

// Whether a search found what the piece says, not something that its wildcards stand for.
bool IsMeant( std::string_view aPiece, LPCTSTR pFound )
{
    return aPiece == pFound || aPiece.find_first_of( "*?" ) == aPiece.npos;
}

BOOL FailWithName( CallReport& rReport, LPCTSTR pText, const MString& aName )
{
    rReport.Fail( pText );
    rReport.Tail( aName );
    return FALSE;
}

// Gives the last piece of a path as its folder spells it.
BOOL InternalTokenNameShortToLong( MString& aShortName )
{
    CallReport aReport( "From BOOL InternalTokenNameShortToLong( MString&  aShortName )" );
    const size_t ulPiece = aShortName.findLast( MYCH_DELIMDIR ) + 1;
    const std::string_view aPiece = View( aShortName ).substr( ulPiece );
    WIN32_FIND_DATAA aData = {};
    const HANDLE hFind = FindFirstFileA( aShortName, &aData );
    if ( hFind == INVALID_HANDLE_VALUE )
        return FailWithName( aReport, " Error: FindFirstFile failed: ", aShortName );
    if ( !FindClose( hFind ) )
        return FailWithName( aReport, " Error: FindClose failed: ", aShortName );
    if ( !IsMeant( aPiece, aData.cFileName ) )
        return FailWithName( aReport, " Error: FindFirstFile failed: ", aShortName );
    const std::string_view aFound( aData.cFileName );
    // The folders' own names for themselves and for their parents would be found under other names.
    if ( aPiece != "." && aPiece != ".." )
        aShortName.replace( ulPiece, aPiece.size(), aFound.data(), aFound.size() );
    return TRUE;
}

// Refuses a path of one piece, and one that begins with nothing where a drive belongs.
//   ulFirstEnd  out: where the first piece ends.
BOOL FindFirstPiece( CallReport& rReport, std::string_view aPath, size_t& ulFirstEnd )
{
    constexpr TCHAR DELIMITER[] = { MYCH_DELIMDIR, '\0' };
    ulFirstEnd = aPath.find( MYCH_DELIMDIR );
    if ( ulFirstEnd == aPath.npos )
    {
        const MString aShown( aPath.data(), static_cast<int>( aPath.size() ) );
        rReport.Fail( " Error: aShortFileName.GetTokenCount( MYCH_DELIMDIR ) <= 1, aShortFileName = " );
        rReport.Tail( aShown ).Tail( ", MYCH_DELIMDIR = " ).Tail( DELIMITER );
        return FALSE;
    }
    const bool fSecondEmpty = ulFirstEnd + 1 == aPath.size() || aPath[ulFirstEnd + 1] == MYCH_DELIMDIR;
    if ( ulFirstEnd == 0 && ( !FIRST_PIECE_MAY_BE_EMPTY || fSecondEmpty ) )
        return rReport.Fail( " Error: aShortFileName.GetToken( 0, MYCH_DELIMDIR ).GetLength() == 0" );
    return TRUE;
}

} // namespace

// A delimiter at the end of the short path stands there, but is not worked on.
BOOL InternalShortToLong( const MString& aShortFileName, MString& aLongFileName )
{
    CallReport aReport( "From BOOL InternalShortToLong( MString& aShortFileName, MString& aLongFileName )" );
    std::string_view aPath = View( aShortFileName );
    if ( aPath.ends_with( MYCH_DELIMDIR ) )
        aPath.remove_suffix( 1 );
    size_t ulEnd = 0;
    if ( !FindFirstPiece( aReport, aPath, ulEnd ) )
        return FALSE;
    aLongFileName.assign( aPath.data(), ulEnd );
    while ( ulEnd != aPath.npos )
    {
        const size_t ulDelimiter = ulEnd;
        ulEnd = aPath.find( MYCH_DELIMDIR, ulDelimiter + 1 );
        const std::string_view aPiece = aPath.substr( ulDelimiter, ulEnd - ulDelimiter );
        aLongFileName.append( aPiece.data(), aPiece.size() );
        if ( !InternalTokenNameShortToLong( aLongFileName ) )
            return aReport.Fail( " Error: !InternalTokenNameShortToLong( aLongFileName )" );
    }
    return TRUE;
}

BOOL DLL_EXPORT ShortPath2Long( LPCTSTR pFullPath, LPTSTR pLongPath, USHORT uSize )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT ShortPath2Long( LPCTSTR pFullPath, LPTSTR pLongPath, USHORT uSize )" );
    if ( pLongPath == NULL )
        return aReport.Fail( " Error: pLongPath == NULL" );
    if ( uSize == 0 )
        return aReport.Fail( " Error: uSize == 0" );
    return aReport.Guard( BOOL( FALSE ), " Error: ShortPath2Long(...) caused uncaught exception",
                          [&]() -> BOOL
                          {
                              const MString aShortFileName = OwnPath( pFullPath );
                              MString aLongFileName;
                              if ( !InternalShortToLong( aShortFileName, aLongFileName ) )
                                  return aReport.Fail(
                                      " Error: !InternalShortToLong( aShortFileName, aLongFileName )" );
                              if ( !SafeCopy( pLongPath, aLongFileName, uSize ) )
                                  return aReport.Fail( " Error: Destination buffer pLongPath too small" );
                              return TRUE;
                          } );
}

BOOL DLL_EXPORT ShortPath2Long1( const MString& aFullPath, MString& aLongPath )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT ShortPath2Long1( const MString& aFullPath, MString& aLongPath )" );
    return aReport.Guard( BOOL( FALSE ), " Error: ShortPath2Long1(...) caused uncaught exception",
                          [&]() -> BOOL
                          {
                              const MString aShortFileName = OwnPath( aFullPath );
                              MString aLongFileName;
                              if ( !InternalShortToLong( aShortFileName, aLongFileName ) )
                                  return aReport.Fail(
                                      " Error: !InternalShortToLong( aShortFileName, aLongPath )" );
                              aLongPath = aLongFileName;
                              return TRUE;
                          } );
}

BOOL DLL_EXPORT LongPath2Short( const MString& aLongPath, MString& aShortPath )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT LongPath2Short( const MString& aLongPath, MString& aShortPath )" );
    if ( aLongPath.GetLength() == 0 )
        return aReport.Fail( " Error: aLongPath.GetLength() == 0" );
    return aReport.Guard(
        BOOL( FALSE ), " Error: LongPath2Short(...) caused uncaught exception",
        [&]() -> BOOL
        {
            const size_t ulRoom = aLongPath.GetLength() + 1;
            const std::unique_ptr<TCHAR[]> pShortPath( new TCHAR[ulRoom] );
            const DWORD dwLength =
                GetShortPathNameA( aLongPath, pShortPath.get(), static_cast<DWORD>( ulRoom ) );
            if ( dwLength == 0 || dwLength >= ulRoom )
                return FailWithName( aReport, "GetShortPathName failed: aLongPath = ", aLongPath );
            aShortPath.assign( pShortPath.get(), dwLength );
            return TRUE;
        } );
}
