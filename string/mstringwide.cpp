#include "core/callreport.h"

#include <bxtools/mstring.h>
#include <bxtools/platform.h>

#include <algorithm>
#include <climits>
#include <new>
#include <string>
#include <string_view>

namespace
{

using WideString = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

// A length as the system's conversions count. Where those fail, the text is too long for them.
int CheckedLength( size_t ulLength )
{
    if ( ulLength > INT_MAX )
        throw std::bad_alloc();
    return static_cast<int>( ulLength );
}

size_t CheckedResult( int nLength )
{
    if ( nLength <= 0 )
        throw std::bad_alloc();
    return static_cast<size_t>( nLength );
}

// Both conversions take an empty text for a mistake.
WideString ToWide( std::string_view aText )
{
    WideString aWide;
    if ( aText.empty() )
        return aWide;
    const int nLength = CheckedLength( aText.size() );
    const int nWideLength = MultiByteToWideChar( CP_ACP, 0, aText.data(), nLength, NULL, 0 );
    aWide.resize( CheckedResult( nWideLength ) );
    MultiByteToWideChar( CP_ACP, 0, aText.data(), nLength, aWide.data(), nWideLength );
    return aWide;
}

std::string ToNarrow( WideView aWide )
{
    std::string aText;
    if ( aWide.empty() )
        return aText;
    const int nWideLength = CheckedLength( aWide.size() );
    const int nLength = WideCharToMultiByte( CP_ACP, 0, aWide.data(), nWideLength, NULL, 0, NULL, NULL );
    aText.resize( CheckedResult( nLength ) );
    WideCharToMultiByte( CP_ACP, 0, aWide.data(), nWideLength, aText.data(), nLength, NULL, NULL );
    return aText;
}

} // namespace

BSTR MStringAdapter::AllocSysString() const
{
    static constexpr char FAILED[] = " Error: ::SysAllocStringLen(...) failed";
    CallReport aReport( *this, "From BSTR MStringAdapter::AllocSysString() const" );
    return aReport.Guard( BSTR( NULL ), FAILED,
                          [&]
                          {
                              const WideString aWide = ToWide( View() );
                              const BSTR bstr =
                                  SysAllocStringLen( aWide.data(), static_cast<UINT>( aWide.size() ) );
                              return bstr != NULL ? bstr : aReport.Fail( FAILED, BSTR( NULL ) );
                          } );
}

BSTR MStringAdapter::SetSysString( BSTR* pbstr ) const
{
    static constexpr char FAILED[] = " Error: ::SysReAllocStringLen(...) failed";
    CallReport aReport( *this, "From BSTR MStringAdapter::SetSysString( BSTR* pbstr ) const" );
    if ( pbstr == NULL )
        return aReport.Fail( FAILED, BSTR( NULL ) );
    aReport.Guard( BOOL( FALSE ), FAILED,
                   [&]
                   {
                       const WideString aWide = ToWide( View() );
                       const UINT unLength = static_cast<UINT>( aWide.size() );
                       return SysReAllocStringLen( pbstr, aWide.data(), unLength ) ? TRUE
                                                                                   : aReport.Fail( FAILED );
                   } );
    return *pbstr;
}

LPWSTR MStringAdapter::Char2Unicode( LPCTSTR lpsz )
{
    CallReport aReport( *this, "From LPWSTR MStringAdapter::Char2Unicode( LPCTSTR lpsz )" );
    return aReport.Guard(
        LPWSTR( NULL ), SEVERE_ERROR,
        [&]
        {
            const WideString aWide = ToWide( lpsz != NULL ? View( lpsz ) : View() );
            const size_t ulSize = ( aWide.size() + 1 ) * sizeof( WCHAR );
            const ULONG ulTempSize = static_cast<ULONG>( ulSize );
            if ( m_ulWideBufferSize < ulSize &&
                 ( ulSize >= 0xFFFFFFFF ||
                   !ExpandBuffer( &m_pWideBuffer, &m_ulWideBufferSize, ulTempSize ) ) )
                return aReport.Fail(
                    " Error: !ExpandBuffer( &m_pWideBuffer, &m_ulWideBufferSize, ulTempSize )",
                    LPWSTR( NULL ) );
            std::memcpy( m_pWideBuffer, aWide.c_str(), ulSize );
            return reinterpret_cast<LPWSTR>( m_pWideBuffer );
        } );
}

LPCTSTR MStringAdapter::Unicode2Char()
{
    CallReport aReport( *this, "From LPCTSTR MStringAdapter::Unicode2Char()" );
    if ( m_pWideBuffer == NULL )
        return data();
    aReport.Guard(
        [&]
        {
            const LPCWSTR pWide = reinterpret_cast<LPCWSTR>( m_pWideBuffer );
            const WideView aWhole( pWide, m_ulWideBufferSize / sizeof( WCHAR ) );
            const std::string aText = ToNarrow( aWhole.substr( 0, aWhole.find( WCHAR( 0 ) ) ) );
            assign( aText.data(), aText.size() );
            return TRUE;
        } );
    return data();
}

BOOL MString::FromBSTR( LPCWSTR pWideText, int nLength )
{
    CallReport aReport( *this, "From BOOL MString::FromBSTR( LPCWSTR pWideText, int nLength )" );
    return aReport.Guard(
        [&]
        {
            WideView aWide;
            if ( pWideText != NULL )
                aWide = nLength < 0 ? WideView( pWideText )
                                    : WideView( pWideText, static_cast<size_t>( nLength ) );
            const std::string aText = ToNarrow( aWide );
            assign( aText.data(), aText.size() );
            return TRUE;
        } );
}
