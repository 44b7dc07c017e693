// What is done to a path in several steps, and begins anew when the path came to name something else between them.
#pragma once

#include <bxtools/platform.h>

#include <sys/stat.h>

enum class Attempt
{
    Done,
    Failed, // the last error says why
    Again
};

inline Attempt FailAttempt( DWORD dwError ) noexcept
{
    SetLastError( dwError );
    return Attempt::Failed;
}

// Each change under our hands means that somebody else was done with something. More of them than this would mean a file
// system that gives the same file different numbers; error 32 then.
template <class Try>
bool TryUntilSettled( Try aTry ) noexcept
{
    constexpr int MOST_ATTEMPTS = 100;
    for ( int nAttempt = 0; nAttempt < MOST_ATTEMPTS; ++nAttempt )
    {
        const Attempt eAttempt = aTry();
        if ( eAttempt != Attempt::Again )
            return eAttempt == Attempt::Done;
    }
    SetLastError( ERROR_SHARING_VIOLATION );
    return false;
}

inline bool IsSameFile( const struct stat& rOne, const struct stat& rOther ) noexcept
{
    return rOne.st_dev == rOther.st_dev && rOne.st_ino == rOther.st_ino;
}
