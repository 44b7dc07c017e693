// The language files that are loaded, and the way from a section to its file.
#include "core/callreport.h"

#include <bxtools/nlsserver.h>
#include <bxtools/path.h>

#include <memory>
#include <new>

namespace
{

constexpr char NO_ENTRY[] = "NoNlsEntryAvailable";
constexpr char CFG_FILE_SECTION[] = "ConfigFileSection";
constexpr char NOT_READABLE[] = " does not exist or read permission for this file is not available";

} // namespace

MyCfgFiles::MyCfgFiles( const MString& stCfgName, const MString& stCSVFilesPath )
{
    CallReport aReport( *this, "From MyCfgFiles::MyCfgFiles(...)" );
    if ( stCSVFilesPath.IsEmpty() )
    {
        if ( stCfgName.IsEmpty() )
            m_fStatus = aReport.Fail( " Error: stCfgName.IsEmpty()" );
        else if ( !BuildupAllConfigFiles( stCfgName ) )
            m_fStatus = aReport.Fail( " Error: !BuildupAllConfigFiles( stCfgName )" );
        return;
    }
    TCHAR szPath[_MAX_PATH + 1] = {}; // a path that fills its room has no zero of its own
    if ( ::FileExists( stCSVFilesPath, FILE_ACCESS_READ, szPath, _MAX_PATH ) )
    {
        m_stCSVFilesPath = szPath;
        return;
    }
    aReport.Warn( " Error: !::FileExists( stCSVFilesPath, FILE_ACCESS_READ...) -> stCSVFilesPath = " );
    aReport.Tail( stCSVFilesPath.data() );
}

BOOL MyCfgFiles::BuildupAllConfigFiles( const MString& stCfgName )
{
    CallReport aReport( *this, "From BOOL MyCfgFiles::BuildupAllConfigFiles(..)" );
    MyErrNlsInterFaceConfig aListing( stCfgName );
    aListing.SetGroup( CFG_FILE_SECTION );
    const USHORT uKeys = aListing.GetKeyCount();
    if ( uKeys == 0 )
    {
        aReport.Fail( "no files defined in File = " );
        aReport.Tail( stCfgName.data() );
        return FALSE;
    }
    for ( USHORT uKey = 0; uKey < uKeys; ++uKey )
        if ( !LoadListedFile( aReport, aListing.ReadKey( uKey, FALSE, FALSE ).GetToken( 0, ';' ) ) )
            return aReport.Fail( SEVERE_ERROR );
    return TRUE;
}

// FALSE without memory only. A file that is passed over is reported.
BOOL MyCfgFiles::LoadListedFile( CallReport& rReport, const MString& aPath )
{
    const BOOL fLoaded = IsLoaded( aPath );
    if ( !fLoaded && FileExists( aPath, FILE_ACCESS_READ, NULL, 0 ) )
        return Load( aPath ) != NULL;
    rReport.Warn( " File = " );
    rReport.Tail( aPath.data() ).Tail( fLoaded ? " already in list" : NOT_READABLE );
    rReport.ReportNow();
    return TRUE;
}

BOOL MyCfgFiles::IsLoaded( const MString& aPath )
{
    for ( auto pFile = GetItem( 0, FIRST ); pFile != NULL; pFile = GetItem( 0, NEXT ) )
        if ( pFile->GetPathName().CompareNoCase( aPath ) == 0 )
            return TRUE;
    return FALSE;
}

// NULL without memory, with the report of the step that found none.
MyErrNlsInterFaceConfig* MyCfgFiles::Load( const MString& aPath )
{
    std::unique_ptr<MyErrNlsInterFaceConfig> pFile( new ( std::nothrow ) MyErrNlsInterFaceConfig( aPath ) );
    return pFile != NULL && Append( pFile.get() ) ? pFile.release() : NULL;
}

BOOL MyCfgFiles::CheckSectionName( const MString& stSec, const MString& stCountry, MString& aSec,
                                   MString& aFileName, BOOL fRelease )
{
    CallReport aReport(
        *this,
        "From BOOL MyCfgFiles::CheckSectionName( const MString& stSec, const MString& stCountry, MString& aSec, MString& aFileName, BOOL fRelease ) " );
    if ( stSec.GetTokenCount( '.' ) != 2 )
    {
        aReport.Fail( " Error: Wrong section format. Two tokens expected. stSec = " );
        aReport.Tail( stSec.data() );
        return FALSE;
    }
    aFileName = stSec.GetToken( 0, '.' );
    if ( fRelease )
        aFileName += stCountry;
    aFileName += fRelease ? ".NLS" : ".CSV";
    aSec = stSec.GetToken( 1, '.' );
    return TRUE;
}

DATABUFTYPE MyCfgFiles::ReadStringValue( const MString& stSec, const MString& stKey, const MString& stCountry,
                                         BOOL& bFound )
{
    CallReport aReport(
        *this,
        "From DATABUFTYPE MyCfgFiles::ReadStringValue( const MString& stSec, const MString& stKey, const MString& stCountry, BOOL& bFound )" );
    MString aSec;
    MString aFileName;
    bFound =
        CheckSectionName( stSec, stCountry, aSec, aFileName, FALSE ) &&
        ( AskFiles( aSec, stKey, stCountry ) || AskNamedFile( aReport, aFileName, aSec, stKey, stCountry ) );
    if ( !bFound )
        m_stResult = stKey;
    return m_pResult = m_stResult;
}

// The text, where it is found, becomes the result.
BOOL MyCfgFiles::AskFile( MyErrNlsInterFaceConfig& rFile, const MString& aSec, const MString& stKey,
                          const MString& stCountry )
{
    m_stResult = rFile.ReadText( aSec, stKey, NO_ENTRY, stCountry );
    return m_stResult.CompareNoCase( NO_ENTRY ) != 0;
}

BOOL MyCfgFiles::AskFiles( const MString& aSec, const MString& stKey, const MString& stCountry )
{
    for ( auto pFile = GetItem( 0, FIRST ); pFile != NULL; pFile = GetItem( 0, NEXT ) )
        if ( AskFile( *pFile, aSec, stKey, stCountry ) )
            return TRUE;
    return FALSE;
}

// Loads the file unless it is loaded already, and then has been asked.
BOOL MyCfgFiles::AskNamedFile( CallReport& rReport, const MString& aFileName, const MString& aSec,
                               const MString& stKey, const MString& stCountry )
{
    const MString aPath = m_stCSVFilesPath + MYCH_DELIMDIR + aFileName;
    if ( IsLoaded( aPath ) )
        return FALSE;
    if ( !FileExists( aPath, FILE_ACCESS_READ, NULL, 0 ) )
    {
        rReport.Warn( " File = " );
        rReport.Tail( aPath.data() ).Tail( NOT_READABLE );
        return FALSE;
    }
    MyErrNlsInterFaceConfig* const pFile = Load( aPath );
    return pFile != NULL ? AskFile( *pFile, aSec, stKey, stCountry ) : rReport.Fail( SEVERE_ERROR );
}
