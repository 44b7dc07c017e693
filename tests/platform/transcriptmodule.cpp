// A library for the module transcript to load. Nothing is marked for export, so everything is exported.

extern "C" int nTranscriptData;
extern "C" int CountTranscriptCalls();

int nTranscriptData = 42;

int CountTranscriptCalls()
{
    static int nCalls = 0;
    return ++nCalls;
}
