// What the tests of the tree file ask of the system; one form for each system.
#pragma once

// The write or the flush to the disk of this process's tree files that does not come about, counted from one; 0: all do. Of
// a write one half comes about, as on a full disk; the ones that follow fail, too. With fKill the process is killed there.
void FailFromWrite( int nWrite, bool fKill = false );

// How much memory this process has had at most.
int PeakMegabytes();
