// Disk files: BaseFile, one file whose operations throw what the system refuses, and MFileWrapper, which owns one, turns
// every operation into TRUE or FALSE with a report, and adds lines of text and copies of whole files.
//
//     MFileWrapper aFile;
//     TCHAR szLine[1024];
//     UINT unSize = sizeof( szLine );
//     if ( aFile.MyOpen( "/etc/hosts", MFileWrapper::modeRead | MFileWrapper::shareDenyWrite ) )
//         while ( aFile.MyGetLine( szLine, &unSize, '\n' ) )
//             Use( szLine );
//
// In all of it:
// - Positions and lengths are bytes in 32 bits: files end at 4 GB. Beyond 2 GB a position is reached by reading, writing,
//   SetLength, SeekToEnd and steps from the current one only, since an offset has a sign.
// - A handle is the system's, as CreateFileA gives it; on Linux that call and what stands for it are in platform_files.h,
//   which also says whom sharing keeps away there: those who use this library.
// - Names are bytes as the system's A calls take them: UTF-8 on Linux.
// - A folder is refused (cause 5). On Linux so are a device and a pipe, and nothing waits for its other end; on Windows, whose
//   device names are files to the system, they are opened.
// Threads: an object is used by one thread at a time; files may be used by any number of threads and processes, between which
// the share flags and the locked ranges decide.
#pragma once

#include <bxtools/baseobject.h>
#include <bxtools/export.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

// Bytes of any kind, to be filled or to be read.
typedef void* MPTR;
typedef const void* MCPTR;

// What MFileWrapper is over; memory files are not provided.
enum MFileType : int
{
    FILE_TYPE_UNDEF = 0,
    FILE_TYPE_CFILE = 1,
    FILE_TYPE_CMEMFILE = 2
};

// ---- exceptions -------------------------------------------------------------------------------------------

// What BaseFile throws, as a pointer to an object of the heap, which the catcher deletes.
class DLL_EXPORT_MOD CException
{
public:
    CException() = default;
    virtual ~CException();

    // Whether a catcher is to delete it: always TRUE.
    BOOL m_fAutoDelete = TRUE;
};

// A file operation that the system refused.
class DLL_EXPORT_MOD CFileException : public CException
{
public:
    // No error.
    CFileException() = default;
    CFileException( LONG lCause, LONG lOsError, LPCTSTR pFileName = NULL );
    ~CFileException() override;

    // The cause of an error number of the system, 0 to 14: 0 for 0, 1 (unspecified) for every number without one of its own.
    // Threads: any. Never throws.
    static LONG CauseOf( LONG lOsError );
    // What a cause says, as reports show it; "Unknown reason." for a number that is none. The text is constant.
    // Threads: any. Never throws.
    static LPCTSTR CauseText( LONG lCause );

    LONG m_lCause = 0;
    // The system's error number, which has no text of its own here; -1 where none applies.
    LONG m_lOsError = -1;
    // The name where the operation knows it, otherwise empty.
    MString m_aFileName;
};

// ---- BaseFile ---------------------------------------------------------------------------------------------

// One open file, or none. A refused operation throws a CFileException by pointer, with the cause of the system's last error,
// which is still there; only Open says it by its result. The exceptions name no file, but for those of Write and Open.
// The order of the virtual operations is fixed: callers of another compiler use the table.
class DLL_EXPORT_MOD BaseFile
{
public:
    // No file.
    BaseFile();
    // A file that the caller has opened: the object uses the handle, which stays the caller's to close.
    //   hFile  the low 32 bits of a handle, which are all that it has; -1: no file.
    explicit BaseFile( int hFile );
    // Opens a file; throws what Open tells.
    BaseFile( LPCTSTR pFileName, UINT uOpenFlags );
    BaseFile( const BaseFile& ) = delete;
    // Uses the other's file, with its path. The file stays the other's to close; one that this object had opened is closed.
    BaseFile& operator=( const BaseFile& aOther );

    // The position in the file. An object without a file throws, here and below, unless something else is said.
    virtual DWORD GetPosition() const;
    // Replaces the path that Write's exceptions name; the file is the same.
    virtual void SetFilePath( LPCTSTR pNewName );
    // Opens a file, for this object to close. One that it had opened before is closed; one of the caller's is left as it is.
    //   pFileName   NULL is an empty name.
    //   uOpenFlags  of MFileWrapper's flags. Others, the access bits 3 and share bits above 0x40 are refused (error 87).
    //   pException  out, on failure: error number, cause, and the name as given; may be NULL.
    // Result: 1, or 0 with no file open. Does not throw.
    virtual int Open( LPCTSTR pFileName, UINT uOpenFlags, CFileException* pException = NULL );
    // A new object with a second handle of the file, not inherited by other programs: one position, one sharing, same access.
    // It closes its handle when this object closes its own; kept so. It has no path; kept so.
    // Result: the caller's to delete.
    virtual BaseFile* Duplicate() const;
    // Moves the position, which may lie beyond the end.
    //   uOrigin  MFileWrapper::begin, current or end.
    // Result: the new position; above 2 GB it comes out negative.
    virtual LONG Seek( LONG lOffset, UINT uOrigin );
    // Makes the file end at dwLength, shorter or longer (by zeros). The position is there then.
    virtual void SetLength( DWORD dwLength );
    // The position is moved to the end and back.
    virtual DWORD GetLength();
    // Result: the number of bytes read, less than asked for where the file ends, 0 at the end. uCount 0 does nothing, even
    // without a file.
    virtual UINT Read( void* pBuffer, UINT uCount );
    // Writes all, or throws: fewer bytes than asked for are cause 13 (the disk is full) with error -1. uCount 0 does nothing,
    // even without a file.
    virtual void Write( const void* pBuffer, UINT uCount );
    // A range that no other handle locks, reads or writes until UnlockRange for exactly that range, or the handle's end. It
    // may lie beyond the end; nothing is waited for.
    virtual void LockRange( DWORD dwPosition, DWORD dwCount );
    virtual void UnlockRange( DWORD dwPosition, DWORD dwCount );
    // Closes the file, whoever opened it, and forgets the path. Never throws.
    virtual void Abort();
    // Returns when what was written is on the disk. Without a file nothing happens.
    virtual void Flush();
    // Closes the file, whoever opened it, and forgets the path; without a file nothing happens. When it throws, the object has
    // no file either.
    virtual void Close();
    // Closes the file if Open opened it. Never throws.
    virtual ~BaseFile();
    // A disk file lets nobody into its buffers: 0, whatever the arguments.
    virtual UINT GetBufferPtr( ... );

    // Result of SeekToEnd: the length.
    DWORD SeekToEnd();
    void SeekToBegin();
    // As Read and Write, through the table.
    UINT ReadHuge( void* pBuffer, DWORD dwCount );
    void WriteHuge( const void* pBuffer, DWORD dwCount );

    // Renames a file; never overwrites one. Deletes a file. Both refuse a file that is open in this library, and name no file
    // in what they throw; kept so.
    static void Rename( LPCTSTR pOldName, LPCTSTR pNewName );
    static void Remove( LPCTSTR pFileName );

    // The low 32 bits of the handle; -1: no file.
    operator int() const;

protected:
    HANDLE m_hFile;
    BOOL m_fCloseOnDelete = FALSE;
    MString m_aFilePath; // absolute

private:
    friend class MFileWrapper;
    friend class ReadAhead;

    void MoveTo( DWORD dwPosition );
    void CloseOwned() noexcept;
};

// ---- MFileWrapper -----------------------------------------------------------------------------------------

class CallReport;
class ReadAhead;

// A file whose operations fail with FALSE and one report: what failed, the file where the operation knows its name (opening
// and writing do), the cause and the system's error number:
//
//     " Error: m_pFileInterface->Open( lpszFileName, uOpenFlags, &e ) , FileName = a.txt\r\n
//      ->  Error: The file could not be located. OsError = 2"
//
// An operation made of others (MyWriteStr, MyReadStr, MyGetLine, CopyTo) sends a second report, its own, behind that of the
// part that failed. A successful call is silent. No member throws, and the object stays usable after any failure. Output
// pointers may be NULL where nothing else is said; what they point at is untouched on failure.
class DLL_EXPORT_MOD MFileWrapper : public BaseObject2
{
public:
    // How a file is opened: one of each of the first two groups, and any of the third.
    enum OpenFlags : UINT
    {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,

        shareExclusive = 0x0010, // others may neither read nor write; so it is without any of these four
        shareDenyWrite = 0x0020, // others may read
        shareDenyRead = 0x0030,  // others may write
        shareDenyNone = 0x0040,  // others may read and write

        modeNoInherit = 0x0080,  // programs that are started do not inherit the handle
        modeCreate = 0x1000,     // a new file; one that is there is emptied
        modeNoTruncate = 0x2000, // with modeCreate: one that is there is opened as it is
    };
    // Where an offset counts from.
    enum SeekOrigins : UINT
    {
        begin = 0,
        current = 1,
        end = 2,
    };

    // A file to be opened with MyOpen.
    //   nType       FILE_TYPE_CFILE. With anything else construction fails, with two reports, and so does every operation.
    //   pMyDbgFunc  NULL: the library's own.
    //   pMyLogFunc  may be NULL.
    explicit MFileWrapper( int nType = FILE_TYPE_CFILE, MYDBGFUNC pMyDbgFunc = NULL,
                           MYLOGFUNC pMyLogFunc = NULL );
    // A file that the caller has opened, and closes. Mind the type: an int is a handle, an unsigned number is the next one.
    MFileWrapper( int nType, int hFile, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );
    // Memory files, which are not provided: with the type FILE_TYPE_CMEMFILE construction fails; with FILE_TYPE_CFILE the sizes
    // and the buffer are ignored.
    MFileWrapper( int nType, UINT nGrowBytes, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );
    MFileWrapper( int nType, BYTE* lpBuffer, UINT nBufferSize, UINT nMemFileGrowBytes, MYDBGFUNC pMyDbgFunc,
                  MYLOGFUNC pMyLogFunc );
    // Closes the file if MyOpen opened it.
    ~MFileWrapper();
    MFileWrapper( const MFileWrapper& ) = delete;
    MFileWrapper& operator=( const MFileWrapper& ) = delete;

    // Opens a file. One that was open before is closed first, and stays closed when this fails.
    BOOL MyOpen( LPCTSTR lpszFileName, UINT uOpenFlags );
    // Closes what MyOpen opened; otherwise TRUE, and nothing happens.
    BOOL MyClose();

    // As the operations of BaseFile; the results are out arguments.
    BOOL MyRead( MPTR lpBuf, UINT uCount, UINT* puTransferred );
    BOOL MyWrite( MCPTR pData, UINT uCount );
    BOOL MySeek( LONG lOff, UINT uFrom, LONG* plCurrent );
    BOOL MySeekToEnd( DWORD* pdwSize );
    BOOL MySeekToBegin();
    BOOL MyGetPosition( DWORD* pdwPos );
    BOOL MyGetLength( DWORD* pdwFileLength );
    BOOL MySetLength( DWORD dwNewFileLength );
    BOOL MyFlush();
    BOOL MyLockRange( DWORD dwPos, DWORD dwCount );
    // Its reports spell it MyUnLockRange; kept so.
    BOOL MyUnlockRange( DWORD dwPos, DWORD dwCount );
    BOOL MySetFilePath( LPCTSTR lpszNewName );

    // Writes a text without its zero; NULL is the empty text.
    BOOL MyWriteStr( LPCTSTR pData );
    // Writes uLength characters, zeros included. Its reports are those of the other one.
    BOOL MyWriteStr( LPCTSTR pData, UINT uLength );
    // Reads like MyRead: no zero is added.
    BOOL MyReadStr( LPTSTR pData, UINT uCharCount, UINT* puTransferred );

    // Reads what is at the position up to the delimiter, which is part of it, adds a zero and moves the position behind the
    // delimiter. What follows the zero in the buffer is undefined.
    //   punCharCount  in: the size of pData in characters. Never changed.
    // Result: TRUE. FALSE without a report, an empty text, and the position as it was, when there is no delimiter before the
    // end of the file, and when the text with its zero is longer than the buffer: the caller then does not get past it; kept so.
    // FALSE with a report for null pointers, a size of 0, and for what reading fails with.
    // A file that MyOpen opened for reading only and that denies others to write is read up to 64 KB ahead. The position is to be
    // asked of this object then: that of the handle, which a started program may have inherited, is further on. On Linux, where
    // denying keeps away users of this library only, what another program does to the bytes that were read ahead is not seen.
    BOOL MyGetLine( LPTSTR pData, UINT* punCharCount, TCHAR cDelim );

    // Copies the whole file into a new file; the position stays.
    //   lpszDst  a file that is there is emptied. While it is written others may read it. The file itself is refused.
    // Copied in chunks of SetCopyBuffSize, through a buffer that is made by the first copy and kept. FALSE also when the file
    // got shorter meanwhile; what was copied stays. What goes wrong with the new file is reported to the library's own hook.
    BOOL CopyTo( LPCTSTR lpszDst );
    // How many bytes CopyTo takes at a time: 350,000 at first. The buffer stays as the first copy made it: a larger size has no
    // effect after that; kept so. With 0 copies fail. Result: TRUE.
    BOOL SetCopyBuffSize( DWORD dwSize );

    // Not provided: FALSE, and a remark in the debug output.
    BOOL MyAttach( BYTE* lpBuffer, UINT nBufferSize, UINT nGrowBytes );
    BOOL MyDetach( BYTE** lppBuffer );

    // As those of BaseFile. Reports go to the library's own hook.
    static BOOL DLL_EXPORT Rename( LPCTSTR lpszOldName, LPCTSTR lpszNewName );
    static BOOL DLL_EXPORT Remove( LPCTSTR lpszFileName );

private:
    BOOL OnInit( int nType, int hFile, MYDBGFUNC pMyDbgFunc, MYLOGFUNC pMyLogFunc );
    BOOL MakeInterface( CallReport& rReport, int nType, int hFile );
    LPCTSTR GetInterfaceType() const;
    static LPCTSTR MessageNotImplemented();

    template <class Operation>
    BOOL Perform( CallReport& rReport, LPCTSTR pText, Operation aOperation );
    template <class Operation>
    BOOL PerformAtPosition( CallReport& rReport, LPCTSTR pText, Operation aOperation );
    BOOL MoveTo( DWORD dwPosition );
    BOOL ReadLine( CallReport& rReport, LPTSTR pData, UINT unSize, TCHAR cDelim );
    BOOL MakeCopyBuffer();
    BOOL CopyChunks( CallReport& rReport, MFileWrapper& rDestination, DWORD dwLength );

    BaseFile* m_pFileInterface = NULL;
    int m_nFileType = FILE_TYPE_UNDEF;
    LPTSTR m_pCopyBuff = NULL;
    DWORD m_dwBuffSize = 0;
    BOOL m_fOpen = FALSE;
    DWORD m_dwCopyBuffRoom = 0;     // characters at m_pCopyBuff
    ReadAhead* m_pReadAhead = NULL; // made by the first MyGetLine of a file that nobody else writes
    BOOL m_fReadsAhead = FALSE;
};

// A wrapper of a disk file, with the library's debug hook.
class DLL_EXPORT_MOD MCFile : public MFileWrapper
{
public:
    MCFile() : MFileWrapper( FILE_TYPE_CFILE, NULL, NULL ) {}
};
