// MConfig: one INI file, read and written by groups ("[group]") and keys ("key=value").
//
//     MConfig aConfig( "/etc/product/server.ini", TRUE, FALSE );
//     aConfig.SetGroup( "Network" );
//     const MString aHost = aConfig.ReadKey( "Host", "localhost" );
//     aConfig.WriteKeyBOOL( "Compress", TRUE );
//
// In all of it:
// - The file is read and written with the system's profile calls; platform_profile.h says what a file looks like, what its
//   path means, and what other processes may do meanwhile. Nothing of the file is kept in the object but the last answers.
// - Operations on keys concern the current group, which SetGroup and DeleteGroup set.
// - Names compare without regard to the case of ASCII letters here, and as the system does there.
// - In safety mode an answer that fills the object's buffer is read again into a larger one until all of it is there: lists
//   of up to 31,741 bytes and values of up to 31,742. A longer list cannot be read at all; a longer value is cut, with reports.
//   Without it whatever does not fit into the buffer, 1024 bytes at first, is cut silently.
// - Nothing throws. A failed read sends its reports to the debug hook (the library's own, unless SetDbgFunc set another), one
//   from each operation on the way, and gives an empty text, 0 or FALSE. Writes report nothing and do not tell whether they
//   succeeded; kept so. GetLastError tells what the system's call said.
// - A value that is read loses one pair of quotes around it; so RenameKey, CopyGroup and RenameGroup write it without.
// - Copies share the buffers of what they were copied from: each sees what the other reads, until one of them needs a larger
//   buffer and gets one of its own. They share the temporary file as well. The last owner frees.
// Threads: an object belongs to one thread at a time, and copies that share buffers count as one object.
#pragma once

#include <bxtools/baseobject.h>
#include <bxtools/mstring.h>

class CallReport;

class DLL_EXPORT_MOD MConfig : public BaseObject
{
public:
    // An empty file name, safety mode on.
    MConfig();
    //   rFileName, pFileName  the path; NULL is "". The file need not be there.
    //   fSafety       safety mode.
    //   fWin95Check   on a system of the Windows 95 family, which keeps profiles in a cache of its own, reads go to a private
    //                 copy of the file, renewed whenever the file's time of modification has changed. On others it does
    //                 nothing.
    // The object starts with the library's debug hook and no group.
    MConfig( const MString& rFileName, BOOL fSafety, BOOL fWin95Check );
    MConfig( const char* pFileName, BOOL fSafety, BOOL fWin95Check );
    // Share the buffers of rConfig and take everything else, the hooks and the last report, too.
    MConfig( const MConfig& rConfig );
    MConfig& operator=( const MConfig& rConfig );
    // Deletes the temporary file, unless a copy has it still.
    virtual ~MConfig();

    void SetGroup( const MString& rGroup );
    MString GetGroup() const;
    void SetPathName( const MString& rFileName );
    MString GetPathName() const;
    BOOL IsSafetyOpMode() const;
    void SetSafetyOpMode( BOOL fSafety );

    // The value of a key.
    //   rDefault  given when there is no such key, without blanks at its end; an empty value is not replaced by it.
    MString ReadKey( const MString& rKey, const MString& rDefault );
    // The same with an empty default.
    MString ReadKey( const MString& rKey );
    // The value of the key that GetKeyName( uKey, fRead ) names; empty when it names none.
    //   fWithName  TRUE: name, "=" and value.
    MString ReadKey( USHORT uKey, BOOL fWithName, BOOL fRead );
    // Whether the value is "Yes", "1" or "TRUE", in any case. Any other value, the empty one too, is FALSE.
    //   fDefault  given when there is no such key.
    BOOL ReadKeyBOOL( const MString& rKey, BOOL fDefault );
    // The same of any file, group and key.
    static BOOL ReadKeyBOOL( const char* pFileName, const char* pGroup, const char* pKey, BOOL fDefault );

    // Whether the current group has a key of this name; whether the file has a group of this name. Comments and nameless
    // keys are none, although ReadKey finds them. A failed KeyExists reports under the name of GetKeyCount, GroupExists
    // under that of GetGroupCount; kept so.
    BOOL KeyExists( const MString& rKey );
    BOOL GroupExists( const MString& rGroup );
    // How many keys the current group has, or groups the file, counted anew; names that stand there twice count twice.
    USHORT GetKeyCount();
    USHORT GetGroupCount();
    // The name of the key, or group, with this index, from 0; empty when there is none.
    //   fRead  TRUE: the list is read first. FALSE: it is that of the last call that read it, whatever the group is now.
    MString GetKeyName( USHORT uKey, BOOL fRead );
    MString GetGroupName( USHORT uGroupId, BOOL fRead );

    // Sets a key; makes file, group and key where they are missing. Blanks at the ends of a value do not survive reading.
    void WriteKey( const MString& rKey, const MString& rValue );
    // As "Yes" or "No".
    void WriteKeyBOOL( const MString& rKey, BOOL fValue );
    void DeleteKey( const MString& rKey );
    // Deletes a group with all in it. It is the current group from then on; kept so.
    void DeleteGroup( const MString& rGroup );

    // Of these three the new name comes first, the old one second; kept so. What they write is what ReadKey gives, so that a
    // value that it cuts is cut for good; and they take several writes, which another process may see singly.
    //
    // Where there is no old key, the new one is made with an empty value.
    void RenameKey( const MString& rNewKey, const MString& rOldKey );
    // Makes the destination a copy of the source; what it had before is gone. Nothing happens when the names are equal
    // without regard to case, or when the source has no keys. Comments are not copied. The current group stays. Names that
    // only the system takes for equal, for their letters above 127 or blanks at their ends, are one group, which gets the
    // destination's name.
    void CopyGroup( const MString& rDestination, const MString& rSource );
    // CopyGroup, then the source is deleted, one without keys too (which leaves the destination alone).
    void RenameGroup( const MString& rDestination, const MString& rSource );

    // Has the system write what it may keep of the file in a cache.
    void Flush();
    // Copies the file as it is.
    //   rDestFile  up to 259 characters as a full path; made, or emptied first. The INI file itself is refused.
    // A file name without a folder is one in the current folder here, where the profile calls take it for one in the system's
    // folder; kept so.
    // Result: TRUE; FALSE with one report (two, short of memory). What had been made of the destination stays then. An INI
    // file that is not there is made, empty; kept so.
    BOOL CopyTo( const MString& rDestFile );

protected:
    enum
    {
        SAFE_READ_KEY = 0,
        SAFE_READ_GROUP = 1,
        SAFE_READ_DATA = 2,
        MYINIDATABUFSIZE = 1024 // bytes: a buffer's first size, and the step by which it grows
    };

    // Called with each value that was read, for a derived class to change it. Must not throw.
    //   rCountry  what ReadKeyOfCountry was given; empty for other reads.
    virtual void OnKeyRead( MString& rValue, const MString& rCountry, const MString& rDefault );
    MString ReadKeyOfCountry( const MString& rKey, const MString& rDefault, const MString& rCountry );

    // A pair of buffers is a first one, which holds the answer, and a larger second one. The modes are the three SAFE_READ_*:
    // keys of the current group, groups, value of the current key.
    BOOL ReadAll( LPTSTR* ppBuff, USHORT* pBufLen, LPTSTR* ppSecondBuff, USHORT* pSecondBufLen,
                  LPCTSTR szDefault, int nMode );
    BOOL SafetyReadAll( LPTSTR* ppBuff, USHORT* pBufLen, LPTSTR* ppSecondBuff, USHORT* pSecondBufLen,
                        LPCTSTR szDefault, int nMode );
    BOOL InternalGetData( LPTSTR pBuff, USHORT uBufLen, LPCTSTR szDefault, int nMode, USHORT* puRead,
                          USHORT* puOffset );
    USHORT InternalGetCount( LPCTSTR pBuff, USHORT uBufLen ) const;
    MString InternalGetName( LPCTSTR pBuff, USHORT uBufLen, USHORT uIndex ) const;
    BOOL ExpandBuffer( LPTSTR* ppBuff, USHORT* pBuffLen );
    void InternalCopyGroup( const MString& rDestination, const MString& rSource, BOOL fRename );
    // Whether the file has changed since this was last asked; also when that cannot be told.
    BOOL IsDifferentFile( LPCTSTR pPath );
    DWORD InternalGetPrivateProfileString( LPCTSTR pGroup, LPCTSTR pKey, LPCTSTR pDefault, LPTSTR pBuffer,
                                           DWORD dwSize, LPCTSTR pFileName );
    BOOL InternalWritePrivateProfileString( LPCTSTR pGroup, LPCTSTR pKey, LPCTSTR pValue, LPCTSTR pFileName );

private:
    void OnInit( const MString& rFileName, BOOL fSafety, BOOL fWin95Check );
    BOOL ReadKeyList( LPCTSTR pHeader );
    BOOL ReadGroupList( LPCTSTR pHeader );
    BOOL GrowSecondBeyondFirst( USHORT uFirstLen, LPTSTR* ppSecondBuff, USHORT* pSecondBufLen );
    BOOL ReadIntoSecond( LPTSTR* ppSecondBuff, USHORT* pSecondBufLen, LPCTSTR szDefault, int nMode,
                         USHORT* puCopiedLast, CallReport& rReport );
    BOOL ReplaceFirst( LPTSTR* ppBuff, USHORT* pBufLen, LPCTSTR pAnswer, USHORT uCopiedLast );
    BOOL CopyKeys( const MString& rDestination, USHORT uKeys );
    BOOL RefreshTemporaryCopy( LPCTSTR pFileName, CallReport& rReport );
    BOOL MakeTemporaryFile( CallReport& rReport );

    void Share( const MConfig& rConfig );
    void Release();
    void FreeBuffer( LPTSTR* ppBuff );
    BOOL IsShared( LPCTSTR pBuff ) const;

    static LPTSTR MConfig::*const m_apBuffers[6];

    MString m_aFName;
    MString m_aWin95FName; // the temporary copy; empty until made
    MString m_aGroup;
    MString m_aKey; // of the last value read
    LPTSTR m_pDataBuff = NULL;
    LPTSTR m_pSecondDataBuff = NULL;
    LPTSTR m_pKeyBuff = NULL;
    LPTSTR m_pSecondKeyBuff = NULL;
    LPTSTR m_pGroupBuff = NULL;
    LPTSTR m_pSecondGroupBuff = NULL;
    USHORT m_DataBufLen = 0;
    USHORT m_SecondDataBufLen = 0;
    USHORT m_KeyBufLen = 0;
    USHORT m_SecondKeyBufLen = 0;
    USHORT m_GroupBufLen = 0;
    USHORT m_SecondGroupBufLen = 0;
    USHORT m_uGrowStep = MYINIDATABUFSIZE;
    BOOL m_fSafety = FALSE;
    BOOL m_fWin95 = FALSE;   // reads go to the temporary copy
    ULONG m_ulFileStamp = 0; // when the file that was last copied had been modified; 0: never
    mutable const MConfig* m_pNextCopy = this; // copies that share buffers are a ring
};
