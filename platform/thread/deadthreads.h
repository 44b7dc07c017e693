// Threads that were ended by force. They can neither free memory nor their own stack, and what their last call held is still
// held: others do it for them.
#pragma once

class ThreadObject;

class DeadThreads
{
public:
    // By the dying thread, as nearly its last act.
    static void Add( ThreadObject& rThread ) noexcept;
    // Gives back all that the dead ones left, and the reference that each held of its object. Cheap when there are none.
    static void Bury() noexcept;
    // Fork handler: in the child their stacks are the C library's.
    static void ForgetInChild() noexcept;

private:
    static void Bury( ThreadObject& rThread ) noexcept;
};
