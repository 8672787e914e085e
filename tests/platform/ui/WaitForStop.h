#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace quillorn::tests {

/// Returns once the token is stopped.
inline void waitForStop(const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    stopped.wait(lock, stop, []() { return false; });
}

} // namespace quillorn::tests
