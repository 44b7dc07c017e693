// A kernel object that counts what happens to it.
#pragma once

#include "platform/object/kernelobject.h"

#include <atomic>

class TestObject : public KernelObject
{
public:
    struct Counts
    {
        std::atomic<int> nDestroyed{ 0 };
        std::atomic<int> nAbandoned{ 0 };
    };

    explicit TestObject( Counts& rCounts, ObjectKind eKind = KIND_EVENT )
        : KernelObject( eKind ),
          m_rCounts( rCounts )
    {
    }
    ~TestObject() override { ++m_rCounts.nDestroyed; }
    void AbandonInChild() noexcept override { ++m_rCounts.nAbandoned; }

    // Wrong as soon as the object is destroyed under a user.
    int nAlive = 12345;

private:
    Counts& m_rCounts;
};
