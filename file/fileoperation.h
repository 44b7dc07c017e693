// How an operation of a file that throws becomes TRUE or FALSE with a report.
#pragma once

#include "core/callreport.h"
#include "file/readahead.h"

#include <bxtools/file.h>

#include <memory>

// The call fails: its text, and what the exception knows.
inline BOOL FailForFile( CallReport& rReport, LPCTSTR pText, const CFileException& rException )
{
    rReport.Fail( pText );
    rReport.Tail( ", FileName = " ).Tail( rException.m_aFileName ).Tail( "\r\n" );
    rReport.Tail( " ->  Error: " ).Tail( CFileException::CauseText( rException.m_lCause ) );
    rReport.Tail( " OsError = " ).Tail( rException.m_lOsError );
    return FALSE;
}

template <class Operation>
BOOL PerformGuarded( CallReport& rReport, LPCTSTR pText, Operation aOperation )
{
    return rReport.Guard( BOOL( FALSE ), pText,
                          [&]() -> BOOL
                          {
                              try
                              {
                                  aOperation();
                                  return TRUE;
                              }
                              catch ( CFileException* pException )
                              {
                                  const std::unique_ptr<CFileException> aOwner( pException );
                                  return FailForFile( rReport, pText, *pException );
                              }
                          } );
}

// An operation that does not ask for the position; it is given the file.
template <class Operation>
BOOL MFileWrapper::Perform( CallReport& rReport, LPCTSTR pText, Operation aOperation )
{
    if ( m_pFileInterface == NULL )
        return rReport.Fail( MessageNotImplemented() );
    return PerformGuarded( rReport, pText, [&] { aOperation( *m_pFileInterface ); } );
}

// One that works at the position, or moves it.
template <class Operation>
BOOL MFileWrapper::PerformAtPosition( CallReport& rReport, LPCTSTR pText, Operation aOperation )
{
    return Perform( rReport, pText,
                    [&]( BaseFile& rFile )
                    {
                        if ( m_pReadAhead != NULL )
                            m_pReadAhead->GoBack( rFile );
                        aOperation( rFile );
                    } );
}
