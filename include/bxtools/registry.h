// CRegistry: one open key of the registry, its values and its subkeys; and MStringArray, the texts of one of its
// multi-string values.
//
//     CRegistry aRegistry;
//     DWORD dwLevel = 0;
//     if ( !aRegistry.Connect( (HKEY)CRegistry::keyLocalMachine ) ||
//          !aRegistry.Open( "Software\\Company\\Product", CRegistry::permissionRead ) ||
//          !aRegistry.GetValue( "Level", dwLevel ) )
//         return aRegistry.GetErrorCode();
//
// In all of it:
// - An object is connected to one root, and opens or makes one key below it at a time.
// - Operations give TRUE, or FALSE with the reason in GetErrorCode: the system's error number of the last operation, 0
//   for success (Open and failed allocations are exceptions, see there). They set no error of the error stack and send no
//   report; only a string or array that finds no memory sends its own. What an operation does besides the system's call
//   of its name is said here; what that call asks for and fails with is in platform_registry.h.
// - A null value name, key name or file name is error 87, without a call to the system.
// - Names and values are bytes as the system's A calls take them: UTF-8 on Linux. Sizes are in bytes.
// - Nothing of the class itself throws. What an overridden operation throws passes to the caller, but Connect, Create,
//   DeleteKey, Open and the two enumerations turn any exception, lack of memory too, into error 1064.
// - The order of the virtual operations is fixed: callers of another compiler use the table. The typed readers and
//   writers call QueryValue, QueryInfo, Open and the SetValue of bytes through it, so that a derived class that overrides
//   one of these changes them all.
// Threads: an object belongs to one thread at a time; the registry itself may be used by many.
#pragma once

#include <bxtools/bytearray.h>
#include <bxtools/export.h>
#include <bxtools/lists.h>
#include <bxtools/mstring.h>
#include <bxtools/wintypes.h>

// Texts in order. Indexes count from 0.
// Threads: one at a time, for reading too.
class DLL_EXPORT_MOD MStringArray
{
public:
    MStringArray() = default;
    ~MStringArray();
    MStringArray( const MStringArray& ) = delete;
    MStringArray& operator=( const MStringArray& ) = delete;

    // Takes all texts away.
    void RemoveAll();
    // Adds a copy of a text up to its zero at the end; NULL adds the empty text. Where there is no memory nothing is
    // added, with one report to the library's debug hook.
    void Add( LPCTSTR pNewString );
    // How many there are.
    int GetSize() const;
    // A copy of one; the empty text for an index that there is not. Going up by one each time is quick; any other way
    // each call counts up from the first.
    MString GetAt( int nIndex ) const;

private:
    MStringList* m_pMStringList = NULL; // made by the first Add; the others do without
    mutable int m_nLastRead = -1;       // where the list stands, if not -1
};

class DLL_EXPORT_MOD CRegistry
{
public:
    // The values of all these are the system's own. They may be combined, and others be given, by a cast.

    // Roots, to be cast to HKEY for Connect.
    enum KeyRoots : ULONG_PTR
    {
        keyClassesRoot = 0x80000000u,
        keyCurrentUser = 0x80000001u,
        keyLocalMachine = 0x80000002u,
        keyUsers = 0x80000003u,
        keyPerformanceData = 0x80000004u,
        keyCurrentConfig = 0x80000005u,
        keyDynData = 0x80000006u,
    };
    // What a key is opened for.
    enum CreatePermissions : DWORD
    {
        permissionQueryValue = 0x00000001,
        permissionSetValue = 0x00000002,
        permissionCreateSubKey = 0x00000004,
        permissionEnumerateSubKeys = 0x00000008,
        permissionNotify = 0x00000010,
        permissionCreateLink = 0x00000020,
        permissionRead = 0x00020019,
        permissionExecute = 0x00020019,
        permissionWrite = 0x00020006,
        permissionAllAccess = 0x000F003F,
    };
    // How long a new key lives: a volatile one until the machine's next start.
    enum CreateOptions : DWORD
    {
        optionNonVolatile = 0,
        optionVolatile = 1,
        optionCreateLink = 2,
        optionBackupRestore = 4,
    };
    // What Create did.
    enum CreationDisposition : DWORD
    {
        dispositionNone = 0,
        dispositionCreatedNewKey = 1,
        dispositionOpenedExistingKey = 2,
    };
    enum KeyValueTypes : DWORD
    {
        typeNone = 0,
        typeString = 1,
        typeExpandString = 2,
        typeBinary = 3,
        typeDoubleWord = 4,
        typeDoubleWordBigEndian = 5,
        typeLink = 6,
        typeStringArray = 7,
        typeResourceList = 8,
        typeFullResourceDescriptor = 9,
        typeResourceRequirementsList = 10,
        typeQuadWord = 11,
    };
    // Changes that NotifyChange tells of: subkeys made or deleted, attributes, values, the security descriptor.
    enum NotifyChangeFilter : DWORD
    {
        notifyName = 1,
        notifyAttributes = 2,
        notifyLastSet = 4,
        notifySecurity = 8,
    };

    // Neither connected nor open; no texts, all numbers 0.
    CRegistry();
    // Closes what is open.
    virtual ~CRegistry();

    // Closes the key and leaves the root; the object is as new. Not connected, nothing happens.
    // FALSE: the root could not be left; the key is closed all the same.
    virtual BOOL Close();

    // Connects to a root. One that was connected before, and an open key, are not closed first; kept so.
    //   hRoot          a root, whether its 32 bits were sign- or zero-extended.
    //   pComputerName  NULL: this computer. HKEY_CLASSES_ROOT and HKEY_CURRENT_USER cannot be reached elsewhere: error 6.
    // After TRUE GetRegistryName gives the root's name, "Unknown" for any other handle, and GetComputerName the
    // computer's.
    virtual BOOL Connect( HKEY hRoot, LPCTSTR pComputerName = NULL );

    // Closes the open key, then opens or makes one below the root, with its missing parents. What QueryInfo counted stays
    // that of the last key.
    //   pClassName    class of a new key; NULL is "".
    //   pSecurity     the descriptor of a new key; may be NULL.
    //   pDisposition  out: what was done; may be NULL. Untouched on failure.
    virtual BOOL Create( LPCTSTR pSubKey, LPCTSTR pClassName = NULL,
                         CreateOptions aOptions = optionNonVolatile,
                         CreatePermissions aPermissions = permissionAllAccess,
                         SECURITY_ATTRIBUTES* pSecurity = NULL, CreationDisposition* pDisposition = NULL );

    // Deletes a key with everything below it, subkeys before their parents.
    //   pPath  without a backslash: a subkey of the open key. Otherwise a path from the root: what stands before its last
    //          backslash is opened with all rights and stays open, TRUE or FALSE; when that fails no key is open, and
    //          GetKeyName gives what it gave before; kept so. An empty path, or one that ends in a backslash, is error 87.
    // FALSE: something below could not be deleted (error 5), or as the system says; what had been deleted stays deleted.
    virtual BOOL DeleteKey( LPCTSTR pPath );

    //   pName  "" is the default value.
    virtual BOOL DeleteValue( LPCTSTR pName );

    // The subkey with this index.
    //   aName, aClassName  out: up to 2046 characters. Untouched on failure (error 259: beyond the last one).
    // The subkey's time of change is kept where QueryInfo keeps the open key's; kept so.
    virtual BOOL EnumerateKeys( DWORD dwIndex, MString& aName, MString& aClassName );

    // The value with this index.
    //   aName       out: up to 2047 characters, one more than a key's; kept so.
    //   pData       out: the bytes; NULL asks for their size.
    //   dwDataSize  in: room at pData; out: size of the data.
    // On failure aName and aType are untouched. Errors: 259 beyond the last one, 234 too large.
    virtual BOOL EnumerateValues( DWORD dwIndex, MString& aName, KeyValueTypes& aType, BYTE* pData,
                                  DWORD& dwDataSize );

    // Returns when all changes so far are on the disk.
    virtual BOOL Flush();

    // The bytes of a value, whatever its type; kept so. On failure aValue is untouched, unless it could not grow.
    // A failed allocation leaves the code of GetLastError; kept so, here and in the two functions of string arrays.
    virtual BOOL GetBinaryValue( LPCTSTR pName, MByteArray& aValue );

    // The class of the open key, as the last QueryInfo read it.
    virtual void GetClassName( MString& aClassName ) const;
    virtual void GetComputerName( MString& aComputerName ) const;

    // The first four bytes of a value, whatever its type; kept so. Of a shorter value the other bytes stay as they were;
    // a longer one is error 234.
    virtual BOOL GetDoubleWordValue( LPCTSTR pName, DWORD& dwValue );

    // The code of the last operation; 0 is success.
    virtual int GetErrorCode() const;

    // The path that Open or Create last opened, as it was given.
    virtual void GetKeyName( MString& aKeyName ) const;
    // As the last QueryInfo counted.
    virtual DWORD GetNumberOfSubkeys() const;
    virtual DWORD GetNumberOfValues() const;
    virtual void GetRegistryName( MString& aRegistryName ) const;

    //   dwSize  in: room at pDescriptor; out, with error 122: the size it takes.
    virtual BOOL GetSecurity( DWORD dwSecurityInformation, void* pDescriptor, DWORD& dwSize );

    // The text of a value, whatever its type, up to its first zero. Of more than 2048 bytes, zero included: error 234.
    // On failure aValue becomes empty, for a null name too.
    virtual BOOL GetStringValue( LPCTSTR pName, MString& aValue );
    // The texts of a value, whatever its type, up to the first empty one. On failure aValue is untouched, unless memory
    // ran out on the way.
    virtual BOOL GetStringArrayValue( LPCTSTR pName, MStringArray& aValue );

    // The same four, by the type of the variable. For a null name the variable is untouched in all of them.
    virtual BOOL GetValue( LPCTSTR pName, MStringArray& aValue );
    virtual BOOL GetValue( LPCTSTR pName, MString& aValue );
    virtual BOOL GetValue( LPCTSTR pName, DWORD& dwValue );
    virtual BOOL GetValue( LPCTSTR pName, MByteArray& aValue );

    // Hangs a saved file as a key below the root; UnLoad takes one away below the open key. They are not symmetric; kept
    // so.
    virtual BOOL Load( LPCTSTR pSubKey, LPCTSTR pFile );

    // Tells of the next change of the open key.
    //   hEvent         set at the change, when fAsynchronous.
    //   fAsynchronous  FALSE: returns only when something has changed.
    virtual BOOL NotifyChange( HANDLE hEvent, NotifyChangeFilter aFilter, BOOL fWatchSubtree,
                               BOOL fAsynchronous );

    // Closes the open key, then opens one below the root and counts it with QueryInfo, whose failure does not matter,
    // though its code stays for GetErrorCode; kept so.
    //   pSubKey  "" is the root itself.
    virtual BOOL Open( LPCTSTR pSubKey, CreatePermissions aPermissions );

    // Reads the open key's class and counts its subkeys and values.
    virtual BOOL QueryInfo();

    // A value's type and bytes; all values are read through this.
    //   aType  out, on success only. What stands in it before is not compared with the value's type.
    //   pData  out: the bytes; NULL asks for their size.
    //   dwSize in: room at pData; out: size of the data, that needed with error 234.
    virtual BOOL QueryValue( LPCTSTR pName, KeyValueTypes& aType, BYTE* pData, DWORD& dwSize );

    // Puts a saved file in the place of a key's content, keeping the old content in another file.
    virtual BOOL Replace( LPCTSTR pSubKey, LPCTSTR pNewFile, LPCTSTR pOldFile );
    // Makes the open key's content what a saved file holds.
    virtual BOOL Restore( LPCTSTR pFile, DWORD dwFlags );
    // Writes the open key and all below it to a new file.
    virtual BOOL Save( LPCTSTR pFile, SECURITY_ATTRIBUTES* pSecurity );

    virtual BOOL SetBinaryValue( LPCTSTR pName, const MByteArray& aValue );
    virtual BOOL SetDoubleWordValue( LPCTSTR pName, DWORD dwValue );
    virtual BOOL SetSecurity( const DWORD& dwSecurityInformation, void* pDescriptor );
    // With the terminating zero.
    virtual BOOL SetStringValue( LPCTSTR pName, const MString& aValue );
    // Each text with its zero, then one more zero. An empty text in the middle ends the array for whoever reads it.
    virtual BOOL SetStringArrayValue( LPCTSTR pName, const MStringArray& aValue );

    // A value of any type; all values are written through this. Null data is error 87, whatever the size.
    virtual BOOL SetValue( LPCTSTR pName, KeyValueTypes aType, BYTE* pData, DWORD dwSize );
    // The four typed writers, by the type of the value.
    virtual BOOL SetValue( LPCTSTR pName, const MString& aValue );
    virtual BOOL SetValue( LPCTSTR pName, const MStringArray& aValue );
    virtual BOOL SetValue( LPCTSTR pName, DWORD dwValue );
    virtual BOOL SetValue( LPCTSTR pName, const MByteArray& aValue );

    virtual BOOL UnLoad( LPCTSTR pSubKey );

protected:
    // For derived classes that override operations.
    HKEY m_hKey;         // the open key; NULL when there is none
    HKEY m_hRegistryKey; // the root; NULL when not connected
    LONG m_lErrorCode;
    MString m_aClassName;
    MString m_aComputerName;
    MString m_aKeyName;
    MString m_aRegistryName;
    DWORD m_dwNumberOfSubkeys;
    DWORD m_dwNumberOfValues;
    DWORD m_dwLongestSubkeyName;
    DWORD m_dwLongestClassName;
    DWORD m_dwLongestValueName;
    DWORD m_dwLongestValueData;
    DWORD m_dwSecurityDescriptorLength;
    FILETIME m_aLastWriteTime;

private:
    CRegistry( const CRegistry& ) = delete;
    CRegistry& operator=( const CRegistry& ) = delete;

    void m_Initialize();
    void CloseKey();
    BOOL Finish( LONG lCode );
    BOOL FailForMemory();
};
