// The exported functions on files of keys and texts.
#include "core/callreport.h"

#include <bxtools/btree.h>

namespace
{
constexpr char NULL_HANDLE[] = " Error: ( pObj = ConvertToBTreeOnDisk( lValue ) ) == NULL";

NlsBTreeOnDisk* ConvertToBTreeOnDisk( LPVOID lValue )
{
    return static_cast<NlsBTreeOnDisk*>( lValue );
}

// The first thing wrong with the arguments of BTreeOnDiskInit; NULL: nothing.
LPCTSTR CheckArguments( MYLPCSTR pFile, MYLPCSTR pMode )
{
    if ( pFile == NULL )
        return " Error: pFile == NULL";
    if ( *pFile == '\0' )
        return " Error: STRLEN( pFile ) == 0";
    if ( pMode == NULL )
        return " Error: pMode == NULL";
    return *pMode == '\0' ? " Error: STRLEN( pMode ) == 0" : NULL;
}
} // namespace

DLL_EXPORT_MOD LPVOID DLL_EXPORT BTreeOnDiskInit( MYLPCSTR pFile, unsigned MaxKeyLength, MYLPCSTR pMode,
                                                  BOOL bDebugMessage )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD LPVOID DLL_EXPORT BTreeOnDiskInit( MYLPCSTR pFile, unsigned MaxKeyLength, MYLPCSTR pMode, BOOL bDebugMessage )" );
    if ( const LPCTSTR pText = CheckArguments( pFile, pMode ) )
        return aReport.FailNull( pText );
    NlsBTreeOnDisk* const pObj = aReport.Guard(
        static_cast<NlsBTreeOnDisk*>( NULL ),
        " Error: pObj = new NlsBTreeOnDisk( pFile, MaxKeyLength, pMode, bDebugMessage ) failed",
        [&] { return new NlsBTreeOnDisk( pFile, MaxKeyLength, pMode, bDebugMessage ); } );
    if ( pObj == NULL || pObj->IsStatusOk() )
        return pObj;
    delete pObj;
    return aReport.FailNull( " Error: !pObj->IsStatusOk()" );
}

DLL_EXPORT_MOD void DLL_EXPORT BTreeOnDiskDelete( LPVOID lValue )
{
    CallReport aReport( "From DLL_EXPORT_MOD void DLL_EXPORT BTreeOnDiskDelete( LPVOID lValue )" );
    NlsBTreeOnDisk* const pObj = ConvertToBTreeOnDisk( lValue );
    // What cannot be completed is an exception on the way, like any other.
    if ( pObj != NULL && !pObj->Close() )
        aReport.Fail( SEVERE_ERROR );
    delete pObj;
}

DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskIsStatusOk( LPVOID lValue )
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskIsStatusOk( LPVOID lValue )" );
    const NlsBTreeOnDisk* const pObj = ConvertToBTreeOnDisk( lValue );
    return pObj != NULL ? pObj->IsStatusOk() : aReport.Fail( NULL_HANDLE );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskWriteKeyStringPairToFile( LPVOID lValue, MYLPCSTR pKey,
                                                                    LPCTSTR pValue )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD BOOL DLL_EXPORT BTreeOnDiskWriteKeyStringPairToFile( LPVOID lValue, MYLPCSTR pKey, LPCTSTR pValue )" );
    NlsBTreeOnDisk* const pObj = ConvertToBTreeOnDisk( lValue );
    if ( pObj == NULL )
        return aReport.Fail( NULL_HANDLE );
    if ( !pObj->WriteKeyStringPairToFile( pKey, pValue ) )
        return aReport.Fail( " Error: !pObj->WriteKeyStringPairToFile( pKey, pValue )" );
    return pObj->IsStatusOk() || aReport.Fail( " Error: !( fRet = pObj->IsStatusOk() )" );
}

DLL_EXPORT_MOD const char* DLL_EXPORT BTreeOnDiskReadKeyStringPairFromFile( LPVOID lValue, MYLPCSTR pKey,
                                                                            int* pnFound,
                                                                            LPCTSTR pPartialKey )
{
    CallReport aReport(
        "From DLL_EXPORT_MOD DATABUFTYPE DLL_EXPORT BTreeOnDiskReadKeyStringPairFromFile( LPVOID lValue, MYLPCSTR pKey, int* pnFound, LPCTSTR pPartialKey )" );
    int nFound = 0;
    NlsBTreeOnDisk* const pObj = ConvertToBTreeOnDisk( lValue );
    const DATABUFTYPE pText =
        pObj != NULL ? pObj->ReadKeyStringPairFromFile( pKey, nFound, pPartialKey ) : NULL;
    if ( pnFound != NULL )
        *pnFound = nFound;
    if ( pObj == NULL )
        aReport.Fail( NULL_HANDLE );
    else if ( !pObj->IsStatusOk() )
        aReport.Fail( " Error: !pObj->IsStatusOk()" );
    return pText;
}
