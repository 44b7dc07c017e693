// An INI file as the programs see it. All of it throws a ToolFailure that names the file and the system's reason.
#pragma once

#include <optional>
#include <string>
#include <vector>

class IniFile
{
public:
    // A name without a folder is one in the current folder.
    explicit IniFile( const std::string& aName );

    // The file must be there to be read. Of names that stand there more than once, without regard to the case of ASCII
    // letters, the first one counts.
    std::optional<std::string> Read( const std::string& aGroup, const std::string& aKey ) const;
    std::vector<std::string> GetKeys( const std::string& aGroup ) const;
    std::vector<std::string> GetGroups() const;
    bool HasGroup( const std::string& aGroup ) const;

    // So that Read gives the very value. A ToolFailure tells of names and values that no line can carry.
    void Set( const std::string& aGroup, const std::string& aKey, const std::string& aValue ) const;
    // The first of the name.
    void DeleteKey( const std::string& aGroup, const std::string& aKey ) const;
    void DeleteGroup( const std::string& aGroup ) const;

    // "[group]", or with a key "[group] key", of the file, for messages.
    std::string TitleOf( const std::string& aGroup ) const;
    std::string TitleOf( const std::string& aGroup, const std::string& aKey ) const;

private:
    std::string ReadRaw( const char* pGroup, const char* pKey, const char* pDefault, size_t nMissing ) const;
    std::vector<std::string> ReadList( const char* pGroup ) const;
    void Write( const char* pGroup, const char* pKey, const char* pValue ) const;

    std::string m_aName;
    std::string m_aPath;
};

// Equal, or different in the case of ASCII letters only.
bool AreEqualNames( const std::string& aLeft, const std::string& aRight );
// The form that equal names share.
std::string Folded( std::string aName );
