// A folder of language files, as a test's process reads its texts.
#pragma once

#include <bxtools/nlsserver.h>

#include <string>

// Until SetNlsSettings is called again.
inline void UseLanguageFiles( const std::string& strFolder, USHORT usCountryCode )
{
    NlsSettings aSettings;
    aSettings.fEditMode = TRUE;
    aSettings.stLanguagePath = strFolder.c_str();
    aSettings.usCountryCode = usCountryCode;
    SetNlsSettings( &aSettings );
}
