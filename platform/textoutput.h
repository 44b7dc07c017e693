// Writing texts to descriptors that may be anything: never a signal, never a cancellation point, errno as
// before.
#pragma once

#include <bxtools/wintypes.h>

#include <initializer_list>
#include <string_view>

// Writes the pieces in one system call.
//   fMaySignal  the descriptor may be a pipe without a reader, or a file at its size limit; the signal that
//               would end the process is then kept away from it.
// Result: 0, or the errno of the failure. What a full disk or a full non-blocking pipe did not take is lost.
int WriteTexts( int nDescriptor, std::initializer_list<std::string_view> aPieces, bool fMaySignal ) noexcept;

// The same to standard error, where the pieces of two threads' texts never mix: what one call did not take at
// once follows before another thread's text.
void WriteToStandardError( std::initializer_list<std::string_view> aPieces ) noexcept;
