// Objects for the tests to be served per thread, which keep a record of what became of them.
#pragma once

#include "core/threadregistry.h"
#include "support/recorder.h"

#include <string>
#include <vector>

// What was made and destroyed since the last call, by all threads, in order: "+a", "-a".
std::vector<std::string> TakeServed();
// How many objects are there now.
long ServedCount();

// Two pairs. A deleter records "null" for a missing object.
LPVOID DLL_EXPORT CreateA();
BOOL DLL_EXPORT DeleteA( LPVOID pObject );
LPVOID DLL_EXPORT CreateB();
BOOL DLL_EXPORT DeleteB( LPVOID pObject );

// What a request reports where there is no slot.
inline constexpr char SPECIAL_HEADER[] =
    "From LPVOID DLLMainGlobalThreadData::GetThreadSpecialObject( CreateThreadElemFuc pCreateFunc, DeleteThreadElemFuc pDeleteFunc )";
inline const Report
    NO_SLOT( "From CThreadGlobalObjectInterface* DLLMainGlobalThreadData::internalGetThreadGlobalObject()",
             " Error: !CheckTLS( m_dwTlsGlobalOffset )" );
inline const Report
    NO_CONTAINER( SPECIAL_HEADER,
                  " Error: ( pThreadGlobalObject = internalGetThreadGlobalObject() ) == NULL" );
