// The program's memory allocator, set up for scenes of millions of
// triangles. An export lives in phases, each building arrays of tens of
// megabytes, and the kernel maps and zeroes every new page of them on
// first touch: in 4 KiB pages that was a third of a big export's time. With
// glibc's huge-page tunable the allocator asks for transparent huge pages
// on its big blocks (where the system gives them on request, its
// "madvise" setting), and the same memory comes 2 MiB at a time.
//
// glibc reads its tunables only as a program starts, so a big scene's run
// starts the program again, with the same arguments, with the tunable set.
// That costs a few milliseconds, more than a small scene gains; a small
// scene runs with the defaults.
#pragma once

#include <string>

namespace kvl::cli {

// First thing in main: on the second start, puts the environment back as
// the user had it, for the programs kvlexp runs in turn.
void RestoreEnvironmentAfterRestart();

// Starts the program again with the tunable when the scene is big enough
// to gain by it: its file, and for a .gltf the .bin files beside it, hold
// 8 MiB or more. Returns when the tunable is already in force, when the
// scene is small, or when the restart is impossible; the program then
// simply runs with the defaults.
void TuneHeapForBigScene(char** argv, const std::string& scenePath);

}  // namespace kvl::cli
