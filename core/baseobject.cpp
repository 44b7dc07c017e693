#include "core/todotext.h"

#include <bxtools/baseobject.h>
#include <bxtools/platform.h>

#include <cstdio>
#include <cstring>
#include <new>

namespace
{

constexpr char TODO_REMARK[] = "!!!!!!!!!!! THIS FUNCTION NEEDS SOME CODING !!!!!!!!!!!";
constexpr char NO_HOOK_REMARK[] = "!!!!!!!!!!! THIS OBJECT HAS NO DEBUG FUNCTION !!!!!!!!!!!";
constexpr char ARROW[] = " -> ";

} // namespace

std::unique_ptr<char[]> TextWithRemark( LPCTSTR pText, LPCTSTR pRemark ) noexcept
{
    const LPCTSTR pGiven = pText != NULL ? pText : "";
    const USHORT usLength =
        static_cast<USHORT>( std::strlen( pGiven ) + std::strlen( ARROW ) + std::strlen( pRemark ) );
    std::unique_ptr<char[]> pWhole( new ( std::nothrow ) char[usLength + size_t( 1 )] );
    if ( pWhole != NULL )
        std::snprintf( pWhole.get(), usLength + size_t( 1 ), "%s%s%s", pGiven, ARROW, pRemark );
    return pWhole;
}

void SendToDoText( MYDBGFUNC pHook, LPCTSTR pHeader, LPCTSTR pText ) noexcept
{
    if ( pHook == NULL )
        return;
    if ( const auto pWhole = TextWithRemark( pText, TODO_REMARK ); pWhole != NULL )
        pHook( pHeader, pWhole.get() );
}

BaseObject::BaseObject( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc ) : HookFields( pMyDbgFunc, pMyLogFunc ) {}

BaseObject::BaseObject() : HookFields( NULL, NULL ) {}

void BaseObject::SetDbgFunc( MYDBGFUNC pMyDbgFunc )
{
    m_pMyDbgFunc = pMyDbgFunc;
}

void BaseObject::SetLogFunc( MYLOGFUNC pMyLogFunc )
{
    m_pMyLogFunc = pMyLogFunc;
}

void BaseObject::SetFuncPtr( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    m_pMyDbgFunc = pMyDbgFunc;
    m_pMyLogFunc = pMyLogFunc;
}

void BaseObject::SetHeader( LPCTSTR pHeader )
{
    m_pHeader = pHeader;
}

void BaseObject::SetOut( LPCTSTR pOut )
{
    m_pOut = pOut;
}

void BaseObject::OnInit( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    SetFuncPtr( pMyDbgFunc, pMyLogFunc );
    m_pHeader = NULL;
    m_pOut = "Nothing";
}

void BaseObject::Debug( LPCTSTR pHeader, LPCTSTR pText, BOOL fLog ) const
{
    if ( m_pMyDbgFunc != NULL )
    {
        if ( pHeader == NULL )
            pHeader = m_pHeader;
        if ( pText == NULL )
            pText = m_pOut;
        m_pMyDbgFunc( pHeader, pText );
    }
    if ( fLog && m_pMyLogFunc != NULL )
        m_pMyLogFunc( "%s\r\n%s\r\n", pHeader, pText );
}

void BaseObject::ToDoMessage( LPCTSTR pText ) const
{
    SendToDoText( m_pMyDbgFunc, m_pHeader, pText );
}

void BaseObject::NoDbgFuncMessage( LPCTSTR pText ) const
{
    if ( const auto pWhole = TextWithRemark( pText, NO_HOOK_REMARK ); pWhole != NULL )
        MessageBoxA( NULL, pWhole.get(), "Error", MB_OK | MB_ICONSTOP );
}

void BaseObject2::SetFuncPtr( MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    m_pMyDbgFunc = pMyDbgFunc != NULL ? pMyDbgFunc : &MyDbgMessage;
    m_pMyLogFunc = pMyLogFunc;
}
