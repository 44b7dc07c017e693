// A folder of a test's own.
#pragma once

#include <string>

// Makes an empty folder that no other test uses, and removes one with all that is in it.
std::string MakeScratchFolder();
void RemoveScratchFolder( const std::string& strFolder );

class ScratchFolder
{
public:
    ScratchFolder() : m_strPath( MakeScratchFolder() ) {}
    ~ScratchFolder() { RemoveScratchFolder( m_strPath ); }
    ScratchFolder( const ScratchFolder& ) = delete;
    ScratchFolder& operator=( const ScratchFolder& ) = delete;

    // Absolute, without a separator at its end.
    const std::string& Path() const { return m_strPath; }
    // The path of a file or folder in it.
    std::string Path( const std::string& strName ) const { return m_strPath + "/" + strName; }

private:
    std::string m_strPath;
};

// A whole file as bytes, for formats that are written by hand and read back.
void WriteBytes( const std::string& strPath, const std::string& strBytes );
std::string ReadBytes( const std::string& strPath );
