// The exported functions on the calling thread's errors.
#include "core/callreport.h"
#include "core/guards.h"
#include "error/errserver.h"

#include <bxtools/error.h>

namespace
{

// The calling thread's stack; the last error is preserved, which a new error may want to take.
ERRServer* OwnServer()
{
    const LastErrorGuard aLastError;
    return GetERRServer( OWN_SLOT_ID );
}

// Runs aBody with the calling thread's stack.
//   pFailure  what is reported when aBody fails; NULL: nothing more than aBody itself reports.
template <class Body>
BOOL OnOwnServer( LPCTSTR pHeader, LPCTSTR pFailure, Body aBody )
{
    CallReport aReport( pHeader );
    return aReport.Guard(
        [&]() -> BOOL
        {
            ERRServer* pERRServer = OwnServer();
            if ( pERRServer == NULL )
                return aReport.Fail( " Error: ( pERRServer = GetERRServer( ulSlotID ) ) == NULL" );
            return aBody( *pERRServer ) || aReport.Fail( pFailure );
        } );
}

} // namespace

DLL_EXPORT_MOD BOOL DLL_EXPORT SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr,
                                           const MString& aOriginErrText, const MString& aOptionalText,
                                           const MString& aOptionalTextParams )
{
    return OnOwnServer(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr, const MString& aOriginErrText, const MString& aOptionalText, const MString& aOptionalTextParams )",
        " Error: !pERRServer->SetLastErr(...)",
        [&]( ERRServer& rERRServer )
        {
            return rERRServer.SetLastErr( szCurErrCls, lCurErr, dwSysLastErr, aOriginErrText, aOptionalText,
                                          aOptionalTextParams );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Stream( MString& aStream, ULONG ulIndex )
{
    return OnOwnServer( "From DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Stream( MString& aStream, ULONG ulIndex )",
                        " Error: !pERRServer->Error2Stream( aStream, ulIndex )",
                        [&]( ERRServer& rERRServer )
                        { return rERRServer.Error2Stream( aStream, ulIndex ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Object( ErrObjectBase& aErrObjectBase, ULONG ulIndex )
{
    return OnOwnServer(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT Error2Object( ErrObjectBase& aErrObjectBase, ULONG ulIndex )",
        " Error: ( pErrObjectBase = pERRServer->GetItem( (long) ulIndex ) ) == NULL",
        [&]( ERRServer& rERRServer )
        {
            const ErrObjectBase* pErrObjectBase = rERRServer.GetItem( static_cast<long>( ulIndex ) );
            if ( pErrObjectBase != NULL )
                aErrObjectBase = *pErrObjectBase;
            return pErrObjectBase != NULL;
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT AllErrors2Stream( MString& aStream )
{
    return OnOwnServer( "From DLL_EXPORT_MOD BOOL DLL_EXPORT AllErrors2Stream( MString& aStream )",
                        " Error: !pERRServer->AllErrors2Stream( aStream )",
                        [&]( ERRServer& rERRServer ) { return rERRServer.AllErrors2Stream( aStream ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT ClearErrors()
{
    return OnOwnServer( "From DLL_EXPORT_MOD BOOL DLL_EXPORT ClearErrors()", NULL,
                        []( ERRServer& rERRServer ) { return rERRServer.ClearErrorStack(); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT GetAvailableErrorCount( ULONG& ulCount )
{
    ulCount = 0;
    return OnOwnServer( "From DLL_EXPORT_MOD ULONG DLL_EXPORT GetAvailableErrorCount( ULONG& ulCount )", NULL,
                        [&]( ERRServer& rERRServer )
                        {
                            ulCount = rERRServer.ItemCount();
                            return TRUE;
                        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT DeleteError( ULONG ulIndex )
{
    return OnOwnServer( "From DLL_EXPORT_MOD BOOL DLL_EXPORT DeleteError( ULONG ulIndex )",
                        " Error: !pERRServer->DeleteError( ulIndex )",
                        [&]( ERRServer& rERRServer ) { return rERRServer.DeleteError( ulIndex ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT GetOriginErrorValues( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr,
                                                     ULONG ulIndex )
{
    return OnOwnServer(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT GetOriginErrorValues( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr, ULONG ulIndex )",
        " Error: !pERRServer->GetOriginErrorValues( aOriginErrCls, lCurErr, dwLastErr, ulIndex )",
        [&]( ERRServer& rERRServer )
        { return rERRServer.GetOriginErrorValues( aOriginErrCls, lCurErr, dwLastErr, ulIndex ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT DisplayError( HWND hWndParent, BOOL fModeless )
{
    return OnOwnServer( "From DLL_EXPORT_MOD BOOL DLL_EXPORT DisplayError( HWND hWndParent, BOOL fModeless )",
                        " Error: !pERRServer->DisplayError( hWndParent, fModeless )",
                        [&]( ERRServer& rERRServer )
                        { return rERRServer.DisplayError( hWndParent, fModeless ); } );
}
