// The error record: one reported error, and the line of text in which it travels between threads, modules and
// processes.
//
// A record's text is seven fields with "+?+" between them, the last one holding the parameters with "!;!"
// between them. Several records behind a header are an error stream; SEP is the two bytes 0x24 0xB0:
//
//     1.0.0+?+class+?+number+?+system error+?+origin text+?+optional text+?+parameter!;!parameter
//     ##HDRMSG0 SEP record SEP record ... SEP record
//
// Nothing is escaped: keep "+?+", "!;!" and SEP out of error texts. A text with "+?+" in it makes its record
// unreadable, a parameter with "!;!" comes back as two, SEP breaks the stream around it. docs/formats.md
// draws it.
#pragma once

#include <bxtools/export.h>
#include <bxtools/lists.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

#include <string_view>

// The format.
inline constexpr char ERROBJECT_VERSION[] = "1.0.0";
inline constexpr char ERROBJECT_FIELD_SEPARATOR[] = "+?+";
inline constexpr char STRLIST_ITEM_SEPARATOR[] = "!;!";
inline constexpr char ERRSTREAM_HEADER[] = "##HDRMSG0";
inline constexpr char ERRSTREAM_RECORD_SEPARATOR[] = "$\xB0";

// Error classes that the library itself knows. A class is any name of a section of national-language texts;
// these three say that the number comes from the system. They are compared exactly.
inline constexpr char ERRCLS_SYS_LASTERROR[] = "BXTOOLS.ERRCLS_SYS_LASTERROR";
inline constexpr char ERRCLS_SYS_ERRNO[] = "BXTOOLS.ERRCLS_SYS_ERRNO";
inline constexpr char ERRCLS_SYS_HRESULT[] = "BXTOOLS.ERRCLS_SYS_HRESULT";

// The text parameters of a record, in order. It owns its strings.
//
// A list made from the parameters' joined text keeps that text until one of them is asked for, because most
// records are only passed on. So looking at an item can run out of memory: the list then reports it, gives no
// item, and keeps the text.
class DLL_EXPORT_MOD MMStringList : public TypedList<MString>
{
public:
    MMStringList() = default;
    MMStringList( const MMStringList& ) = delete;
    // Makes the items equal to those of rObj, number and texts; nothing is shared. Short of memory, some of
    // them are missing, with one report.
    const MMStringList& operator=( const MMStringList& rObj );

    // As in TypedList.
    ULONG ItemCount() const;
    BOOL Append( MString* pItem );
    BOOL Insert( long lIndex, MString* pItem );
    MString* GetItem( long lIndex, int nAccessMode = 6 );
    MString* Remove( long lIndex, BOOL fDelete );
    MString* Replace( long lIndex, MString* pItem, BOOL fDelete );
    void ClearList( BOOL fDelete );

    // The items become the parts of a text at STRLIST_ITEM_SEPARATOR; the empty text gives none.
    void SetJoinedText( const RWCString& aText ) noexcept;
    // The length of the items' texts joined by STRLIST_ITEM_SEPARATOR, and that text, written without a
    // final zero to memory with room for it. Result: behind the last character written.
    size_t JoinedLength();
    char* WriteJoined( char* pOut );

    // The records that share the list: one more; one less, and the list ends with the last of them.
    void AddOwner();
    static void Release( MMStringList* pList );

private:
    bool HasItems() const { return TypedList::ItemCount() != 0; }
    void CopyItems( MMStringList& rSource );
    bool MakeItems();
    void AppendCopy( std::string_view aText );

    RWCString m_aJoined; // items that have not been made yet; while it is not empty, the list has no nodes
    LONG volatile m_lOwners = 1;
};

// One error: class, number, system error, two free texts and the text parameters of its translated message.
//
// It is filled by the error stack (SetLastErr) or from its text (FromStream), and then read. Operations give
// TRUE, or FALSE with one report; a report goes to the debug messages and, header and message joined, to the
// record's dump string. None of them throws; an assignment that runs out of memory lacks parameters, and
// reports it.
// Threads: one at a time. Records that share their parameters (see the copy constructor) count as one object.
class DLL_EXPORT_MOD ErrObjectBase
{
    friend class CallReport;
    friend class ERRServer;

public:
    // Empty texts, numbers 0, no parameters, not initialized.
    ErrObjectBase();
    // Copies texts, numbers, dump string and flag, but SHARES the source's parameters: what later changes
    // them in one of the two shows in the other. Kept so; assignment copies them. The last owner frees them.
    ErrObjectBase( const ErrObjectBase& aErrObjectBase );
    virtual ~ErrObjectBase();
    // Copies everything, the dump string too. The parameters are copied into the target's own list, so they
    // change in the records that share it as well; a source without a list takes away the target's share
    // only.
    const ErrObjectBase& operator=( const ErrObjectBase& aErrObjectBase );

    // aStream becomes this record's text; also an empty record has one ("1.0.0+?++?+0+?+0+?++?++?+"). Empties
    // the dump string first. On failure (no memory) aStream is unchanged.
    BOOL ToStream( MString& aStream );

    // Reads one record's text, not a stream of several. A number reads as its first digits give, 0 if there
    // are none; what does not fit 32 bits is clamped.
    // FALSE: the version is another one (looked at first) or there are not seven fields: the record is
    // unchanged. Or the parameters could not be taken over: the record then counts as initialized, without
    // parameters; kept so.
    BOOL FromStream( const MString& aStream );

    // Class, number and system error.
    BOOL GetOriginError( MString& aOriginErrCls, ERR& lCurErr, DWORD& dwSysLastErr ) const;

    // The reports of this record's own last operation, each header directly followed by its message.
    BOOL GetDumpStr( MString& aDumpStr ) const;

protected:
    // Back to the empty state; the dump string stays. Derived records clear their own members and then these.
    virtual void ClearValues();

    void ClearDumpStr();
    BOOL IsInitialized() const { return m_fInitialized; }
    // Makes the parameter list if there is none.
    BOOL CheckList();

    // Fills the record.
    //   szCurErrCls           class; NULL is empty. ERRCLS_SYS_ERRNO with an empty origin text takes the
    //                         run-time library's text for lCurErr. ERRCLS_SYS_LASTERROR with dwSysLastErr 0
    //                         takes the calling thread's last error, which becomes 0 with this class in any
    //                         case.
    //   aOptionalTextParams   the parameters, joined by STRLIST_ITEM_SEPARATOR; empty for none.
    BOOL MySetLastErr( LPCTSTR szCurErrCls, ERR lCurErr, DWORD dwSysLastErr, const MString& aOriginErrText,
                       const MString& aOptionalText, const MString& aOptionalTextParams );

    // Notes a report in the dump string and sends it to the debug messages. Never throws.
    void Debug( LPCTSTR pHeader, LPCTSTR pMessage ) const;

    MMStringList* m_paStrList = NULL;
    MString m_aOriginErrText;
    MString m_aOptionalText;
    MString m_aErrCls;
    ERR m_lCurErr = 0;
    DWORD m_dwSysLastErr = 0;
    mutable MString m_aDumpStr;
    BOOL m_fInitialized = FALSE;

private:
    BOOL BuildupStrList( const MString& aOptionalTextParams );
    void InternalClearValues();
    BOOL LoggThis();
    void TakeSystemValues( DWORD dwThreadError );
    void CopyStrList( const ErrObjectBase& aErrObjectBase );
    BOOL PrepareStream();
    size_t StreamRoom() const;
    char* WriteStream( char* pOut ) const;
    BOOL ReadRecord( std::string_view aRecord );
};
