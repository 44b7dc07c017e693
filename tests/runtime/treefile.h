// A tree file as the tests use it, and the place of one.
#pragma once

#include "runtime/rwbtreeondisk.h"
#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

struct TreeFile
{
    explicit TreeFile( const std::string& strPath, const char* pMode = NULL, unsigned uKeyLength = 16 )
        : aFile( strPath.c_str(), pMode ),
          aTree( aFile, 10, RWBTreeOnDisk::autoCreate, uKeyLength )
    {
    }

    // Saves a text and inserts its key, as callers do.
    bool Put( const std::string& strKey, const std::string& strText )
    {
        const RWCString aText( strText.data(), strText.size() );
        const RWoffset lPlace = aFile.allocate( static_cast<unsigned long>( strText.size() + 4 ) );
        aFile.SeekTo( lPlace );
        aText.saveOn( aFile );
        return aTree.insertKeyAndValue( strKey.c_str(), lPlace );
    }
    std::optional<std::string> Get( const std::string& strKey )
    {
        RWCString aText;
        RWoffset lPlace = RWNIL;
        if ( !aTree.findKeyAndValue( strKey.c_str(), aText, lPlace ) )
            return {};
        aFile.SeekTo( lPlace );
        aText.restoreFrom( aFile );
        return std::string( aText.data(), aText.length() );
    }

    RWFileManager aFile;
    RWBTreeOnDisk aTree;
};

class TreeFileTest : public ::testing::Test
{
protected:
    const ScratchFolder m_aFolder;
    const std::string m_strPath = m_aFolder.Path( "tree" );
};
