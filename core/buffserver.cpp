#include "core/buffserver.h"

#include "core/callreport.h"
#include "core/threadregistry.h"
#include "core/todotext.h"

#include <bxtools/buffers.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

BufferObj::BufferObj() : m_uTextBufferSize( INITIAL_TEXT_BUFFER_SIZE )
{
    CallReport aReport( *this, "From BufferObj::BufferObj()" );
    m_pDbgTextBuffer = MyTCHARFactory( m_uTextBufferSize );
    if ( m_pDbgTextBuffer == NULL )
        aReport.Fail( " Error: ( m_pDbgTextBuffer = MyTCHARFactory( m_uTextBufferSize ) ) == NULL" );
}

BufferObj::BufferObj( const BufferObj& ) : BaseObject2()
{
    SendToDoText( m_pMyDbgFunc, m_pHeader, "BufferObj( const BufferObj& aCopyConstObj )" );
}

BufferObj::~BufferObj()
{
    if ( m_pDbgTextBuffer != NULL )
        MyTCHARDeleter( m_pDbgTextBuffer );
}

BOOL BufferObj::EpandBuffer( BOOL fWithCopy )
{
    CallReport aReport( *this, "From BOOL BufferObj::EpandBuffer( BOOL fWithCopy )" );
    if ( !EpandTCHARBuffer( fWithCopy, &m_uTextBufferSize, m_uExpandSize, MAX_TEXT_BUFFER_SIZE,
                            &m_pDbgTextBuffer ) )
        return aReport.Fail( " Error: !EpandTCHARBuffer(...) failed" );
    return TRUE;
}

BOOL BufferObj::SetNewBufferSize( ULONG uNewSize, BOOL fWithCopy )
{
    CallReport aReport( *this, "From BOOL BufferObj::SetNewBufferSize( ULONG uNewSize, BOOL fWithCopy )" );
    if ( m_uTextBufferSize >= uNewSize )
        return TRUE;
    if ( !EpandBuffer( fWithCopy ) )
        return aReport.Fail( " Error: !EpandBuffer( fWithCopy )" );
    return TRUE;
}

BufferObj& BufferObj::operator=( LPCTSTR pData )
{
    CallReport aReport( *this, "From BufferObj& BufferObj::operator=( LPCTSTR pData )" );
    if ( pData == NULL )
    {
        aReport.Fail( " Error: pData == NULL" );
        return *this;
    }
    if ( pData == m_pDbgTextBuffer )
    {
        aReport.Warn( " Warning: m_pDbgTextBuffer == pData" );
        return *this;
    }
    const size_t uLength = std::strlen( pData );
    const ULONG uNewSize = static_cast<ULONG>( std::min<size_t>( uLength, MAX_TEXT_BUFFER_SIZE ) );
    if ( !SetNewBufferSize( uNewSize + 1, FALSE ) || m_pDbgTextBuffer == NULL )
    {
        aReport.Fail( " Error: !SetNewBufferSize( uNewSize + 1, FALSE )" );
        return *this;
    }
    const size_t uFitting = std::min<size_t>( uLength, m_uTextBufferSize - 1 );
    // The text may be part of this very buffer.
    std::memmove( m_pDbgTextBuffer, pData, uFitting );
    m_pDbgTextBuffer[uFitting] = '\0';
    return *this;
}

BUFFServer::BUFFServer()
{
    SetFuncPtr( &MyDbgMessage, NULL );
}

internalBufferObj* BUFFServer::GetObject( USHORT uFuncID )
{
    CallReport aReport( *this, "From internalBufferObj* BUFFServer::GetObject( USHORT uFuncID )" );
    const long lCount = static_cast<long>( ItemCount() );
    for ( long lIndex = 0; lIndex < lCount; ++lIndex )
    {
        internalBufferObj* pObj = GetItem( lIndex );
        if ( pObj != NULL && pObj->uFuncID == uFuncID )
            return pObj;
    }
    std::unique_ptr<internalBufferObj> pRetObj( new ( std::nothrow ) internalBufferObj( uFuncID ) );
    if ( pRetObj == NULL || !Append( pRetObj.get() ) )
        return aReport.FailNull(
            " Error: pRetObj = new internalBufferObj( uFuncID ) or Append( pRetObj ) failed" );
    return pRetObj.release();
}

LPTSTR BUFFServer::GetTextBuffer( USHORT uFuncID )
{
    CallReport aReport( *this, "From LPTSTR BUFFServer::GetTextBuffer( USHORT uFuncID )" );
    const internalBufferObj* pObj = GetObject( uFuncID );
    if ( pObj == NULL )
        return aReport.FailNull( " Error: ( pObj = GetObject( uFuncID ) ) == NULL" );
    return pObj->m_pDbgTextBuffer;
}

ULONG BUFFServer::GetTextBufferSize( USHORT uFuncID )
{
    CallReport aReport( *this, "From ULONG BUFFServer::GetTextBufferSize( USHORT uFuncID )" );
    const internalBufferObj* pObj = GetObject( uFuncID );
    if ( pObj == NULL )
        return aReport.Fail( " Error: ( pObj = GetObject( uFuncID ) ) == NULL", ULONG( 0 ) );
    return pObj->m_uTextBufferSize;
}

BOOL BUFFServer::EpandBuffer( USHORT uFuncID, BOOL fWithCopy )
{
    CallReport aReport( *this, "From BOOL BUFFServer::EpandBuffer( USHORT uFuncID, BOOL fWithCopy )" );
    internalBufferObj* pObj = GetObject( uFuncID );
    if ( pObj == NULL )
        return aReport.Fail( " Error: ( pObj = GetObject( uFuncID ) ) == NULL" );
    return pObj->EpandBuffer( fWithCopy );
}

static LPVOID DLL_EXPORT CreateBUFFServer()
{
    return new ( std::nothrow ) BUFFServer;
}

static BOOL DLL_EXPORT DeleteBUFFServer( LPVOID lValue )
{
    CallReport aReport( "From static BOOL DLL_EXPORT DeleteBUFFServer( LPVOID lValue )" );
    const auto pBUFFServer = static_cast<BUFFServer*>( lValue );
    if ( pBUFFServer == NULL )
        return aReport.Fail( " Error: pBUFFServer == NULL" );
    delete pBUFFServer;
    return TRUE;
}

BUFFServer* GetBUFFServer()
{
    static constexpr ServedObject SERVED = {
        ServedNumber::BuffServer, &CreateBUFFServer, &DeleteBUFFServer, "From BUFFServer* GetBUFFServer()",
        " Error: GetThreadSpecialObject( CreateBUFFServer, DeleteBUFFServer ) == NULL"
    };
    return static_cast<BUFFServer*>( GetServedObject( SERVED ) );
}
