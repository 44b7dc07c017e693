#include "examples/tour/workers.h"

#include <bxtools/error.h>
#include <bxtools/platform.h>

#include <cerrno>
#include <cstdio>

namespace
{

// The class of the tour's own errors: the group SETTINGS of the language file TOUR.CSV, whose keys are the numbers.
const char SETTINGS_CLASS[] = "TOUR.SETTINGS";
const ERR SETTINGS_NOT_READ = 1;

// An error of the C run-time library: its class is errno, its number the errno. The origin text stays empty, so that
// the record takes the run-time library's own text. What it means for the program is an error of the program's own.
void OpenSettings( const char* pFileName, const char* pMode )
{
    FILE* pFile = fopen( pFileName, pMode );
    if ( pFile != NULL )
    {
        fclose( pFile );
        return;
    }
    const int nError = errno;
    SetLastErr( ERRCLS_SYS_ERRNO, nError, 0, MString(), "settings: cannot open the file", MString() );
    // One parameter for each conversion: the message that a translation shows has a place for each.
    MString aParameters;
    SetErrorTextParams( aParameters, "%s%s", pFileName, pMode );
    SetLastErr( SETTINGS_CLASS, SETTINGS_NOT_READ, 0, "no settings", "settings: the defaults apply",
                aParameters );
}

// An error of the system: the class is last error. Its number is the program's own, a key among its messages; the
// system's number goes beside it. Given as 0, it is taken from GetLastError, which is 0 again afterwards.
void SetPlugInError( const char* pCall, const char* pMissing )
{
    const ERR PLUG_IN_NOT_LOADED = 12;
    SetLastErr( ERRCLS_SYS_LASTERROR, PLUG_IN_NOT_LOADED, 0, pCall, "plug-ins: one plug-in less", pMissing );
}

// An error of an interface that speaks HRESULTs: the number is the whole code.
void SetHResultError( const char* pCall, const MString& aParameters )
{
    const HRESULT hResult = MAKE_HRESULT( SEVERITY_ERROR, FACILITY_WIN32, GetLastError() );
    SetLastErr( ERRCLS_SYS_HRESULT, hResult, 0, pCall, "texts: the text is left out", aParameters );
}

} // namespace

void ReadSettings()
{
    OpenSettings( "no-such-settings.ini", "r" );
    OpenSettings( ".", "w" );
}

void LoadPlugIns()
{
    const char szLibrary[] = "NOSUCHPLUGIN.DLL";
    const char szFunction[] = "NoSuchFunction";
    if ( HMODULE hModule = LoadLibraryA( szLibrary ) )
        FreeLibrary( hModule );
    else
        SetPlugInError( "LoadLibraryA", szLibrary );
    if ( GetProcAddress( GetModuleHandleA( NULL ), szFunction ) == NULL )
        SetPlugInError( "GetProcAddress", szFunction );
}

void ConvertTexts()
{
    const char szNoText[] = "caf\xE9";
    WCHAR aWide[16];
    MString aParameters;
    if ( MultiByteToWideChar( CP_UTF8, MB_ERR_INVALID_CHARS, szNoText, -1, aWide, 16 ) == 0 )
    {
        // Parameters can also be collected one by one.
        AddErrorTextParams( aParameters, "caf?", aParameters );
        AddErrorTextParams( aParameters, static_cast<int>( sizeof( szNoText ) ), aParameters );
        SetHResultError( "MultiByteToWideChar", aParameters );
    }
    if ( !CloseHandle( NULL ) )
        SetHResultError( "CloseHandle", MString() );
}

WorkerThread::WorkerThread( const Worker& rWorker )
    : m_rWorker( rWorker ),
      m_hWakeUp( CreateEventA( NULL, FALSE, FALSE, NULL ) )
{
}

WorkerThread::~WorkerThread()
{
    CloseHandle( m_hWakeUp );
}

// Whenever this returns, the thread is at its safe point: the errors left on its stack are taken over, and it stops if it
// was asked to.
bool WorkerThread::Execute( SingleThread* )
{
    if ( m_fDone )
        WaitForSingleObject( m_hWakeUp, INFINITE );
    else
        m_rWorker.pWork();
    m_fDone = true;
    return true;
}

void WorkerThread::OnNotify( bool fStop )
{
    if ( fStop )
        SetEvent( m_hWakeUp );
}
