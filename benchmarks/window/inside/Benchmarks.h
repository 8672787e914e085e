#pragma once

#include "benchmarks/window/inside/Figures.h"

#include <filesystem>

namespace bench {

struct Surroundings {
    std::filesystem::path inputs; ///< what quillorn_bench_inputs has made
    std::filesystem::path home;   ///< empty, and this process's home folder
};

/// All 100,000 pages of a file in one pane. Times in milliseconds, memory in MiB.
void measureManyPages(const Surroundings& where, Figures& figures);
/// Inserting, moving and deleting 1,000 pages in a group of 10,000. Milliseconds.
void measureEditing(const Surroundings& where, Figures& figures);
/// From a manual of 2,400 pages being open until its visible pages are painted. Milliseconds.
void measureFirstPictures(const Surroundings& where, Figures& figures);
/// How long the event loop was kept from its work, at most, while the program was at its own.
/// Milliseconds.
void measureFreezes(const Surroundings& where, Figures& figures);

} // namespace bench
