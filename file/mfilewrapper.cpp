// The file class that reports: its life and its simple operations. mfileline.cpp has the lines, mfilecopy.cpp the copies.
#include "core/todotext.h"
#include "file/fileoperation.h"

#include <bxtools/buffers.h>
#include <bxtools/platform.h>

#include <cstring>
#include <new>
#include <utility>

namespace
{

constexpr int NO_HANDLE = -1;
constexpr DWORD COPY_BUFFER_SIZE = 350000;

constexpr char CONSTRUCTOR_HEADER[] = "From MFileWrapper::MFileWrapper(...)";
constexpr char ON_INIT_DISK_FILE[] =
    " Error: !OnInit( nType, hFile, 1024, NULL, 0, 0, pMyDbgFunc, pMyLogFunc )";
constexpr char SEEK_HEADER[] = "From BOOL MFileWrapper::MySeek( LONG lOff, UINT uFrom, LONG* plCurrent )";
constexpr char SEEK_TEXT[] = " Error: m_pFileInterface->Seek( lOff, uFrom )";
constexpr char WRITE_STR_HEADER[] = "From BOOL MFileWrapper::MyWriteStr( LPCTSTR pData )";
constexpr char UNCAUGHT_EXCEPTION[] = " caused uncaught exception";

// Whether nobody else can change an open file's bytes, nor this object itself.
bool ReadsAhead( UINT uOpenFlags )
{
    constexpr UINT ACCESS_AND_SHARE_BITS = 0x73;
    const UINT uBits = uOpenFlags & ACCESS_AND_SHARE_BITS;
    return uBits == MFileWrapper::modeRead || uBits == MFileWrapper::shareExclusive ||
           uBits == MFileWrapper::shareDenyWrite;
}

// Stores a result where it is wanted.
template <class Value>
void StoreAt( Value* pPlace, Value aValue )
{
    if ( pPlace != NULL )
        *pPlace = aValue;
}

} // namespace

MFileWrapper::MFileWrapper( int nType, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    CallReport aReport( *this, CONSTRUCTOR_HEADER );
    if ( !OnInit( nType, NO_HANDLE, pMyDbgFunc, pMyLogFunc ) )
        aReport.Fail( ON_INIT_DISK_FILE );
}

MFileWrapper::MFileWrapper( int nType, int hFile, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    CallReport aReport( *this, CONSTRUCTOR_HEADER );
    if ( !OnInit( nType, hFile, pMyDbgFunc, pMyLogFunc ) )
        aReport.Fail( ON_INIT_DISK_FILE );
}

MFileWrapper::MFileWrapper( int nType, UINT, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    CallReport aReport( *this, CONSTRUCTOR_HEADER );
    if ( !OnInit( nType, NO_HANDLE, pMyDbgFunc, pMyLogFunc ) )
        aReport.Fail( " Error: !OnInit( nType, hFileNull, nGrowBytes, NULL, 0, 0, pMyDbgFunc, pMyLogFunc )" );
}

MFileWrapper::MFileWrapper( int nType, BYTE*, UINT, UINT, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    CallReport aReport( *this, CONSTRUCTOR_HEADER );
    if ( !OnInit( nType, NO_HANDLE, pMyDbgFunc, pMyLogFunc ) )
        aReport.Fail(
            " Error: !OnInit( nType, hFileNull, 1024, lpBuffer, nBufferSize, nMemFileGrowBytes, pMyDbgFunc, pMyLogFunc )" );
}

BOOL MFileWrapper::OnInit( int nType, int hFile, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc )
{
    SetFuncPtr( pMyDbgFunc, pMyLogFunc );
    CallReport aReport( *this, "From BOOL MFileWrapper::OnInit(...)" );
    m_dwBuffSize = COPY_BUFFER_SIZE;
    const BOOL fMade = MakeInterface( aReport, nType, hFile );
    m_nFileType = fMade ? FILE_TYPE_CFILE : FILE_TYPE_UNDEF;
    return fMade;
}

BOOL MFileWrapper::MakeInterface( CallReport& rReport, int nType, int hFile )
{
    switch ( nType )
    {
    case FILE_TYPE_UNDEF: return rReport.Fail( " Error: wrong constructor initialization" );
    case FILE_TYPE_CFILE: break;
    default: return rReport.Fail( " Error: wrong constructor initialization -> switch( nType ) default" );
    }
    m_pFileInterface =
        hFile != NO_HANDLE ? new ( std::nothrow ) BaseFile( hFile ) : new ( std::nothrow ) BaseFile();
    if ( m_pFileInterface != NULL )
        return TRUE;
    return rReport.Fail( hFile != NO_HANDLE ? " Error: m_pFileInterface = new BaseFile( hFile ) failed"
                                            : " Error: m_pFileInterface = new BaseFile() failed" );
}

MFileWrapper::~MFileWrapper()
{
    CallReport aReport( *this, "From MFileWrapper::~MFileWrapper()" );
    const std::unique_ptr<BaseFile> pFile( m_pFileInterface );
    const std::unique_ptr<ReadAhead> pReadAhead( m_pReadAhead );
    aReport.Guard( FALSE, UNCAUGHT_EXCEPTION,
                   [&]
                   {
                       try
                       {
                           if ( pFile != NULL && pFile->m_fCloseOnDelete )
                               pFile->Close();
                           return TRUE;
                       }
                       catch ( CFileException* pException )
                       {
                           delete pException;
                           return aReport.Fail( UNCAUGHT_EXCEPTION );
                       }
                   } );
    MyTCHARDeleter( m_pCopyBuff );
}

LPCTSTR MFileWrapper::GetInterfaceType() const
{
    switch ( m_nFileType )
    {
    case FILE_TYPE_CFILE: return "FILE_TYPE_CFILE";
    case FILE_TYPE_CMEMFILE: return "FILE_TYPE_CMEMFILE";
    default: return "FILE_TYPE_UNDEF";
    }
}

LPCTSTR MFileWrapper::MessageNotImplemented()
{
    return " Error: m_pFileInterface == NULL -> constructor failed";
}

BOOL MFileWrapper::MyOpen( LPCTSTR lpszFileName, UINT uOpenFlags )
{
    static constexpr char TEXT[] = " Error: m_pFileInterface->Open( lpszFileName, uOpenFlags, &e ) ";
    CallReport aReport( *this, "From BOOL MFileWrapper::MyOpen( LPCTSTR lpszFileName, UINT uOpenFlags )" );
    delete std::exchange( m_pReadAhead, nullptr );
    m_fReadsAhead = FALSE;
    CFileException e;
    BOOL fOpened = FALSE;
    if ( !Perform( aReport, TEXT,
                   [&]( BaseFile& rFile ) { fOpened = rFile.Open( lpszFileName, uOpenFlags, &e ); } ) )
        return FALSE;
    if ( !fOpened )
        return FailForFile( aReport, TEXT, e );
    m_fOpen = TRUE;
    m_fReadsAhead = ReadsAhead( uOpenFlags );
    return TRUE;
}

BOOL MFileWrapper::MyClose()
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MyClose()" );
    return Perform( aReport, " Error: m_pFileInterface->Close()",
                    [&]( BaseFile& rFile )
                    {
                        if ( !std::exchange( m_fOpen, FALSE ) )
                            return;
                        delete std::exchange( m_pReadAhead, nullptr );
                        m_fReadsAhead = FALSE;
                        rFile.Close();
                    } );
}

BOOL MFileWrapper::MyRead( MPTR lpBuf, UINT uCount, UINT* puTransferred )
{
    CallReport aReport( *this,
                        "From BOOL MFileWrapper::MyRead( MPTR lpBuf, UINT uCount, UINT* puTransferred )" );
    return PerformAtPosition( aReport, " Error: m_pFileInterface->Read( lpBuf, uCount )",
                              [=]( BaseFile& rFile )
                              { StoreAt( puTransferred, rFile.Read( lpBuf, uCount ) ); } );
}

BOOL MFileWrapper::MyWrite( MCPTR pData, UINT uCount )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MyWrite( MCPTR pData, UINT uCount )" );
    return PerformAtPosition( aReport, " Error: m_pFileInterface->Write( pData, uCount )",
                              [=]( BaseFile& rFile ) { rFile.Write( pData, uCount ); } );
}

BOOL MFileWrapper::MySeek( LONG lOff, UINT uFrom, LONG* plCurrent )
{
    CallReport aReport( *this, SEEK_HEADER );
    return PerformAtPosition( aReport, SEEK_TEXT,
                              [=]( BaseFile& rFile ) { StoreAt( plCurrent, rFile.Seek( lOff, uFrom ) ); } );
}

// MySeek from the beginning, for positions beyond 2 GB as well.
BOOL MFileWrapper::MoveTo( DWORD dwPosition )
{
    CallReport aReport( *this, SEEK_HEADER );
    return PerformAtPosition( aReport, SEEK_TEXT, [=]( BaseFile& rFile ) { rFile.MoveTo( dwPosition ); } );
}

BOOL MFileWrapper::MySeekToEnd( DWORD* pdwSize )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MySeekToEnd( DWORD* pdwSize )" );
    return PerformAtPosition( aReport, " Error: m_pFileInterface->SeekToEnd()",
                              [=]( BaseFile& rFile ) { StoreAt( pdwSize, rFile.SeekToEnd() ); } );
}

BOOL MFileWrapper::MySeekToBegin()
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MySeekToBegin()" );
    return PerformAtPosition( aReport, " Error: m_pFileInterface->SeekToBegin()",
                              []( BaseFile& rFile ) { rFile.SeekToBegin(); } );
}

BOOL MFileWrapper::MyGetPosition( DWORD* pdwPos )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MyGetPosition( DWORD* pdwPos )" );
    return Perform( aReport, " Error: m_pFileInterface->GetPosition()",
                    [&]( BaseFile& rFile )
                    {
                        const bool fAhead = m_pReadAhead != NULL && m_pReadAhead->IsAhead();
                        StoreAt( pdwPos, fAhead ? m_pReadAhead->Position() : rFile.GetPosition() );
                    } );
}

BOOL MFileWrapper::MyGetLength( DWORD* pdwFileLength )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MyGetLength( DWORD* pdwFileLength )" );
    return Perform( aReport, " Error: m_pFileInterface->GetLength()",
                    [=]( BaseFile& rFile ) { StoreAt( pdwFileLength, rFile.GetLength() ); } );
}

BOOL MFileWrapper::MySetLength( DWORD dwNewFileLength )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MySetLength( DWORD dwNewFileLength )" );
    return PerformAtPosition( aReport, " Error: m_pFileInterface->SetLength( dwNewFileLength )",
                              [=]( BaseFile& rFile ) { rFile.SetLength( dwNewFileLength ); } );
}

BOOL MFileWrapper::MyFlush()
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MyFlush()" );
    return Perform( aReport, " Error: m_pFileInterface->Flush()", []( BaseFile& rFile ) { rFile.Flush(); } );
}

BOOL MFileWrapper::MyLockRange( DWORD dwPos, DWORD dwCount )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MyLockRange( DWORD dwPos, DWORD dwCount )" );
    return Perform( aReport, " Error: m_pFileInterface->LockRange( dwPos, dwCount )",
                    [=]( BaseFile& rFile ) { rFile.LockRange( dwPos, dwCount ); } );
}

BOOL MFileWrapper::MyUnlockRange( DWORD dwPos, DWORD dwCount )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MyUnLockRange( DWORD dwPos, DWORD dwCount )" );
    return Perform( aReport, " Error: m_pFileInterface->UnlockRange( dwPos, dwCount )",
                    [=]( BaseFile& rFile ) { rFile.UnlockRange( dwPos, dwCount ); } );
}

BOOL MFileWrapper::MySetFilePath( LPCTSTR lpszNewName )
{
    CallReport aReport( *this, "From BOOL MFileWrapper::MySetFilePath( LPCTSTR lpszNewName )" );
    return Perform( aReport, " Error: m_pFileInterface->SetFilePath( lpszNewName )",
                    [=]( BaseFile& rFile ) { rFile.SetFilePath( lpszNewName ); } );
}

BOOL MFileWrapper::MyWriteStr( LPCTSTR pData )
{
    return MyWriteStr( pData, pData != NULL ? static_cast<UINT>( std::strlen( pData ) ) : 0 );
}

// The text of what failed is passed on.
BOOL MFileWrapper::MyWriteStr( LPCTSTR pData, UINT uLength )
{
    CallReport aReport( *this, WRITE_STR_HEADER );
    return aReport.Guard( FALSE, UNCAUGHT_EXCEPTION,
                          [&] { return MyWrite( pData, uLength ) ? TRUE : aReport.Fail( m_pOut ); } );
}

BOOL MFileWrapper::MyReadStr( LPTSTR pData, UINT uCharCount, UINT* puTransferred )
{
    CallReport aReport(
        *this, "From BOOL MFileWrapper::MyReadStr( LPTSTR pData, UINT uCharCount, UINT* puTransferred )" );
    return aReport.Guard(
        FALSE, UNCAUGHT_EXCEPTION,
        [&] { return MyRead( pData, uCharCount, puTransferred ) ? TRUE : aReport.Fail( m_pOut ); } );
}

BOOL MFileWrapper::MyAttach( BYTE*, UINT, UINT )
{
    m_pHeader = "From BOOL MFileWrapper::MyAttach( BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes )";
    SendToDoText( m_pMyDbgFunc, m_pHeader, m_pHeader );
    return FALSE;
}

BOOL MFileWrapper::MyDetach( BYTE** )
{
    m_pHeader = "From BOOL MFileWrapper::MyDetach( BYTE** lppBuffer )";
    SendToDoText( m_pMyDbgFunc, m_pHeader, m_pHeader );
    return FALSE;
}

BOOL DLL_EXPORT MFileWrapper::Rename( LPCTSTR lpszOldName, LPCTSTR lpszNewName )
{
    CallReport aReport( "From BOOL PASCAL MFileWrapper::Rename( LPCTSTR lpszOldName, LPCTSTR lpszNewName )" );
    return PerformGuarded( aReport, " Error: BaseFile::Rename( lpszOldName, lpszNewName )",
                           [=] { BaseFile::Rename( lpszOldName, lpszNewName ); } );
}

BOOL DLL_EXPORT MFileWrapper::Remove( LPCTSTR lpszFileName )
{
    CallReport aReport( "From BOOL PASCAL MFileWrapper::Remove( LPCTSTR lpszFileName )" );
    return PerformGuarded( aReport, " Error: BaseFile::Remove( lpszFileName )",
                           [=] { BaseFile::Remove( lpszFileName ); } );
}
