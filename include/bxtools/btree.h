// A file of keys and texts, the release file of the national-language texts among them: a B-tree that holds for each key one
// text, which stands in the same file. The five functions serve plain C, too; NlsBTreeOnDisk is what they are handles of.
//
// One process writes at a time: who opens a file for writing while another one does gets no handle. Any number of processes
// reads at any time, also meanwhile; each lookup sees the last complete state. What is written becomes such a state, all at
// once, when the handle is deleted: a writer that is killed before that leaves the file as it found it. A file ends at
// 2,147,483,647 bytes.
//
// A file that was damaged, cut short or made up to do harm gives no handle, or a reported miss; a text comes out as it was
// written or not at all. Formats are drawn in docs/formats.md.
//
// Nothing throws. Threads: a handle belongs to one thread at a time; several handles of one file are independent.
#pragma once

#include <bxtools/export.h>
#include <bxtools/wintypes.h>

#ifdef __cplusplus
#include <bxtools/baseobject.h>
#include <bxtools/mstring.h>
#endif

typedef LPCSTR MYLPCSTR;
// The text of an entry, the file object's own.
typedef const char* DATABUFTYPE;

#ifdef __cplusplus
extern "C"
{
#endif

    // Opens a file.
    //   pFile          its path.
    //   MaxKeyLength   0: the file must be there and hold a tree; it is opened as pMode says. Else the file is opened for
    //                  writing, and made where it is missing or empty, with this many characters of a key in its nodes. A
    //                  file that holds a tree keeps the length that it was made with, and longer keys are kept, too, just
    //                  not as fast.
    //   pMode          as for fopen: "rb" to read, "rb+" to write as well. Not used where MaxKeyLength is given, but never
    //                  NULL and never empty.
    //   bDebugMessage  TRUE: the debug messages get a note when the handle is deleted.
    // Result: the handle, the caller's until BTreeOnDiskDelete; NULL with one report.
    DLL_EXPORT_MOD LPVOID DLL_EXPORT BTreeOnDiskInit( MYLPCSTR pFile, unsigned MaxKeyLength, MYLPCSTR pMode,
                                                      BOOL bDebugMessage );

    // Completes what was written and gives the handle back; NULL is accepted. A state that could not be completed (the disk is
    // full) is reported, and the file stays in the state before.
    DLL_EXPORT_MOD void DLL_EXPORT BTreeOnDiskDelete( LPVOID lValue );

    // Tells whether the file could be opened: TRUE for every handle of BTreeOnDiskInit. NULL: FALSE with a report.
    DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskIsStatusOk( LPVOID lValue );

    // Adds an entry.
    //   pKey    any text of any length; NULL is the empty one, which is a key like others.
    //   pValue  its text; NULL is the empty one.
    // A key that the file has keeps its first text; the new one takes room in the file and cannot be found. Ask with a read
    // first where that matters. Kept so.
    // Result: TRUE, also when the file could not take the entry; kept so: only NULL and an object whose status is lost give
    // FALSE, with a report. Whoever must know writes through the class, whose debug hook is told, or reads afterwards.
    DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskWriteKeyStringPairToFile( LPVOID lValue, MYLPCSTR pKey,
                                                                        LPCTSTR pValue );

    // Finds the text of a key.
    //   pnFound      out, may be NULL: 1 when the key was found, else 0.
    //   pPartialKey  the text that stands for a missing one; NULL is the empty one.
    // Result: the text, or a copy of pPartialKey; the handle's own, valid until its next read, write or end. NULL for a handle
    // of NULL, with a report.
    DLL_EXPORT_MOD const char* DLL_EXPORT BTreeOnDiskReadKeyStringPairFromFile( LPVOID lValue, MYLPCSTR pKey,
                                                                                int* pnFound,
                                                                                LPCTSTR pPartialKey );

#ifdef __cplusplus
}

class RWBTreeOnDisk;
class RWFileManager;

// The object behind a handle. It has no debug hook until SetDbgFunc gives it one: without, it reports to nobody.
class DLL_EXPORT_MOD NlsBTreeOnDisk : public BaseObject
{
public:
    // Opens a file; arguments are those of BTreeOnDiskInit. IsStatusOk tells whether it could be opened.
    NlsBTreeOnDisk( MYLPCSTR pFile, unsigned MaxKeyLength, MYLPCSTR pMode, BOOL bDebugMessage );
    // Completes what was written, as far as Close has not done it, and closes the file.
    ~NlsBTreeOnDisk();
    NlsBTreeOnDisk( const NlsBTreeOnDisk& ) = delete;
    NlsBTreeOnDisk& operator=( const NlsBTreeOnDisk& ) = delete;

    // Opens the file; called by the constructor. Does nothing when the status is lost, or the file is open.
    void Init();

    // Makes what was written a complete state, so that nothing is left to fail at the object's end.
    // Result: TRUE, also when nothing was written; FALSE with one report when it is not on the disk.
    BOOL Close();

    // Adds an entry, as BTreeOnDiskWriteKeyStringPairToFile does.
    // Result: the status. A file that cannot take the entry is reported and changes neither the status nor the result; kept so.
    BOOL WriteKeyStringPairToFile( MYLPCSTR pKey, LPCTSTR pValue );

    // Finds a text, as BTreeOnDiskReadKeyStringPairFromFile does. A missing key is reported, too.
    //   nFound  out: 1 when the key was found, else 0.
    // Result: the text or a copy of pPartialKey, the object's own; valid until its next read, write or end.
    DATABUFTYPE ReadKeyStringPairFromFile( MYLPCSTR pKey, int& nFound, LPCTSTR pPartialKey );

    BOOL IsStatusOk() const { return m_bStatusOk; }

    // The number of the complete state that the next lookup will see; each state's is greater than that of the one before.
    // Result: 0 when there is none, or it cannot be told.
    ULONGLONG GetState() const noexcept;

private:
    RWFileManager* m_pDataFile = NULL; // owned, as is the next one
    RWBTreeOnDisk* m_pbDiskTree = NULL;
    MString m_stFileName;
    RWCString m_stKey;   // of the last write or read
    RWCString m_stValue; // likewise
    LONG m_loc = 0;      // where that value stands; RWNIL when it was not found
    unsigned m_MaxKeyLength;
    BOOL m_bStatusOk = TRUE;
    BOOL m_bCreate;
    BOOL m_bDebugMessage;
    MString m_stFileMode;
};

#endif
