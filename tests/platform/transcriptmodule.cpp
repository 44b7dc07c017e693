// A library for the module transcript to load.

#if defined( _WIN32 )
#define EXPORTED extern "C" __declspec( dllexport )
#else
#define EXPORTED extern "C" __attribute__( ( visibility( "default" ) ) )
#endif

EXPORTED int nTranscriptData;
int nTranscriptData = 42;

EXPORTED int CountTranscriptCalls();
int CountTranscriptCalls()
{
    static int nCalls = 0;
    return ++nCalls;
}
