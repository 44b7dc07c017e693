// Files that processes share by mapping them.
#pragma once

#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

// Makes the file at least so long, with all of it allocated: a full file system would end a process that touches what is
// not there, and beyond its limit for files a process would get a signal. No signal cuts it short.
inline bool MakeFileRoom( int nFile, size_t nBytes ) noexcept
{
    rlimit aLimit;
    if ( getrlimit( RLIMIT_FSIZE, &aLimit ) != 0 || aLimit.rlim_cur < nBytes )
        return false;
    // Older kernels give up in shared memory for any signal, and keeps nothing of what it has done.
    sigset_t aAll;
    sigset_t aBefore;
    sigfillset( &aAll );
    pthread_sigmask( SIG_SETMASK, &aAll, &aBefore );
    const int nError = posix_fallocate( nFile, 0, static_cast<off_t>( nBytes ) );
    pthread_sigmask( SIG_SETMASK, &aBefore, nullptr );
    return nError == 0;
}

// Maps the beginning of the file for reading and writing: anywhere, or in the place of what is mapped at pPlace.
// Null: it could not be, and what was there still is.
inline void* MapSharedFile( int nFile, size_t nBytes, void* pPlace ) noexcept
{
    void* const pView = mmap( nullptr, nBytes, PROT_READ | PROT_WRITE, MAP_SHARED, nFile, 0 );
    if ( pView == MAP_FAILED )
        return nullptr;
    if ( pPlace == nullptr )
        return pView;
    // Moved there: a fixed mapping takes away what is there before the file system can say no.
    if ( mremap( pView, nBytes, nBytes, MREMAP_MAYMOVE | MREMAP_FIXED, pPlace ) != MAP_FAILED )
        return pPlace;
    munmap( pView, nBytes );
    return nullptr;
}
