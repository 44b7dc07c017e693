// Calls of the system's loader, and fork.
//
// A thread that a fork loses inside dlopen, dlclose or dl_iterate_phdr takes one of the loader's locks with
// it, and the C library does not free that one in the child: the child's next dlopen would wait for ever. So
// a fork waits until our threads are out of the loader and lets none in until it is done.
//
// That wait has an end, since the loader runs constructors with a lock of its own held: such a constructor
// may fork while another of our threads waits in the loader for it to return. Then the fork goes on without
// the guarantee.
#pragma once

// Stands around each call of the loader. May be nested: a library's constructor may load others. The thread
// is neither cancelled inside nor stopped by others, where files are open and lists half changed.
class LoaderCall
{
public:
    LoaderCall() noexcept;
    ~LoaderCall();
    LoaderCall( const LoaderCall& ) = delete;
    LoaderCall& operator=( const LoaderCall& ) = delete;

private:
    int m_nCancelStateBefore;
};

// Fork handlers.
void CloseLoaderGate();
void OpenLoaderGate();
void OpenLoaderGateInChild();
