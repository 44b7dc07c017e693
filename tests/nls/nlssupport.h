// What the tests of the texts have in common: a folder of language files, and settings that lead there.
#pragma once

#include "support/recorder.h"
#include "support/scratchfolder.h"

#include <bxtools/nls.h>
#include <bxtools/nlsserver.h>
#include <bxtools/platform.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

// The country of the system, where its variables tell it; on Windows it stays that of the user.
inline void UseLocale( const char* pLocale )
{
    // The environment keeps the text itself.
    static char szVariable[40];
    std::snprintf( szVariable, sizeof( szVariable ), "LC_ALL=%s", pLocale );
    putenv( szVariable );
}

class NlsTest : public ::testing::Test
{
protected:
    NlsTest()
    {
        UseLocale( "de_DE.UTF-8" );
        MString stCode;
        GetLocaleString( LOCALE_ICOUNTRY, stCode );
        m_usCode = stCode.toUS();
        CheckCountryCode( &m_usCode, &stCode, TRUE );
        m_strCode = stCode.data();
        m_strHeader = "Key;Here=" + m_strCode + ";There=044\r\n";
        m_aSettings.fEditMode = TRUE;
        m_aSettings.stLanguagePath = m_aFolder.Path().c_str();
    }
    ~NlsTest() override
    {
        SetNlsSettings( NULL );
        UseLocale( "" );
    }

    void WriteFile( const std::string& strName, const std::string& strText )
    {
        WriteBytes( m_aFolder.Path( strName ), strText );
    }
    // Makes a release file of pairs, and the settings in force those that read it.
    void Release( const std::vector<std::pair<std::string, std::string>>& aPairs )
    {
        m_aSettings.fEditMode = FALSE;
        const std::string strFile = m_aFolder.Path() + MYCH_DELIMDIR + "new" + MYCH_DELIMDIR + "texts.nls";
        m_aSettings.stReleaseFile = strFile.c_str();
        NLSServer aWriter( 40, m_aSettings.stReleaseFile );
        ASSERT_TRUE( aWriter.IsStatusOk() );
        for ( const auto& rPair : aPairs )
            EXPECT_TRUE( aWriter.WriteStringValue( rPair.first.c_str(), rPair.second.c_str() ) );
        SetNlsSettings( &m_aSettings );
    }
    static std::string Load( const char* pSec, const char* pKey, const char* pSecCom = "" )
    {
        return LoadNlsString( pSec, pSecCom, pKey ).data();
    }

    ScratchFolder m_aFolder;
    USHORT m_usCode = 0; // the system's
    std::string m_strCode;
    std::string m_strHeader;
    NlsSettings m_aSettings;
};
