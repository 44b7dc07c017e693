// The process-wide object: the top of the house, and the only object whose constructor runs when the library is loaded.
#include "core/callreport.h"
#include "core/dllglobals.h"
#include "core/dllmain.h"

#include <bxtools/lifecycle.h>

namespace
{

// Constructs and then attaches; detaches and then destroys, as far as that is safe.
class GlobalObjectHolder
{
public:
    GlobalObjectHolder() : m_aObject() { OnGlobalObjectConstructed(); }
    ~GlobalObjectHolder()
    {
        const LibraryEnd eEnd = OnGlobalObjectEnds();
        if ( eEnd == LibraryEnd::Unloaded )
            m_aObject.~MyDLLMainGlobalThreadData();
        else if ( eEnd == LibraryEnd::Detached )
            m_aObject.DeleteOwnedObjects();
    }
    GlobalObjectHolder( const GlobalObjectHolder& ) = delete;
    GlobalObjectHolder& operator=( const GlobalObjectHolder& ) = delete;

    union // which keeps the object from being destroyed with the holder
    {
        MyDLLMainGlobalThreadData m_aObject;
    };
};

#if defined( __clang__ )
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wglobal-constructors"
#endif
GlobalObjectHolder g_aHolder;
#if defined( __clang__ )
#pragma clang diagnostic pop
#endif

// Holds the function-level lock for a scope.
class FunctionLevelGuard
{
public:
    FunctionLevelGuard() { aGlobalDllObject.LockOnFunctionLevel(); }
    ~FunctionLevelGuard() { aGlobalDllObject.UnLockOnFunctionLevel(); }
    FunctionLevelGuard( const FunctionLevelGuard& ) = delete;
    FunctionLevelGuard& operator=( const FunctionLevelGuard& ) = delete;
};

} // namespace

constinit MyDLLMainGlobalThreadData& aGlobalDllObject = g_aHolder.m_aObject;

MyDLLMainGlobalThreadData* GetDLLGlobalObjectPtr()
{
    return &g_aHolder.m_aObject;
}

LPVOID GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )
{
    const LPVOID lValue = g_aHolder.m_aObject.GetThreadSpecialObject( pCreateFunc, pDeleteFunc );
    if ( lValue == NULL )
        CallReport(
            "From LPVOID GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )" )
            .Fail(
                " Error: ( lValue = aGlobalDllObject.GetThreadSpecialObject( pCreateFunc, pDeleteFunc ) ) == 0" );
    return lValue;
}

LPVOID MakeServedObject( const ServedObject& rServed )
{
    const LPVOID lValue = GetThreadSpecialObject( rServed.m_pCreateFunc, rServed.m_pDeleteFunc );
    if ( lValue == NULL )
        CallReport( rServed.m_pHeader ).Fail( rServed.m_pText );
    else
        aGlobalDllObject.KeepServedObject( rServed.m_eNumber, lValue );
    return lValue;
}

void DropServedObject( const ServedObject& rServed )
{
    aGlobalDllObject.DropServedObject( rServed );
}

DLL_EXPORT_MOD BOOL DLL_EXPORT LastFuntionCall()
{
    CallReport aReport( "From DLL_EXPORT_MOD BOOL DLL_EXPORT LastFuntionCall()" );
    return aReport.Guard(
        [&]()
        {
            const FunctionLevelGuard aGuard;
            if ( !aGlobalDllObject.OnProcessDETACH1() )
                return aReport.Fail( " Error: !( fStat = aGlobalDllObject.OnProcessDETACH1() )" );
            return TRUE;
        } );
}
