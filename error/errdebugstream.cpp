// An error stream in the debug messages, translated.
#include "core/callreport.h"
#include "error/errclienttexts.h"

#include <bxtools/cerror.h>
#include <bxtools/debug.h>
#include <bxtools/errclient.h>
#include <bxtools/error.h>

namespace
{

// Appends what is printed of a record; a text that cannot be had is reported and left out.
void BuildErrStream4Print( ErrObjectClient& aErrObjectClient, MString& aTransText )
{
    CallReport aReport(
        "From static void BuildErrStream4Print( ErrObjectClient& aErrObjectClient, MString& aTransText )" );
    MString aTransText1;
    if ( aErrObjectClient.GetTranslatedErrText( aTransText1 ) )
        AppendTexts( aTransText, { "\r\n", ViewOf( aTransText1 ) } );
    else
        aReport.Fail( " Error: !aErrObjectClient.GetTranslatedErrText( aTransText1 )" );
    if ( aReport.Failed() )
        aReport.ReportNow();
    MString aTransText2;
    if ( aErrObjectClient.GetDetailsErrText( aTransText2 ) )
        AppendTexts( aTransText, { "\r\n", ViewOf( aTransText2 ) } );
    else
        aReport.Fail( " Error: !aErrObjectClient.GetDetailsErrText( aTransText2 )" );
}

// Appends what is printed of all records, in one pass over the stream.
void AppendRecords( CallReport& aReport, MString& rText, std::string_view aErrStream )
{
    ErrStreamReader aReader( aErrStream );
    ErrObjectClient aErrObjectClient;
    MString aRecord;
    for ( std::string_view aRecordText; aReader.Next( aRecordText ); )
    {
        aRecord.RWCString::assign( aRecordText.data(), aRecordText.size() );
        if ( aErrObjectClient.FromStream( aRecord ) )
        {
            BuildErrStream4Print( aErrObjectClient, rText );
            continue;
        }
        aReport.Fail( " Error: !Error2ObjectFromStream( aErrObjectClient, i, aErrStream )" );
        aReport.ReportNow();
    }
}

} // namespace

DLL_EXPORT_MOD BOOL DLL_EXPORT OnDebugErrorStream( const MString& aErrStream, const MString& aModName,
                                                   const MString& aHeader, const MString& aOutText )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT OnDebugErrorStream( const MString& aErrStream, const MString& aModName, const MString& aHeader, const MString& aOutText )" );
    return aReport.Guard(
        [&]() -> BOOL
        {
            MString aText;
            if ( !IsErrorStream( aErrStream ) )
                AppendTexts( aText, { ViewOf( aOutText ), ViewOf( aErrStream ), "\r\n" } );
            else
            {
                ULONG ulCount = 0;
                if ( !GetAvailableErrorCountFromStream( ulCount, aErrStream ) || ulCount == 0 )
                    return aReport.Fail( " Error: ulCount == 0 -> wrong format for aErrStream" );
                // Where nobody reads it, nothing is translated.
                if ( !IsDbgMessage() )
                    return TRUE;
                AppendTexts( aText, { ViewOf( aOutText ), "\r\n" } );
                AppendRecords( aReport, aText, ViewOf( aErrStream ) );
                AppendTexts( aText, { "\r\n" } );
            }
            DebugMessage( aModName, aHeader, aText );
            return TRUE;
        } );
}
