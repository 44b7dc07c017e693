// What sets an event without a thread that runs for it: whoever waits for the event asks its feeders.
#pragma once

class EventFeeder
{
public:
    // A descriptor that becomes readable when HasFired is worth asking. It stays the feeder's.
    virtual int GetDescriptor() const noexcept = 0;
    // Looks now. TRUE once: the event is to be set, and lets go of the feeder. Any thread; never blocks.
    virtual bool HasFired() noexcept = 0;

protected:
    ~EventFeeder() = default;
};
