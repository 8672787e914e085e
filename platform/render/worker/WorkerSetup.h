#pragma once

#include <chrono>
#include <optional>

namespace quillorn::render {

/// What the program that started this worker wants.
struct WorkerSetup {
    std::chrono::seconds processorTimeAPage{0};
};

/// Reads the arguments, ties this process to the program that started it, and gives up every
/// right that drawing does not need; fonts stay readable. Nothing when it was called in
/// another way or the program is gone.
[[nodiscard]] std::optional<WorkerSetup> setUpWorker(int argc, char** argv);

} // namespace quillorn::render
