// The program's memory allocator, set up for scenes of millions of
// triangles. An export lives in phases, each building arrays of tens of
// megabytes, and the kernel maps and zeroes every new page of them on
// first touch: in 4 KiB pages that was a third of a big export's time. With
// glibc's huge-page tunable the allocator asks for transparent huge pages
// on its big blocks (where the system gives them on request, its
// "madvise" setting), and the same memory comes 2 MiB at a time.
#pragma once

namespace kvl::cli {

// glibc reads its allocator's tunables only as a program starts, so this
// starts the program again, with the same arguments, with the tunable set;
// the second start puts the environment back as the user had it, for the
// programs kvlexp runs in turn. Returns (without a restart) when the
// tunable is already in force, or when the restart is impossible; the
// program then simply runs with the defaults.
void TuneHeapForBigScenes(char** argv);

}  // namespace kvl::cli
