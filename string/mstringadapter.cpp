#include "core/callreport.h"

#include <bxtools/mstring.h>

#include <algorithm>
#include <climits>

namespace
{

// A position for callers; what an int cannot say counts as absent.
int Position( size_t ulPosition ) noexcept
{
    return ulPosition <= INT_MAX ? static_cast<int>( ulPosition ) : -1;
}

// Runs a change of the text. Short of memory, it becomes the report, and the text stays as it was.
template <class Change>
BOOL Attempt( CallReport& aReport, Change&& aChange )
{
    return aReport.Guard(
        [&]
        {
            aChange();
            return TRUE;
        } );
}

LPCTSTR OrEmpty( LPCTSTR pText ) noexcept
{
    return pText != NULL ? pText : "";
}

} // namespace

MStringAdapter::MStringAdapter() noexcept {}

MStringAdapter::MStringAdapter( const MStringAdapter& aOther ) noexcept : RWCString( aOther ), BaseObject2()
{
}

MStringAdapter::MStringAdapter( MStringAdapter&& aOther ) noexcept
    : RWCString( static_cast<RWCString&&>( aOther ) ),
      BaseObject2()
{
}

MStringAdapter::MStringAdapter( const MStringAdapter* pOther ) noexcept
{
    if ( pOther != NULL )
        RWCString::operator=( *pOther );
}

MStringAdapter::MStringAdapter( LPCTSTR lpsz )
{
    AppendText( lpsz );
}

MStringAdapter::MStringAdapter( const unsigned char* lpsz )
{
    AppendText( reinterpret_cast<LPCTSTR>( lpsz ) );
}

MStringAdapter::MStringAdapter( LPCTSTR lpch, int nLength )
{
    if ( lpch != NULL && nLength > 0 )
        AppendText( lpch, static_cast<size_t>( nLength ) );
}

MStringAdapter::MStringAdapter( TCHAR ch ) noexcept
{
    append( &ch, 1 );
}

MStringAdapter::MStringAdapter( TCHAR ch, int nRepeat )
{
    CallReport aReport( *this, "From MStringAdapter::MStringAdapter( TCHAR ch, int nRepeat )" );
    if ( nRepeat <= 0 )
    {
        aReport.Fail( " Error: nRepeat <= 0" );
        return;
    }
    Attempt( aReport, [&] { RWCString::operator=( RWCString( ch, static_cast<size_t>( nRepeat ) ) ); } );
}

MStringAdapter& MStringAdapter::operator=( TCHAR ch )
{
    AssignText( &ch, 1 );
    return *this;
}

void MStringAdapter::SetAt( int nIndex, TCHAR ch )
{
    CallReport aReport( *this, "From inline void MStringAdapter::SetAt(int nIndex, TCHAR ch)" );
    if ( nIndex < 0 || static_cast<size_t>( nIndex ) >= length() )
    {
        aReport.Fail( " Error: nIndex < 0 || nIndex >= nLen -> bounds error" );
        return;
    }
    Attempt( aReport, [&] { setAt( static_cast<size_t>( nIndex ), ch ); } );
}

TCHAR MStringAdapter::ReportNegativeIndex() const
{
    CallReport aReport( *this, "From inline TCHAR MStringAdapter::operator[]( int nIndex ) const" );
    return aReport.Fail( "nIndex < 0 -> bounds error", TCHAR( 0 ) );
}

int MStringAdapter::Find( TCHAR ch ) const noexcept
{
    return Position( find( ch ) );
}

int MStringAdapter::ReverseFind( TCHAR ch ) const noexcept
{
    return Position( findLast( ch ) );
}

int MStringAdapter::Compare( LPCTSTR lpsz ) const noexcept
{
    return compare( OrEmpty( lpsz ), std::strlen( OrEmpty( lpsz ) ) );
}

int MStringAdapter::CompareNoCase( LPCTSTR lpsz ) const noexcept
{
    return compareNoCase( OrEmpty( lpsz ), std::strlen( OrEmpty( lpsz ) ) );
}

MStringAdapter MStringAdapter::Left( ULONG ulCount ) const
{
    return Part( 0, ulCount );
}

MStringAdapter MStringAdapter::Right( ULONG ulCount ) const
{
    return ulCount < length() ? Part( length() - ulCount, ulCount ) : MStringAdapter( *this );
}

MStringAdapter MStringAdapter::Copy( USHORT uStart, USHORT uCount ) const
{
    return Part( uStart, uCount );
}

MStringAdapter& MStringAdapter::Erase( size_t ulStart, size_t ulCount )
{
    ReplaceText( ulStart, ulCount, NULL, 0 );
    return *this;
}

MStringAdapter& MStringAdapter::Insert( size_t ulPosition, LPCTSTR lpsz )
{
    ReplaceText( ulPosition, 0, lpsz, std::strlen( OrEmpty( lpsz ) ) );
    return *this;
}

MStringAdapter& MStringAdapter::EraseAllChars( TCHAR c )
{
    CallReport aReport( *this, "From MStringAdapter& MStringAdapter::EraseAllChars( TCHAR c )" );
    Attempt( aReport,
             [&]
             {
                 RWCString aKept;
                 const size_t ulLength = length();
                 for ( size_t ulStart = 0; ulStart < ulLength; )
                 {
                     const size_t ulEnd = std::min( find( c, ulStart ), ulLength );
                     aKept.append( data() + ulStart, ulEnd - ulStart );
                     ulStart = ulEnd + 1;
                 }
                 RWCString::operator=( std::move( aKept ) );
             } );
    return *this;
}

MStringAdapter& MStringAdapter::EraseLeadingChars( TCHAR c )
{
    const char* const pEnd = data() + length();
    const char* const pKept = std::find_if( data(), pEnd, [c]( char cSign ) { return cSign != c; } );
    return Erase( 0, static_cast<size_t>( pKept - data() ) );
}

MStringAdapter& MStringAdapter::EraseTrailingChars( TCHAR c )
{
    size_t ulKept = length();
    while ( ulKept != 0 && data()[ulKept - 1] == c )
        --ulKept;
    return Erase( ulKept, length() - ulKept );
}

void MStringAdapter::MakeUpper()
{
    CallReport aReport( *this, "From void MStringAdapter::MakeUpper()" );
    Attempt( aReport, [&] { toUpper(); } );
}

void MStringAdapter::AssignText( LPCTSTR pText, size_t ulLength )
{
    ReplaceText( 0, length(), pText, ulLength );
}

void MStringAdapter::AssignText( LPCTSTR pText )
{
    AssignText( pText, std::strlen( OrEmpty( pText ) ) );
}

void MStringAdapter::AppendText( LPCTSTR pText, size_t ulLength )
{
    CallReport aReport( *this, "From void MStringAdapter::AppendText( LPCTSTR pText, size_t ulLength )" );
    Attempt( aReport, [&] { append( pText, ulLength ); } );
}

void MStringAdapter::AppendText( LPCTSTR pText )
{
    AppendText( pText, std::strlen( OrEmpty( pText ) ) );
}

BOOL MStringAdapter::ReplaceText( size_t ulStart, size_t ulCount, LPCTSTR pText, size_t ulLength )
{
    CallReport aReport(
        *this,
        "From BOOL MStringAdapter::ReplaceText( size_t ulStart, size_t ulCount, LPCTSTR pText, size_t ulLength )" );
    return Attempt( aReport, [&] { replace( ulStart, ulCount, pText, ulLength ); } );
}

MStringAdapter MStringAdapter::Part( size_t ulStart, size_t ulCount ) const
{
    CallReport aReport( *this,
                        "From MStringAdapter MStringAdapter::Part( size_t ulStart, size_t ulCount ) const" );
    MStringAdapter aPart;
    Attempt( aReport,
             [&]
             {
                 ulStart = std::min( ulStart, length() );
                 aPart.append( data() + ulStart, std::min( ulCount, length() - ulStart ) );
             } );
    return aPart;
}
