#include "core/callreport.h"

#include "core/guards.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace
{

// A new text of both, in memory that is the caller's; null when there is none.
char* Joined( LPCTSTR pFirst, LPCTSTR pSecond ) noexcept
{
    const size_t uFirst = pFirst != NULL ? std::strlen( pFirst ) : 0;
    const size_t uSecond = std::strlen( pSecond );
    char* pBoth = new ( std::nothrow ) char[uFirst + uSecond + 1];
    if ( pBoth == NULL )
        return NULL;
    if ( uFirst != 0 )
        std::memcpy( pBoth, pFirst, uFirst );
    std::memcpy( pBoth + uFirst, pSecond, uSecond + 1 );
    return pBoth;
}

} // namespace

CallReport& CallReport::Tail( LPCTSTR pText ) noexcept
{
    if ( pText == NULL )
        return *this;
    if ( char* pLonger = Joined( m_pTail, pText ); pLonger != NULL )
    {
        delete[] m_pTail;
        m_pTail = pLonger;
    }
    return *this;
}

CallReport& CallReport::TailNumber( long long llValue ) noexcept
{
    char szValue[24];
    std::snprintf( szValue, sizeof( szValue ), "%lld", llValue );
    return Tail( szValue );
}

void CallReport::ReportNow() noexcept
{
    if ( m_pText == NULL )
        return;
    const LastErrorGuard aLastError;
    const LPCTSTR pText = m_pText;
    const std::unique_ptr<char[]> pTail( m_pTail );
    m_pText = NULL;
    m_pTail = NULL;
    m_fWarned = false;
    const std::unique_ptr<char[]> pWhole( pTail ? Joined( pText, pTail.get() ) : NULL );
    m_pSink( m_pTarget, m_pHeader, pText, pWhole ? pWhole.get() : pText );
}

void CallReport::Drop() noexcept
{
    m_pText = NULL;
    delete[] m_pTail;
    m_pTail = NULL;
    m_fWarned = false;
}

void CallReport::SendToObject( const void* pTarget, LPCTSTR pHeader, LPCTSTR pOut, LPCTSTR pMessage )
{
    const HookFields& rObject = *static_cast<const HookFields*>( pTarget );
    // Atomic, because failing calls of several threads may meet in an object that they share.
    std::atomic_ref<LPCTSTR>( rObject.m_pHeader ).store( pHeader, std::memory_order_relaxed );
    std::atomic_ref<LPCTSTR>( rObject.m_pOut ).store( pOut, std::memory_order_relaxed );
    if ( rObject.m_pMyDbgFunc != NULL )
        rObject.m_pMyDbgFunc( pHeader, pMessage );
}

void CallReport::SendToLibrary( const void*, LPCTSTR pHeader, LPCTSTR, LPCTSTR pMessage )
{
    MyDbgMessage( pHeader, pMessage );
}
