#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace quillorn {

/// What a process that meets foreign bytes may use at most. Zero leaves a limit as it is.
struct ResourceLimits {
    std::uint64_t memory = 0; ///< bytes of address space
    std::uint64_t output = 0; ///< bytes that a file it writes may have
    std::chrono::seconds processorTime{0};
};

/// Sets the limits of this process, and leaves no core file behind. They can be lowered later,
/// never raised.
void limitResources(const ResourceLimits& limits);

/// The system's folders: programs' data, plugins, settings, fonts and their caches.
[[nodiscard]] std::vector<std::string> systemFolders();

/// Fonts, their settings and caches, and the tables that tell which character a code stands for.
[[nodiscard]] std::vector<std::string> fontFolders();

/// Gives up for good what decoding does not need: starting programs and processes (threads may be
/// started), the network, signals to others, changing files, and all files but those in `readable`,
/// which are for reading. What is open already stays open.
/// What the running kernel does not offer is left out; the limits hold everywhere.
void confine(const std::vector<std::string>& readable);

} // namespace quillorn
