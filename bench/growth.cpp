// What one record costs in a stream of 60,000 of them, beside the same in a stream of 70: times are those of one record,
// and the peer is this library at 70 records. A stream of 60,000 records has 6.2 MB, so that the long run also pays for
// leaving the core's caches.
#include "measure.h"
#include "streamsample.h"

#include <bxtools/error.h>

struct Names
{
    const char* m_pCount;
    const char* m_pFind;
    const char* m_pReverse;
    const char* m_pAppend;
};

static void RegisterAt( size_t ulRecords, const Names& aNames )
{
    const std::vector<SampleRecord> aRecords = MakeSampleRecords( ulRecords );
    const std::string strStream = StreamOf( aRecords );
    const MString aStream( strStream.c_str() );
    const auto lItems = static_cast<benchmark::IterationCount>( ulRecords );
    ErrObjectBase aLast;
    aLast.FromStream( TextOf( aRecords.back() ).c_str() );
    // The texts appended are the same 70 in either length, so that only the stream's own length tells.
    std::vector<MString> aTexts;
    for ( size_t i = 0; i < STACK_RECORDS; ++i )
        aTexts.push_back( TextOf( MakeSampleRecords( i + 2 )[i] ).c_str() );
    const MString aLastText( TextOf( aRecords.back() ).c_str() );

    Measure(
        aNames.m_pCount, std::to_string( ulRecords ) + "\n",
        [aStream]( auto& rUse )
        {
            ULONG ulCount = 0;
            GetAvailableErrorCountFromStream( ulCount, aStream );
            rUse( ulCount );
        },
        lItems );
    Measure(
        aNames.m_pFind, std::to_string( ulRecords - 1 ) + "\n",
        [aStream, aLast]( auto& rUse ) mutable
        {
            ULONG ulIndex = 0;
            FindObjectInStream( ulIndex, aLast, aStream );
            rUse( ulIndex );
        },
        lItems );
    Measure(
        aNames.m_pReverse, ReverseStreamOf( aRecords ) + "\n",
        [aReversed = aStream]( auto& rUse ) mutable
        {
            ReverseStream( aReversed );
            rUse( aReversed.data() );
        },
        lItems );
    Measure(
        aNames.m_pAppend, strStream + "\n",
        [aTexts, aLastText, ulRecords]( auto& rUse )
        {
            MString aBuilt( ERRSTREAM_HEADER );
            for ( size_t i = 0, ulText = 0; i + 1 < ulRecords; ++i )
            {
                Append2Stream( aBuilt, aTexts[ulText] );
                ulText = ulText + 1 == STACK_RECORDS ? 0 : ulText + 1;
            }
            Append2Stream( aBuilt, aLastText );
            rUse( aBuilt.data() );
        },
        lItems );
}

void RegisterGrowthMeasurements()
{
    RegisterAt( STACK_RECORDS, { "growth/count/at-70", "growth/find/at-70", "growth/reverse/at-70",
                                 "growth/append/at-70" } );
    RegisterAt( MANY_RECORDS, { "growth/count/bxtools", "growth/find/bxtools", "growth/reverse/bxtools",
                                "growth/append/bxtools" } );
}
