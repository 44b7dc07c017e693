// Threads as most tests want them: started and joined.
#pragma once

#include <thread>
#include <vector>

template <class Body>
void OnOtherThread( Body aBody )
{
    std::thread( aBody ).join();
}

// Runs the body on several threads at once.
template <class Body>
void OnThreads( int nThreads, Body aBody )
{
    std::vector<std::thread> aThreads;
    for ( int nThread = 0; nThread < nThreads; ++nThread )
        aThreads.emplace_back( aBody );
    for ( std::thread& rThread : aThreads )
        rThread.join();
}
