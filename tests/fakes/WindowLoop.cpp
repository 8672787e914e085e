#include "tests/fakes/WindowLoop.h"

#include "tests/fakes/FakeThreads.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace quillorn::tests {

bool WindowLoop::runUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    queue.runPending();
    while (!done()) {
        std::unique_lock lock(m_mutex);
        if (!m_wakeUp.wait_until(lock, deadline, [this]() { return m_isWoken; })) {
            ADD_FAILURE() << "the window waited in vain";
            return false;
        }
        m_isWoken = false;
        lock.unlock();
        queue.runPending();
    }
    return true;
}

void WindowLoop::wake() {
    // Within the lock: once the loop has seen it, it may be gone.
    const std::lock_guard lock(m_mutex);
    m_isWoken = true;
    m_wakeUp.notify_all();
}

bool WindowWork::run(const std::string& /*text*/, const Work& work) {
    if (!m_loop.queue.isCurrent()) {
        work(std::stop_token());
        return true;
    }
    std::atomic<bool> hasEnded = false;
    std::jthread worker([this, &work, &hasEnded]() {
        work(std::stop_token());
        hasEnded = true;
        m_loop.wake();
    });
    return m_loop.runUntil([&hasEnded]() { return hasEnded.load(); });
}

std::unique_ptr<LongWork> WindowWork::series(const std::string& /*text*/) {
    return std::make_unique<PlainSeries>(*this);
}

} // namespace quillorn::tests
