#include "core/callreport.h"
#include "string/textsearch.h"

#include <bxtools/mstring.h>

#include <algorithm>
#include <climits>
#include <string_view>

int MString::FindStr( LPCTSTR lpsz, int nStart ) const noexcept
{
    if ( lpsz == NULL )
        return -1;
    const size_t ulFound = find( lpsz, static_cast<size_t>( std::max( nStart, 0 ) ) );
    return ulFound <= INT_MAX ? static_cast<int>( ulFound ) : -1;
}

MStringAdapter MString::Cut( USHORT uStart, USHORT uCount )
{
    CallReport aReport( *this, "From MStringAdapter MString::Cut( USHORT uStart, USHORT uCount )" );
    MStringAdapter aCut;
    const BOOL fCut = aReport.Guard(
        [&]
        {
            const size_t ulStart = std::min<size_t>( uStart, length() );
            const size_t ulCount = std::min<size_t>( uCount, length() - ulStart );
            aCut.append( data() + ulStart, ulCount );
            replace( ulStart, ulCount, NULL, 0 );
            return TRUE;
        } );
    // What could not be taken out is still here.
    if ( !fCut )
        aCut.Empty();
    return aCut;
}

MStringAdapter MString::GetToken( USHORT uToken, TCHAR c ) const
{
    CallReport aReport( *this, "From MStringAdapter MString::GetToken( USHORT uToken, TCHAR c )" );
    if ( c == 0 )
    {
        aReport.Fail( " Error: c == 0" );
        return MStringAdapter();
    }
    const std::string_view aText = View();
    size_t ulStart = 0;
    if ( uToken != 0 )
    {
        const size_t ulDelimiter = FindNthCharacter( aText, c, uToken - 1u );
        if ( ulDelimiter == aText.npos )
            return MStringAdapter();
        ulStart = ulDelimiter + 1;
    }
    return Part( ulStart, aText.find( c, ulStart ) - ulStart );
}

USHORT MString::GetTokenCount( TCHAR c ) const
{
    CallReport aReport( *this, "From USHORT MString::GetTokenCount( TCHAR c )" );
    if ( c == 0 )
        return aReport.Fail( " Error: c == 0", USHORT( 0 ) );
    return static_cast<USHORT>( 1 + CountCharacter( View(), c ) );
}

// Finds where token ulToken begins and where it ends. Result: false when there is no such token, and for a null or
// empty delimiter and an empty string.
bool MString::GetTokenPosStr( size_t ulToken, LPCTSTR lpszDelimiter, size_t& ulStart,
                              size_t& ulEnd ) const noexcept
{
    const std::string_view aText = View();
    const std::string_view aDelimiter = View( lpszDelimiter );
    if ( aText.empty() || aDelimiter.empty() )
        return false;
    ulStart = 0;
    ulEnd = FindSeparator( aText, aDelimiter );
    for ( ; ulToken != 0; --ulToken )
    {
        if ( ulEnd == aText.npos )
            return false;
        ulStart = ulEnd + aDelimiter.size();
        ulEnd = FindSeparator( aText, aDelimiter, ulStart );
    }
    ulEnd = std::min( ulEnd, aText.size() );
    return true;
}

MStringAdapter MString::GetTokenStr( USHORT uToken, LPCTSTR lpszDelimiter ) const
{
    size_t ulStart = 0;
    size_t ulEnd = 0;
    if ( !GetTokenPosStr( uToken, lpszDelimiter, ulStart, ulEnd ) )
        return MStringAdapter();
    return Part( ulStart, ulEnd - ulStart );
}

USHORT MString::GetTokenCountStr( LPCTSTR lpszDelimiter ) const noexcept
{
    return static_cast<USHORT>( 1 + CountSeparator( View(), View( lpszDelimiter ) ) );
}

int MString::DeleteTokenStr( USHORT uToken, LPCTSTR lpszDelimiter )
{
    size_t ulStart = 0;
    size_t ulEnd = 0;
    if ( !GetTokenPosStr( uToken, lpszDelimiter, ulStart, ulEnd ) )
        return 0;
    const bool fLast = ulEnd == length();
    if ( fLast && uToken == 0 )
        return 0;
    // The last token goes with the delimiter before it, any other one with the one behind.
    const size_t ulDelimiter = std::strlen( lpszDelimiter );
    return ReplaceText( fLast ? ulStart - ulDelimiter : ulStart, ulEnd - ulStart + ulDelimiter, {} );
}

int MString::ReplaceTokenStr( USHORT uToken, LPCTSTR lpszDelimiter, LPCTSTR lpszNewToken )
{
    size_t ulStart = 0;
    size_t ulEnd = 0;
    if ( !GetTokenPosStr( uToken, lpszDelimiter, ulStart, ulEnd ) )
        return 0;
    return ReplaceText( ulStart, ulEnd - ulStart, View( lpszNewToken ) );
}
