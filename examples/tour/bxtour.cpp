// The tour: a client of the library whose threads really fail. Their errors travel as text to this thread, and on to
// a second process that shows them to a person.

#include "examples/tour/bytepipe.h"
#include "examples/tour/narrate.h"
#include "examples/tour/settings.h"
#include "examples/tour/translate.h"
#include "examples/tour/workers.h"

#include <bxtools/debug.h>
#include <bxtools/error.h>
#include <bxtools/platform.h>
#include <bxtools/registry.h>
#include <bxtools/thread.h>

#include <cstdio>
#include <deque>
#include <filesystem>
#include <thread>
#include <utility>

namespace
{

constexpr char STREAM_FILE[] = "tour.stream";
constexpr char READER_NAME[] = "bxtour-reader";
constexpr char EDITOR_NAME[] = "bxtour-editor";

// ---- the errors of the threads ----------------------------------------------------------------------------------

// A worker and its thread, which ends before it.
struct Running
{
    explicit Running( const Worker& rWorker ) : aWork( rWorker ), aThread( &aWork ) {}
    WorkerThread aWork;
    SingleThread aThread;
};

unsigned CountErrors( const MString& aStream )
{
    ULONG ulCount = 0;
    GetAvailableErrorCountFromStream( ulCount, aStream );
    return static_cast<unsigned>( ulCount );
}

// Adds all errors of one stream to another. Append2Stream takes the text of one record; given a whole stream it would
// keep that one only.
void AppendStream( MString& rStream, const MString& aFurther )
{
    if ( rStream.IsEmpty() )
    {
        rStream = aFurther;
        return;
    }
    for ( ULONG ulIndex = 0; ulIndex < CountErrors( aFurther ); ulIndex++ )
    {
        ErrObjectBase aError;
        MString aRecord;
        if ( Error2ObjectFromStream( aError, ulIndex, aFurther ) && aError.ToStream( aRecord ) )
            Append2Stream( rStream, aRecord );
    }
}

// The errors of a thread are on its own stack, which no other thread sees. At each safe point its SingleThread takes them
// along as a stream.
MString CollectErrors()
{
    Narrate( "1. Three workers start, each on a thread of its own, and each of them fails:" );
    std::deque<Running> aCrew;
    for ( const Worker& rWorker : WORKERS )
    {
        Narrate( "     %-9s %s", rWorker.pName, rWorker.pStory );
        aCrew.emplace_back( rWorker ).aThread.Begin();
    }

    Narrate(
        "\n2. Each is stopped at its safe point and hands over its errors as one text, an error stream:" );
    MString aAll;
    for ( size_t i = 0; i < aCrew.size(); i++ )
    {
        MString aStream;
        aCrew[i].aThread.Stop( false, false );
        aCrew[i].aThread.AllErrors2Stream( aStream );
        AppendStream( aAll, aStream );
        Narrate( "     %-9s %u errors in %zu bytes", WORKERS[i].pName, CountErrors( aStream ),
                 aStream.GetLength() );
    }
    Narrate( "     %-9s %u errors in %zu bytes", "together", CountErrors( aAll ), aAll.GetLength() );
    unsigned uEnded = 0;
    for ( Running& rRunning : aCrew )
        uEnded += rRunning.aThread.Continue() && rRunning.aThread.End( INFINITE, false );
    Narrate( "   They go on, and %u of %u end when they are told to.", uEnded,
             static_cast<unsigned>( aCrew.size() ) );
    return aAll;
}

// A stream is bytes, not lines of text: the file is binary.
bool SaveStream( const MString& aStream )
{
    FILE* pFile = fopen( STREAM_FILE, "wb" );
    if ( pFile == NULL )
        return false;
    const size_t nWritten = fwrite( aStream.data(), 1, aStream.GetLength(), pFile );
    return fclose( pFile ) == 0 && nWritten == aStream.GetLength();
}

// ---- the second process -----------------------------------------------------------------------------------------

std::filesystem::path OwnPath()
{
    char szPath[4096] = "";
    GetModuleFileNameA( NULL, szPath, sizeof( szPath ) );
    return szPath;
}

// The other programs of the tour lie beside this one and have its ending.
MString FindBeside( const char* pName )
{
    std::filesystem::path aPath = OwnPath();
    aPath.replace_filename( pName + aPath.extension().string() );
    return aPath.string().c_str();
}

bool ShowInSecondProcess( const MString& aStream )
{
    Narrate( "\n3. A second process, %s, gets the stream through a pipe and shows it:", READER_NAME );
    const MString aReader = FindBeside( READER_NAME );
    const int nResult = RunReader( aReader, aStream );
    if ( nResult != 0 )
        Narrate( "     %s could not show it (result %d)", aReader.data(), nResult );
    return nResult == 0;
}

// ---- the library's own messages ---------------------------------------------------------------------------------

void DLL_EXPORT PrintReport( LPCTSTR pHeader, LPCTSTR pMessage )
{
    Narrate( "     %s\n       %s", pHeader, pMessage );
}

void ShowReport()
{
    Narrate(
        "\n4. A call that fails sends one report: who, and what failed. This one went to a hook of ours:" );
    MString aCount( "twelve" );
    aCount.SetFuncPtr( PrintReport, NULL );
    aCount.SetSafeMode( TRUE );
    const int nCount = aCount;
    Narrate( "     \"%s\" as a number is %d, the value that says: none.", aCount.data(), nCount );
}

void OverflowStack()
{
    Narrate(
        "\n5. A stack keeps the first %u errors of a cascade. Without a hook, a report is a debug message for whoever",
        static_cast<unsigned>( MAX_ERRORS_ONSTACK ) );
    Narrate( "   watches (messages are %s):", IsDbgMessage() ? "on" : "off" );
    int nError = 0;
    while ( SetLastErr( "TOUR.CASCADE", nError, 0, "one thing leads to another", MString(), MString() ) )
        nError++;
    Narrate( "     Error number %d was not taken any more.", nError + 1 );
    ClearErrors();
}

// ---- messages switched off and on -------------------------------------------------------------------------------

// As an administrator does with bxtool debug: the setting is stored, and all running processes follow at once.
bool SwitchMessages( LPCTSTR pOut )
{
    CRegistry aRegistry;
    if ( !aRegistry.Connect( (HKEY)CRegistry::keyLocalMachine ) ||
         !aRegistry.Create( "Software\\Q.R.N. GmbH\\brindlex\\1.0\\DBG" ) ||
         !aRegistry.SetValue( "Out", MString( pOut ) ) || !aRegistry.SetValue( "Level", MString( "0" ) ) )
        return false;
    OnGlobalValuesChanged();
    return true;
}

void SwitchOffAndOn()
{
    Narrate( "\n6. Debug messages are switched for all processes at once:" );
    for ( const char* pOut : { "No", "Yes" } )
    {
        if ( !SwitchMessages( pOut ) )
        {
            Narrate( "     the settings cannot be written here" );
            return;
        }
        Narrate( "     they are %s",
                 IsDbgMessage() ? "on again, and this one is seen" : "off, and this one is not seen" );
        DebugMessage( "BXTOUR", "From SwitchOffAndOn()", IsDbgMessage() ? "switched on" : "switched off" );
    }
}

// ---- settings that two processes edit at once -------------------------------------------------------------------

bool EditAtOnce()
{
    Narrate( "\n7. Two processes, both %s, edit one settings file at once, %d times each:", EDITOR_NAME,
             EDITS_OF_EACH );
    std::error_code aNoneOfAnEarlierTour;
    std::filesystem::remove( SETTINGS_FILE, aNoneOfAnEarlierTour );
    const MString aEditor = FindBeside( EDITOR_NAME );
    int nFirst = -1;
    std::thread aFirst( [&] { nFirst = RunReader( aEditor, "first" ); } );
    const int nSecond = RunReader( aEditor, "second" );
    aFirst.join();
    const SettingsSum aSum = SumSettings();
    const bool fAll =
        nFirst == 0 && nSecond == 0 && aSum.nCounted == 2 * EDITS_OF_EACH && aSum.nKeys == aSum.nCounted;
    Narrate( "     %d edits were counted, and %d keys added: %s", aSum.nCounted, aSum.nKeys,
             fAll ? "nothing was lost" : "that is not all" );
    return fAll;
}

// ---- the errors in the languages of their readers -----------------------------------------------------------------

bool ShowInLanguages( const MString& aStream )
{
    Narrate(
        "\n8. In the end a user reads them, in the user's language; what the system says is in its own words:" );
    const MString aTexts = OwnPath().replace_filename( "nls" ).string().c_str();
    bool fShown = true;
    for ( const auto& [usLanguage, pName] :
          { std::pair( USHORT( 49 ), "German" ), std::pair( USHORT( 44 ), "English" ) } )
    {
        Narrate( "   %s, language %d:", pName, usLanguage );
        fShown = ShowTranslated( aStream, aTexts, usLanguage ) && fShown;
    }
    return fShown;
}

} // namespace

int main()
{
    Narrate( "BXTools tour: errors that happen in threads, cross processes and are read by a person.\n" );
    const MString aStream = CollectErrors();
    const bool fSaved = SaveStream( aStream );
    const bool fShown = ShowInSecondProcess( aStream );
    ShowReport();
    OverflowStack();
    SwitchOffAndOn();
    const bool fEdited = EditAtOnce();
    const bool fTranslated = ShowInLanguages( aStream );
    if ( fSaved )
        Narrate( "\nThe stream lies in %s; \"bxtool errors show %s\" prints it as a table.", STREAM_FILE,
                 STREAM_FILE );
    return fSaved && fShown && fEdited && fTranslated ? 0 : 1;
}
