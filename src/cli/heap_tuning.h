// The program's memory allocator, set up for scenes of millions of
// triangles. An export lives in phases, each building arrays of tens of
// megabytes from the last phase's and dropping those. With glibc's
// defaults every such array is a mapping of its own, handed back when it
// is freed, so each phase has the kernel zero and map its memory afresh,
// 4 KiB at a time: a third of a big export's time went to page faults.
// Kept on the heap, never trimmed, and backed by transparent huge pages
// where the system offers them on request, the same memory is mapped
// once, 2 MiB at a time, and reused by the phases after.
#pragma once

namespace kvl::cli {

// glibc reads its allocator's tunables only as a program starts, so this
// starts the program again, with the same arguments, with them set; the
// second start puts the environment back as the user had it, for the
// programs kvlexp runs in turn. Returns (without a restart) when the
// tunables are already in force, or when the restart is impossible; the
// program then simply runs with the defaults.
void TuneHeapForBigScenes(char** argv);

}  // namespace kvl::cli
