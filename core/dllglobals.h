// The one object of the process: the registry of per-thread objects and the front end of the data log.
#pragma once

#include "core/threadregistry.h"

class DBGServer;

// Loaded by name at process attach and held until process detach.
inline constexpr char LIB_TO_LOAD1[] = "BXRUNTIME.DLL";

class MyDLLMainGlobalThreadData : public DLLMainGlobalThreadData
{
public:
    // Reads the debug settings before anything else of the library runs.
    MyDLLMainGlobalThreadData();
    // Only when no thread can call in any more. Detaches nothing.
    ~MyDLLMainGlobalThreadData();

    // Attaches the process, with the library's debug hook and LIB_TO_LOAD1. On failure the report says "Nothing", and
    // the reason stays in the object as its last message; kept so.
    BOOL OnProcessATTACH1();
    // Detaches the process, the first time it is called; afterwards it does nothing. Result: TRUE when there was
    // nothing to do, else that of OnProcessDETACH.
    BOOL OnProcessDETACH1();

    // The data log's front end, made on the first request; the registry's. NULL when it cannot be made, and after
    // DeleteOwnedObjects.
    DBGServer* GetGlobalDBGServer();

    // The end of what the process owns: the front end and the cells of the library handles. The locks stay, since
    // threads that still run may be in them.
    void DeleteOwnedObjects();

private:
    DBGServer* m_pDBGServer BX_GUARDED_BY( m_aCritSec ) = NULL;
    CriticalSection m_aCritSec;
    std::atomic<BOOL> m_fDetached{ FALSE };
    BOOL m_fDeleted BX_GUARDED_BY( m_aCritSec ) = FALSE;
};

// The object itself: constructed and attached when the library is loaded.
extern MyDLLMainGlobalThreadData& aGlobalDllObject;

// Its address.
MyDLLMainGlobalThreadData* GetDLLGlobalObjectPtr();

// The process's front end of the data log; NULL with one report when it cannot be had.
DBGServer* GetDBGServer();
