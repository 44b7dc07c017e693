#include "core/callreport.h"

#include <bxtools/mstringadapter.h>

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

MStringAdapter::MStringAdapter( LPCTSTR lpsz ) : MStringAdapter( View( lpsz ) ) {}

MStringAdapter::MStringAdapter( const unsigned char* lpsz ) : MStringAdapter( View( lpsz ) ) {}

MStringAdapter::MStringAdapter( LPCTSTR lpch, int nLength )
    : MStringAdapter( lpch != NULL && nLength > 0 ? std::string_view( lpch, static_cast<size_t>( nLength ) )
                                                  : std::string_view() )
{
}

MStringAdapter::MStringAdapter( TCHAR ch ) noexcept : MStringAdapter( std::string_view( &ch, 1 ) ) {}

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
    AssignText( { &ch, 1 } );
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

void MStringAdapter::ReportNoMemory() const
{
    CallReport aReport( *this, "From MStringAdapter::MStringAdapter( std::string_view aText )" );
    aReport.Fail( SEVERE_ERROR );
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
    const std::string_view aText = View( lpsz );
    return compare( aText.data(), aText.size() );
}

int MStringAdapter::CompareNoCase( LPCTSTR lpsz ) const noexcept
{
    const std::string_view aText = View( lpsz );
    return compareNoCase( aText.data(), aText.size() );
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
    ReplaceText( ulStart, ulCount, {} );
    return *this;
}

MStringAdapter& MStringAdapter::Insert( size_t ulPosition, LPCTSTR lpsz )
{
    ReplaceText( ulPosition, 0, View( lpsz ) );
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

void MStringAdapter::AssignText( std::string_view aText )
{
    ReplaceText( 0, length(), aText );
}

void MStringAdapter::AppendText( std::string_view aText )
{
    CallReport aReport( *this, "From void MStringAdapter::AppendText( std::string_view aText )" );
    Attempt( aReport, [&] { append( aText.data(), aText.size() ); } );
}

BOOL MStringAdapter::ReplaceText( size_t ulStart, size_t ulCount, std::string_view aText )
{
    CallReport aReport(
        *this,
        "From BOOL MStringAdapter::ReplaceText( size_t ulStart, size_t ulCount, std::string_view aText )" );
    return Attempt( aReport, [&] { replace( ulStart, ulCount, aText.data(), aText.size() ); } );
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
