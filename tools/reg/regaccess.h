// The registry, read and changed. All of it throws a ToolFailure that names the key and the system's reason; a key or
// value that is not there is the answer No.
#pragma once

#include "tools/reg/keypath.h"
#include "tools/reg/regvalue.h"

#include <bxtools/platform.h>

#include <string>
#include <utility>

// An open key.
class OpenedKey
{
public:
    OpenedKey( const KeyPath& rPath, REGSAM dwAccess );
    // Makes the key, if it is not there.
    static OpenedKey Make( const KeyPath& rPath );
    ~OpenedKey() { Close(); }
    OpenedKey( OpenedKey&& rOther ) noexcept : m_aPath( std::move( rOther.m_aPath ) ), m_hKey( rOther.m_hKey )
    {
        rOther.m_hKey = NULL;
    }
    OpenedKey& operator=( OpenedKey&& ) = delete;

    HKEY Get() const { return m_hKey; }
    RegValue Read( const std::string& aName ) const;
    void Set( const RegValue& rValue ) const;
    // Result: whether there was such a value.
    bool Delete( const std::string& aName ) const;

private:
    OpenedKey( const KeyPath& rPath, HKEY hKey ) : m_aPath( rPath ), m_hKey( hKey ) {}
    void Close();

    KeyPath m_aPath;
    HKEY m_hKey = NULL;
};

enum class TreeDepth
{
    NamesBelow, // of the keys directly below the names only
    AllBelow,
};

// A key with its values and what is below it. What cannot be read there has its error; what is gone meanwhile is not
// there.
RegTree ReadTree( const KeyPath& rPath, TreeDepth aDepth );

// Tells the user of the keys that could not be read. Result: whether there are any.
bool NameUnread( const KeyPath& rPath, const RegTree& rTree );

// How many keys and values are below a key; a key's own values count.
struct TreeCount
{
    size_t nKeys = 0;
    size_t nValues = 0;
};
TreeCount CountTree( const RegTree& rTree );

// Deletes a key with everything below it. Result: whether there was such a key.
bool DeleteTree( const KeyPath& rPath );
// Deletes a key without subkeys. Result: likewise.
bool DeleteKeyAlone( const KeyPath& rPath );

// "value "NAME" of KEY", as messages call it.
std::string ValueTitle( const KeyPath& rPath, const std::string& aName );
[[noreturn]] void ThrowRegistryFailure( LONG lError, const std::string& aWhat, bool fWriting );
