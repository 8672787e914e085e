#pragma once

#include <functional>
#include <stop_token>

namespace quillorn {

/// Starts threads that nobody waits for. Belongs to the thread of the window.
class WorkerThreads {
public:
    virtual ~WorkerThreads() = default;
    /// Runs `work` on a new thread. The token is stopped when the program ends.
    virtual void detachNewThread(std::function<void(const std::stop_token&)> work) = 0;
};

} // namespace quillorn
