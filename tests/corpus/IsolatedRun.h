#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace quillorn::corpus {

/// How work in a process of its own ended.
struct IsolatedRun {
    bool finished = false; ///< it returned, and did so in time
    std::string report;    ///< what it returned; how it ended otherwise
};

/// What work may use. Under a sanitizer, which reserves far more memory, only time is limited.
struct IsolationLimits {
    std::uint64_t processorSeconds = 10;
    std::uint64_t memoryBytes = std::uint64_t{1} << 30U;
    /// For work that waits for ever instead of computing; a busy machine stretches computing, too.
    std::chrono::seconds deadline{90};
};

/// Runs `work` in a forked child under limits and waits for it. Crashes, exceptions and overruns
/// come back as a run that did not finish.
[[nodiscard]] IsolatedRun runIsolated(const std::function<std::string()>& work,
                                      const IsolationLimits& limits = {});

} // namespace quillorn::corpus
