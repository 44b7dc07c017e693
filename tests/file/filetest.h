// What the tests of the file classes have in common: a folder, and a recorder to which every file reports.
#pragma once

#include "support/recorder.h"
#include "support/scratchfolder.h"

#include <bxtools/file.h>

#include <gtest/gtest.h>

#include <string>

class FileTest : public ::testing::Test
{
protected:
    std::string Path( const std::string& strName ) const { return m_aFolder.Path( strName ); }
    // Whether a call failed and reported so, once.
    ::testing::AssertionResult Failed( BOOL fDone, const std::string& strHeader, const std::string& strText )
    {
        const ::testing::AssertionResult aReported = m_aRecorder.OnlyReport( strHeader, strText );
        return fDone ? ::testing::AssertionFailure() << "it was done" : aReported;
    }

    const ScratchFolder m_aFolder;
    HookRecorder m_aRecorder;
};

class TestFile : public MFileWrapper
{
public:
    explicit TestFile( int nType = FILE_TYPE_CFILE ) : MFileWrapper( nType, &HookRecorder::Debug, NULL ) {}
    TestFile( const std::string& strPath, UINT uOpenFlags ) : TestFile()
    {
        EXPECT_TRUE( MyOpen( strPath.c_str(), uOpenFlags ) ) << strPath;
    }
    DWORD Position()
    {
        DWORD dwPosition = 0;
        EXPECT_TRUE( MyGetPosition( &dwPosition ) );
        return dwPosition;
    }
    // The next line with its line feed; "" where there is none or no room for it.
    std::string Line( UINT unRoom = 20 )
    {
        std::string strBuffer( unRoom + 1, '#' );
        UINT unSize = unRoom;
        const BOOL fLine = MyGetLine( strBuffer.data(), &unSize, '\n' );
        const size_t uLength = fLine ? strBuffer.find( '\n' ) + 1 : 0;
        EXPECT_EQ( '\0', strBuffer[uLength] );
        EXPECT_TRUE( unSize == unRoom && strBuffer.back() == '#' ) << "beyond the room";
        return strBuffer.substr( 0, uLength );
    }
};
