// The C_ functions: texts become strings, the function without C_ is called, texts go into the caller's buffer.
#include "core/callreport.h"
#include "error/cbuffer.h"

#include <bxtools/cerror.h>
#include <bxtools/error.h>

namespace
{

// Class, number and system error into a caller's variables. aGetValues is the call with the string.
template <class GetValues>
BOOL HandOutOriginValues( CallReport& aReport, const CallerBuffer<USHORT>& rBuffer, const ERR* plCurErr,
                          const DWORD* pdwLastErr, LPCTSTR pGetFailed, GetValues aGetValues )
{
    if ( plCurErr == NULL )
        return aReport.Fail( " Error: plCurErr == NULL" );
    if ( pdwLastErr == NULL )
        return aReport.Fail( " Error: pdwLastErr == NULL" );
    if ( rBuffer.IsMissing() )
        return aReport.Fail( " Error: aOriginErrCls == NULL" );
    MString aLocalOriginErrCls;
    if ( !aGetValues( aLocalOriginErrCls ) )
        return aReport.Fail( pGetFailed );
    return rBuffer.HandOut( aReport, aLocalOriginErrCls,
                            " Error: !SafeCopy( aOriginErrCls, aLocalOriginErrCls, usSize )" );
}

// A number of records into a caller's variable. aCount is the call that counts.
template <class Count>
BOOL HandOutCount( CallReport& aReport, ULONG* pulCount, LPCTSTR pCountFailed, Count aCount )
{
    if ( pulCount == NULL )
        return aReport.Fail( " Error: pulCount == NULL" );
    *pulCount = 0;
    return aCount( *pulCount ) || aReport.Fail( pCountFailed );
}

// A stream changed in place by aChange, which never makes it longer.
template <class Change>
BOOL ChangeInPlace( CallReport& aReport, LPTSTR aErrStream, LPCTSTR pChangeFailed, LPCTSTR pCopyFailed,
                    Change aChange )
{
    if ( aErrStream == NULL )
        return aReport.Fail( " Error: aErrStream == NULL" );
    MString aLocalErrStream = TextOf( aErrStream );
    if ( !aChange( aLocalErrStream ) )
        return aReport.Fail( pChangeFailed );
    return CopyText( aErrStream, aLocalErrStream, aLocalErrStream.length() + 1 ) ||
           aReport.Fail( pCopyFailed );
}

} // namespace

DLL_EXPORT_MOD BOOL DLL_EXPORT C_SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr,
                                             LPCTSTR aOriginErrText, LPCTSTR aOptionalText,
                                             LPCTSTR aOptionalTextParams )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr, LPCTSTR aOriginErrText, LPCTSTR aOptionalText, LPCTSTR aOptionalTextParams )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            return SetLastErr( szCurErrCls, lCurErr, dwSysLastErr, TextOf( aOriginErrText ),
                               TextOf( aOptionalText ), TextOf( aOptionalTextParams ) );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetAvailableErrorCount( ULONG* pulCount )
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetAvailableErrorCount( ULONG* pulCount )" );
    return HandOutCount( aReport, pulCount, " Error: !GetAvailableErrorCount( ulCount )",
                         []( ULONG& rulCount ) { return GetAvailableErrorCount( rulCount ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_Error2Stream( LPTSTR aStream, USHORT usSize, ULONG ulIndex,
                                               USHORT* pusNeededSize )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_Error2Stream( LPTSTR aStream, USHORT usSize, ULONG ulIndex, USHORT* pusNeededSize )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            const CallerBuffer<USHORT> aBuffer{ aStream, usSize, pusNeededSize };
            if ( aBuffer.IsMissing() )
                return aReport.Fail( " Error: aStream == NULL" );
            MString aLocalStream;
            if ( !Error2Stream( aLocalStream, ulIndex ) )
                return aReport.Fail( " Error: !Error2Stream( aLocalStream, ulIndex )" );
            return aBuffer.HandOut( aReport, aLocalStream,
                                    " Error: !SafeCopy( aStream, aLocalStream, usSize )" );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_AllErrors2Stream( LPTSTR aStream, ULONG ulSize, ULONG* pulNeededSize )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_AllErrors2Stream( LPTSTR aStream, ULONG ulSize, ULONG* pulNeededSize )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            const CallerBuffer<ULONG> aBuffer{ aStream, ulSize, pulNeededSize };
            if ( aBuffer.IsMissing() )
                return aReport.Fail( " Error: aStream == NULL" );
            // From here on the errors are off the stack, whatever becomes of them.
            MString aLocalStream;
            if ( !AllErrors2Stream( aLocalStream ) )
                return aReport.Fail( " Error: !AllErrors2Stream( aLocalStream )" );
            return aBuffer.HandOut( aReport, aLocalStream,
                                    " Error: !SafeCopy( aStream, aLocalStream, ulSize )" );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetOriginErrorValues( LPTSTR aOriginErrCls, USHORT usSize,
                                                       USHORT* pusNeededSize, ERR* plCurErr,
                                                       DWORD* pdwLastErr, ULONG ulIndex )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetOriginErrorValues( LPTSTR aOriginErrCls, USHORT usSize, USHORT* pusNeededSize, ERR* plCurErr, DWORD* pdwLastErr, ULONG ulIndex )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            return HandOutOriginValues(
                aReport, { aOriginErrCls, usSize, pusNeededSize }, plCurErr, pdwLastErr,
                " Error: !GetOriginErrorValues( aLocalOriginErrCls, *plCurErr, *pdwLastErr, ulIndex )",
                [&]( MString& rErrCls )
                { return GetOriginErrorValues( rErrCls, *plCurErr, *pdwLastErr, ulIndex ); } );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_IsErrorStream( LPCTSTR aErrStream )
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_IsErrorStream( LPCTSTR aErrStream )" );
    return aReport.Guard( [&]() -> BOOL { return IsErrorStream( TextOf( aErrStream ) ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetAvailableErrorCountFromStream( ULONG* pulCount, LPCTSTR aErrStream )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetAvailableErrorCountFromStream( ULONG* pulCount, LPCTSTR aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            return HandOutCount(
                aReport, pulCount, " Error: !GetAvailableErrorCountFromStream( ulCount, aErrStream )",
                [&]( ULONG& rulCount )
                { return GetAvailableErrorCountFromStream( rulCount, TextOf( aErrStream ) ); } );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_DeleteErrorFromStream( ULONG ulIndex, LPTSTR aErrStream )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_DeleteErrorFromStream( ULONG ulIndex, LPTSTR aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            return ChangeInPlace(
                aReport, aErrStream, " Error: !DeleteErrorFromStream( ulIndex, aLocalErrStream )",
                " Error: !SafeCopy( aErrStream, aLocalErrStream, aLocalErrStream.GetLength() + 1 )",
                [&]( MString& rErrStream ) { return DeleteErrorFromStream( ulIndex, rErrStream ); } );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetOriginErrorValuesFromStream( LPTSTR aOriginErrCls, USHORT usSize,
                                                                 USHORT* pusNeededSize, ERR* plCurErr,
                                                                 DWORD* pdwLastErr, ULONG ulIndex,
                                                                 LPCTSTR aErrStream )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_GetOriginErrorValuesFromStream( LPTSTR aOriginErrCls, USHORT usSize, USHORT* pusNeededSize, ERR* plCurErr, DWORD* pdwLastErr, ULONG ulIndex, LPCTSTR aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            return HandOutOriginValues(
                aReport, { aOriginErrCls, usSize, pusNeededSize }, plCurErr, pdwLastErr,
                " Error: !GetOriginErrorValuesFromStream( aLocalOriginErrCls, *plCurErr, *pdwLastErr, ulIndex, aErrStream )",
                [&]( MString& rErrCls )
                {
                    return GetOriginErrorValuesFromStream( rErrCls, *plCurErr, *pdwLastErr, ulIndex,
                                                           TextOf( aErrStream ) );
                } );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_Append2Stream( LPTSTR aErrStream, ULONG ulSize, ULONG* pulNeededSize,
                                                LPCTSTR aErrStream2Append )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_Append2Stream( LPTSTR aErrStream, ULONG ulSize, ULONG* pulNeededSize, LPCTSTR aErrStream2Append )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            if ( aErrStream == NULL )
                return aReport.Fail( " Error: aErrStream == NULL" );
            MString aLocalErrStream = TextOf( aErrStream );
            if ( !Append2Stream( aLocalErrStream, TextOf( aErrStream2Append ) ) )
                return aReport.Fail( " Error: !Append2Stream( aLocalErrStream, aErrStream2Append )" );
            return CallerBuffer<ULONG>{ aErrStream, ulSize, pulNeededSize }.HandOut(
                aReport, aLocalErrStream, " Error: !SafeCopy( aErrStream, aLocalErrStream, ulSize )" );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_ReverseStream( LPTSTR aErrStream )
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_ReverseStream( LPTSTR aErrStream )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            return ChangeInPlace( aReport, aErrStream, " Error: !ReverseStream( aLocalErrStream )",
                                  " Error: !SafeCopy( aErrStream, aLocalErrStream, lNeeded )",
                                  []( MString& rErrStream ) { return ReverseStream( rErrStream ); } );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT C_OnDebugErrorStream( LPCTSTR aErrStream, LPCTSTR aModName, LPCTSTR aHeader,
                                                     LPCTSTR aOutText )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT C_OnDebugErrorStream( LPCTSTR aErrStream, LPCTSTR aModName, LPCTSTR aHeader, LPCTSTR aOutText )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            return OnDebugErrorStream( TextOf( aErrStream ), TextOf( aModName ), TextOf( aHeader ),
                                       TextOf( aOutText ) );
        } );
}
