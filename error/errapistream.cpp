// The exported functions on error streams held as text.
#include "core/callreport.h"
#include "error/errserver.h"

#include <bxtools/error.h>

namespace
{

// Runs aBody; reports pFailure when it fails.
template <class Body>
BOOL OnStream( LPCTSTR pHeader, LPCTSTR pFailure, Body aBody )
{
    CallReport aReport( pHeader );
    return aReport.Guard( [&]() -> BOOL { return aBody() || aReport.Fail( pFailure ); } );
}

} // namespace

DLL_EXPORT_MOD BOOL DLL_EXPORT IsErrorStream( const MString& aErrStream )
{
    return ERRServer::IsErrorStream( aErrStream );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT GetAvailableErrorCountFromStream( ULONG& ulCount, const MString& aErrStream )
{
    return OnStream(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT GetAvailableErrorCountFromStream( ULONG& ulCount, const MString& aErrStream )",
        " Error: !ERRServer::GetAvailableErrorCountFromStream( ulCount, aErrStream )",
        [&] { return ERRServer::GetAvailableErrorCountFromStream( ulCount, aErrStream ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT Error2ObjectFromStream( ErrObjectBase& aErrObjectBase, ULONG ulIndex,
                                                       const MString& aErrStream )
{
    return OnStream(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT Error2ObjectFromStream( ErrObjectBase& aErrObjectBase, ULONG ulIndex, const MString& aErrStream )",
        " Error: !ERRServer::Error2ObjectFromStream( aErrObjectBase, ulIndex, aErrStream )",
        [&] { return ERRServer::Error2ObjectFromStream( aErrObjectBase, ulIndex, aErrStream ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT DeleteErrorFromStream( ULONG ulIndex, MString& aErrStream )
{
    return OnStream(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT DeleteErrorFromStream( ULONG ulIndex, MString& aErrStream )",
        " Error: !ERRServer::DeleteErrorFromStream( ulIndex, aErrStream )",
        [&] { return ERRServer::DeleteErrorFromStream( ulIndex, aErrStream ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT FindObjectInStream( ULONG& ulIndex, ErrObjectBase& aErrObjectBase,
                                                   const MString& aErrStream )
{
    return OnStream(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT FindObjectInStream( ULONG& ulIndex, ErrObjectBase& aErrObjectBase, const MString& aErrStream )",
        " Error: !ERRServer::FindObjectInStream( ulIndex, aErrObjectBase, aErrStream )",
        [&] { return ERRServer::FindObjectInStream( ulIndex, aErrObjectBase, aErrStream ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT GetOriginErrorValuesFromStream( MString& aOriginErrCls, ERR& lCurErr,
                                                               DWORD& dwLastErr, ULONG ulIndex,
                                                               const MString& aErrStream )
{
    return OnStream(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT GetOriginErrorValuesFromStream( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr, ULONG ulIndex, const MString& aErrStream )",
        " Error: !ERRServer::GetOriginErrorValuesFromStream( aOriginErrCls, lCurErr, dwLastErr, ulIndex, aErrStream )",
        [&]
        {
            return ERRServer::GetOriginErrorValuesFromStream( aOriginErrCls, lCurErr, dwLastErr, ulIndex,
                                                              aErrStream );
        } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT Append2Stream( MString& aErrStream, const MString& aErrStream2Append )
{
    return OnStream(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT Append2Stream( MString& aErrStream, const MString& aErrStream2Append )",
        " Error: !ERRServer::Append2Stream( aErrStream, aErrStream2Append )",
        [&] { return ERRServer::Append2Stream( aErrStream, aErrStream2Append ); } );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT ReverseStream( MString& aErrStream )
{
    return OnStream( "From DLL_EXPORT_MOD BOOL DLL_EXPORT ReverseStream( MString& aErrStream )",
                     " Error: !ERRServer::ReverseStream( aErrStream )",
                     [&] { return ERRServer::ReverseStream( aErrStream ); } );
}
