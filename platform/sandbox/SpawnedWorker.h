#pragma once

#include "platform/files/FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace quillorn {

/// What a worker is started with.
struct WorkerStart {
    std::filesystem::path program;
    std::vector<std::string> arguments; ///< the number of this process is added as the last
    /// Handed over as 3, 4, 5 and so on; copies, so the caller may close its own at once.
    std::vector<const FileDescriptor*> descriptors;
};

/// A process of ours that meets foreign bytes in our place. At the end of its scope it is dead and
/// forgotten. Its standard streams lead nowhere, and its environment lacks what would change how
/// the libraries in it behave. It is expected to ask the kernel to die with the thread that
/// started it.
class SpawnedWorker {
public:
    SpawnedWorker() = default;
    SpawnedWorker(SpawnedWorker&& other) noexcept;
    SpawnedWorker& operator=(SpawnedWorker&& other) noexcept;
    SpawnedWorker(const SpawnedWorker&) = delete;
    SpawnedWorker& operator=(const SpawnedWorker&) = delete;
    ~SpawnedWorker();

    /// 0, or an errno value.
    [[nodiscard]] int start(const WorkerStart& how);
    [[nodiscard]] bool isRunning() const { return m_process > 0; }
    [[nodiscard]] pid_t process() const { return m_process; }
    /// Waits for the end, and returns the status as waitpid gives it.
    int wait();
    /// The same for one that is expected to end at any moment; nothing when it has not within this
    /// time.
    std::optional<int> waitShortly(std::chrono::milliseconds time);

private:
    void end();

    pid_t m_process = -1;
};

} // namespace quillorn
