// The stack of one thread.
#include "error/errserver.h"

#include "core/callreport.h"
#include "core/guards.h"
#include "error/errstream.h"

#include <memory>
#include <new>

ERRServer::ERRServer() : MyErrList( &MyDbgMessage ) {}

ERRServer::~ERRServer()
{
    ClearErrorStack();
    ReleaseDisplayLibrary();
}

BOOL ERRServer::SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr,
                            const MString& aOriginErrText, const MString& aOptionalText,
                            const MString& aOptionalTextParams )
{
    CallReport aReport(
        *this,
        "From BOOL ERRServer::SetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr, const MString& aOriginErrText, const MString& aOptionalText, const MString& aOptionalTextParams )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            if ( ItemCount() >= MAX_ERRORS_ONSTACK )
                return aReport.Fail(
                    " Error: ItemCount() >= MAX_ERRORS_ONSTACK -> STACK OVERFLOW; too many error objects on stack" );
            ErrObjectBase* pErrObjectBase = AppendRecord();
            if ( pErrObjectBase == NULL )
                return aReport.Fail(
                    " Error: pErrObjectBase = new ErrObjectBase() or Append( pErrObjectBase ) failed" );
            if ( !pErrObjectBase->MySetLastErr( szCurErrCls, lCurErr, dwSysLastErr, aOriginErrText,
                                                aOptionalText, aOptionalTextParams ) )
                return aReport.Fail( " Error: !pErrObjectBase->MySetLastErr( szCurErrCls, .... )" );
            return TRUE;
        } );
}

// Adds an empty record at the end. Result: NULL when there is no memory. The last error is preserved for the record.
ErrObjectBase* ERRServer::AppendRecord()
{
    const LastErrorGuard aLastError;
    std::unique_ptr<ErrObjectBase> pErrObjectBase( new ( std::nothrow ) ErrObjectBase );
    if ( pErrObjectBase == NULL || !Append( pErrObjectBase.get() ) )
        return NULL;
    return pErrObjectBase.release();
}

BOOL ERRServer::Error2Stream( MString& aStream, ULONG ulIndex )
{
    CallReport aReport( *this, "From BOOL ERRServer::Error2Stream( MString& aStream, ULONG ulIndex )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            ErrObjectBase* pErrObjectBase = GetItem( static_cast<long>( ulIndex ) );
            if ( pErrObjectBase == NULL )
                return aReport.Fail( " Error: ( pErrObjectBase = GetItem( (long)ulIndex ) ) == NULL" );
            if ( !pErrObjectBase->ToStream( aStream ) )
                return aReport.Fail( " Error: !pErrObjectBase->ToStream( aStream )" );
            return TRUE;
        } );
}

BOOL ERRServer::AllErrors2Stream( MString& aStream )
{
    CallReport aReport( *this, "From BOOL ERRServer::AllErrors2Stream( MString& aStream )" );
    const BOOL fBuilt =
        aReport.Guard( [&]() -> BOOL { return ItemCount() == 0 || BuildStream( aReport, aStream ); } );
    if ( !ClearErrorStack() && fBuilt )
        return aReport.Fail( " Error: !ClearErrorStack()" );
    return fBuilt;
}

// aStream becomes the text of all records, or of those before the first one that cannot be written.
BOOL ERRServer::BuildStream( CallReport& aReport, MString& aStream )
{
    size_t ulRoom = ERRSTREAM_START.size();
    const ULONG ulWritable = PrepareRecords( aReport, ulRoom );
    aStream.RWCString::operator=(
        RWCString::written( ulRoom, [&]( char* pOut ) { return WriteRecords( pOut, ulWritable ); } ) );
    return !aReport.Failed();
}

// Prepares the records for writing and adds the room that they need to ulRoom. Result: how many can be written; where
// that is not all of them, aReport has the reason.
ULONG ERRServer::PrepareRecords( CallReport& aReport, size_t& ulRoom )
{
    for ( ULONG i = 0; i < ItemCount(); ++i )
    {
        ErrObjectBase* pErrObjectBase = GetItem( 0, i == 0 ? 5 : 2 );
        if ( pErrObjectBase == NULL )
            return aReport.Fail( " Error: ( pErrObjectBase = GetItem( i ) ) == NULL", i );
        if ( !pErrObjectBase->PrepareStream() )
            return aReport.Fail( " Error: !pErrObjectBase->ToStream( aLocalStream )", i );
        ulRoom += pErrObjectBase->StreamRoom() + std::string_view( ERRSTREAM_RECORD_SEPARATOR ).size();
    }
    return ItemCount();
}

// Writes a stream of the first ulCount records. Result: behind its last character.
char* ERRServer::WriteRecords( char* pOut, ULONG ulCount )
{
    pOut = AppendView( pOut, ERRSTREAM_START );
    for ( ULONG i = 0; i < ulCount; ++i )
    {
        pOut = GetItem( 0, i == 0 ? 5 : 2 )->WriteStream( pOut );
        if ( i + 1 < ItemCount() )
            pOut = AppendView( pOut, ERRSTREAM_RECORD_SEPARATOR );
    }
    return pOut;
}

BOOL ERRServer::ClearErrorStack()
{
    CallReport aReport( *this, "From BOOL ERRServer::ClearErrorStack()" );
    return aReport.Guard( FALSE, " Error: ClearList() failed",
                          [&]() -> BOOL
                          {
                              ClearList( TRUE );
                              return TRUE;
                          } );
}

BOOL ERRServer::DeleteError( ULONG ulIndex )
{
    CallReport aReport( *this, "From BOOL ERRServer::DeleteError( ULONG ulIndex )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            const std::unique_ptr<ErrObjectBase> pErrObjectBase(
                Remove( static_cast<long>( ulIndex ), FALSE ) );
            if ( pErrObjectBase == NULL )
                return aReport.Fail( " Error: ( pErrObjectBase = Remove( ulIndex, FALSE ) ) == NULL" );
            return TRUE;
        } );
}

BOOL ERRServer::GetOriginErrorValues( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr, ULONG ulIndex )
{
    CallReport aReport(
        *this,
        "From BOOL ERRServer::GetOriginErrorValues( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwLastErr, ULONG ulIndex )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            const ErrObjectBase* pErrObjectBase = GetItem( static_cast<long>( ulIndex ) );
            if ( pErrObjectBase == NULL )
                return aReport.Fail( " Error: ( pErrObjectBase = GetItem( (long)ulIndex ) ) == NULL" );
            return pErrObjectBase->GetOriginError( aOriginErrCls, lCurErr, dwLastErr );
        } );
}
