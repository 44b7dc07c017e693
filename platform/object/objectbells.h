// The bells that listen to one event or mutex, whether it is this process's own or has a name.
#pragma once

#include "platform/object/bell.h"

class ObjectFile;

class ObjectBells
{
public:
    // pFile  the named object's file, null for one without a name.
    explicit ObjectBells( ObjectFile* pFile ) noexcept : m_pFile( pFile ) {}

    // False: the last error says why (8, or 1450 too many listen).
    bool Add( Bell& rBell ) noexcept;
    void Remove( Bell& rBell ) noexcept;
    // One load when there is none.
    void RingAll() noexcept;

private:
    bool AddShared( SharedBellName ullName ) noexcept;

    ObjectFile* const m_pFile;
    LocalBells m_aLocal;
};
