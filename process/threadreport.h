// How reports name a thread.
#pragma once

#include "core/callreport.h"

#include <cstdio>

// Appends its number as "0x1f (31)", or as "0x1f" alone.
inline CallReport& TailThreadId( CallReport& rReport, DWORD dwThreadId, bool fAlone = false ) noexcept
{
    const unsigned long ulThreadId = dwThreadId;
    char szId[32];
    std::snprintf( szId, sizeof( szId ), fAlone ? "%#lx" : "%#lx (%lu)", ulThreadId, ulThreadId );
    return rReport.Tail( szId );
}
