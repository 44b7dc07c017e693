// How a record reports: to its dump string and to the debug messages.
#include "core/callreport.h"

#include <bxtools/errobject.h>

#include <cstring>
#include <new>

CallReport::CallReport( const ErrObjectBase& rRecord, LPCTSTR pHeader ) noexcept
    : m_pHeader( pHeader ),
      m_pSink( []( const void* pTarget, LPCTSTR pFrom, LPCTSTR, LPCTSTR pMessage )
               { static_cast<const ErrObjectBase*>( pTarget )->Debug( pFrom, pMessage ); } ),
      m_pTarget( &rRecord )
{
}

void ErrObjectBase::Debug( LPCTSTR pHeader, LPCTSTR pMessage ) const
{
    try
    {
        for ( LPCTSTR pText : { pHeader, pMessage } )
            if ( pText != NULL )
                m_aDumpStr.RWCString::append( pText, std::strlen( pText ) );
    }
    catch ( const std::bad_alloc& )
    {
        // The debug messages still get it.
    }
    MyDbgMessage( pHeader, pMessage );
}
