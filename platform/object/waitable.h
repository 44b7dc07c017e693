// What can be waited for, as the waits see it.
#pragma once

#include "platform/object/kernelobject.h"
#include "platform/object/pollset.h"
#include "platform/object/waitlimit.h"

class Bell;

constexpr DWORD KINDS_OF_WAITS = KIND_EVENT | KIND_MUTEX | KIND_THREAD | KIND_PROCESS;

// What became of an attempt to take an object.
enum class Taking : unsigned char
{
    NotReady, // or, of a wait, that its limit is over
    Taken,
    Abandoned, // taken, a mutex whose owner ended without giving it back
    Failed     // the last error says why
};

class WaitableObject : public KernelObject
{
public:
    // Takes the object for the calling thread if it is ready, as a wait on it does when it ends.
    virtual Taking TryTake() noexcept = 0;
    // Undoes a TryTake that took it, for a wait on all of several whose others were not ready: the next taker gets
    // the same answer.
    virtual void PutBack( Taking eTaking ) noexcept = 0;
    // Sleeps on exactly this object until it is taken or the limit is over.
    virtual Taking WaitAndTake( const WaitLimit& rLimit ) noexcept = 0;

    // From its return until RemoveBell every change that may make the object ready rings the bell. False: the last
    // error says why not.
    virtual bool AddBell( Bell& rBell ) noexcept = 0;
    virtual void RemoveBell( Bell& rBell ) noexcept = 0;
    // Adds what else tells of such a change: a process's descriptor, that of a mutex owner's process. Called before each
    // sleep, and before the look that precedes it.
    virtual void AddDescriptors( PollSet& ) noexcept {}

protected:
    using KernelObject::KernelObject;
};

// For a WaitAndTake of an object that just now is told of by descriptors: sleeps with the thread's bell until the object is
// taken or the limit is over.
Taking PollAndTake( WaitableObject& rObject, const WaitLimit& rLimit ) noexcept;
