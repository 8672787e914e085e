#pragma once

#include <cstdint>
#include <sys/types.h>
#include <vector>

namespace bench {

/// A process and everything that descends from it, as the kernel tells it.
struct ProcessTree {
    std::vector<pid_t> processes;
    double processorTime = 0;       ///< seconds, with what ended children took
    std::uint64_t proportional = 0; ///< KiB in memory; what several share counts once in all
    std::uint64_t resident = 0;     ///< KiB in memory; what several share counts for each

    /// `withMemory` takes some milliseconds for each process.
    [[nodiscard]] static ProcessTree of(pid_t root, bool withMemory);
};

} // namespace bench
