// The folder where processes meet: named objects, the debug switch and level, and the ring of debug messages live there.
//
// The folder may be anybody's to write only under rules that keep others out: it is no link and belongs to the user with
// mode 0700, or to root with the set-group-id mode 2770, for services of several users. Any other one is refused, and
// standard error says once why. It is judged with each use: it may be removed and made anew by somebody else meanwhile.
#pragma once

#include <bxtools/wintypes.h>

#include <array>
#include <climits>
#include <fcntl.h>

enum class NamespaceScope : unsigned char
{
    Local, // $BXTOOLS_OBJECT_DIR, else object_dir of /etc/bxtools/bxtools.conf, else /dev/shm/bxtools-<uid>
    Global // object_dir of bxtools.conf, else the same as Local
};

using NamespacePath = std::array<char, PATH_MAX>;

// The path of a file in the folder, which exists then: it is made where it is missing. The environment counts only in a
// process without raised rights.
//   pLeaf  a file name without a separator.
//   rPath  out: its absolute path; undefined on failure.
// FALSE: the last error says why (5 refused, 206 too long, or what making it gave).
bool FindInNamespace( NamespaceScope eScope, const char* pLeaf, NamespacePath& rPath ) noexcept;

// How every file of the folder is opened: whatever stands in its place is not followed, waited for or inherited.
constexpr int NAMESPACE_OPEN_FLAGS = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

// The mode of a file that is made in the folder: for its owner alone, or for the folder's group, too.
unsigned GetNamespaceFileMode( NamespaceScope eScope ) noexcept;

// For tests: the environment is read anew.
void ForgetNamespaceForTest() noexcept;
