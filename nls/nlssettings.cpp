// The settings of a server: those that the program has given, or the registry's; and what becomes of them.
#include "nls/nlssettings.h"

#include "config/settingskey.h"
#include "core/callreport.h"
#include "core/guards.h"
#include "nls/countrycode.h"
#include "nls/nlsperthread.h"

#include <bxtools/nlsserver.h>
#include <bxtools/path.h>
#include <bxtools/platform.h>
#include <bxtools/registry.h>

#include <cstddef>
#include <new>
#include <optional>

namespace
{

// What is to become the settings of a server.
struct FoundSettings
{
    BOOL fDebugMessages = FALSE;
    BOOL fEditMode = FALSE;
    MString stLanguagePath;
    MString stReleaseFile;
    std::optional<ULONG> ulCountryCode; // as found, whatever it is; the system's without it
};

// The settings that the program has given.
class ProcessSettings
{
public:
    // Takes them over, or takes those there are away.
    void Set( const NlsSettings* pSettings )
    {
        const NlsSettings* pOld = NULL;
        {
            const LockGuard aLock( m_aSection );
            pOld = m_pSettings;
            m_pSettings = pSettings;
        }
        delete pOld;
    }

    // Result: FALSE when there are none.
    BOOL Get( FoundSettings& rSettings )
    {
        const LockGuard aLock( m_aSection );
        if ( m_pSettings == NULL )
            return FALSE;
        rSettings.fDebugMessages = m_pSettings->fDebugMessages;
        rSettings.fEditMode = m_pSettings->fEditMode;
        rSettings.stLanguagePath = m_pSettings->stLanguagePath;
        rSettings.stReleaseFile = m_pSettings->stReleaseFile;
        if ( m_pSettings->usCountryCode != 0 )
            rSettings.ulCountryCode = m_pSettings->usCountryCode;
        return TRUE;
    }

private:
    CriticalSection m_aSection;
    const NlsSettings* m_pSettings BX_GUARDED_BY( m_aSection ) = NULL;
};

// Never destroyed: threads may still ask when the process ends.
ProcessSettings& TheProcessSettings()
{
    alignas( ProcessSettings ) static std::byte aRoom[sizeof( ProcessSettings )];
    static ProcessSettings& rSettings = *new ( aRoom ) ProcessSettings;
    return rSettings;
}

// A value of the registry; FALSE with the report pText when it is missing.
BOOL ReadValue( CallReport& rReport, CRegistry& aCRegistry, LPCTSTR pName, MString& stTemp, LPCTSTR pText,
                LPCTSTR pShownName )
{
    if ( aCRegistry.GetValue( pName, stTemp ) )
        return TRUE;
    rReport.Fail( pText );
    rReport.Tail( pShownName ).Tail( pName );
    rReport.ReportNow();
    return FALSE;
}

// The folder as it is given, without one delimiter at its end; empty when it is none.
MString CheckedPath( const MString& stPath )
{
    CallReport aReport( "From QRN.INI -> CSVPath" );
    TCHAR szPath[_MAX_PATH + 1] = {}; // a path that fills its room has no zero of its own
    if ( !FileExists( stPath, FILE_ACCESS_READ, szPath, _MAX_PATH ) )
    {
        if ( !stPath.IsEmpty() )
        {
            aReport.Warn( "" );
            aReport.Tail( stPath.data() ).Tail( " Directory not found" );
        }
        return MString();
    }
    const std::string_view aPath( szPath );
    const bool fDelimited = aPath.ends_with( MYCH_DELIMDIR ) || aPath.ends_with( '\\' );
    return MString( szPath, static_cast<int>( aPath.size() - fDelimited ) );
}

void ReadValues( CallReport& rReport, CRegistry& aCRegistry, FoundSettings& rSettings )
{
    MString stTemp;
    if ( ReadValue( rReport, aCRegistry, QRN_CTRL_REG_NLS_EDITMODE, stTemp,
                    " Error: !aCRegistry.GetValue( QRN_CTRL_REG_NLS_EDITMODE, stTemp )",
                    " QRN_CTRL_REG_NLS_EDITMODE = " ) )
        rSettings.fEditMode = IsSwitchedOn( stTemp );
    if ( ReadValue( rReport, aCRegistry, QRN_CTRL_REG_NLS_PATH, stTemp,
                    " Error: !aCRegistry.GetValue( QRN_CTRL_REG_NLS_PATH, stTemp )",
                    " QRN_CTRL_REG_NLS_PATH = " ) )
        rSettings.stLanguagePath = CheckedPath( stTemp );
    if ( ReadValue( rReport, aCRegistry, QRN_CTRL_REG_NLS_LANGUAGE, stTemp,
                    " Error: !aCRegistry.GetValue( QRN_CTRL_REG_NLS_LANGUAGE, stTemp )",
                    " QRN_CTRL_REG_NLS_LANGUAGE = " ) )
        rSettings.ulCountryCode = static_cast<ULONG>( stTemp );
}

void ReadRegistry( CallReport& rReport, FoundSettings& rSettings )
{
    CRegistry aCRegistry;
    if ( OpenSettingsKey( rReport, aCRegistry, NLS_SETTINGS_KEY ) )
        ReadValues( rReport, aCRegistry, rSettings );
}

} // namespace

void DLL_EXPORT SetNlsSettings( const NlsSettings* pSettings )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD void DLL_EXPORT SetNlsSettings( const NlsSettings* pSettings )" );
    const LastErrorGuard aLastError;
    const NlsSettings* pNewSettings = NULL;
    if ( pSettings != NULL )
    {
        pNewSettings = new ( std::nothrow ) NlsSettings( *pSettings );
        if ( pNewSettings == NULL )
        {
            aReport.Fail( " Error: pNewSettings = new NlsSettings( *pSettings ) failed" );
            return;
        }
    }
    TheProcessSettings().Set( pNewSettings );
    DropNLSServer();
}

BOOL GetNlsContentsFromIniFile( BOOL* pfDebugMessages, BOOL* pfEditMode, MString* pstIniFile,
                                MString* pstCSVFilesPath, MString* pstReleaseFile, MString* pstCountryCode )
{
    CallReport aReport( "From void GetNlsContentsFromIniFile(...)" );
    FoundSettings aSettings;
    if ( TheProcessSettings().Get( aSettings ) )
        aSettings.stLanguagePath = CheckedPath( aSettings.stLanguagePath );
    else
        ReadRegistry( aReport, aSettings );
    *pfDebugMessages = aSettings.fDebugMessages;
    *pfEditMode = aSettings.fEditMode;
    *pstCSVFilesPath = aSettings.stLanguagePath;
    pstIniFile->Empty();
    *pstReleaseFile = aSettings.stReleaseFile;
    USHORT usCountryCode = 0;
    const ULONG ulCountryCode = aSettings.ulCountryCode.value_or( GetSystemCountryCode() );
    *pstCountryCode = static_cast<unsigned long>( ulCountryCode );
    CheckCountryCode( &usCountryCode, pstCountryCode, TRUE );
    return TRUE;
}
