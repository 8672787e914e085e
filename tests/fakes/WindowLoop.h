#pragma once

#include "platform/ui/LongWork.h"
#include "platform/ui/MainThreadQueue.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>

namespace quillorn::tests {

/// The thread of a window: it runs what other threads hand over, and sleeps in between.
class WindowLoop {
public:
    /// Runs what comes until `done`. False, and a failed test, when that takes a minute.
    bool runUntil(const std::function<bool()>& done);
    /// Makes the loop look again at what it waits for.
    void wake();

    MainThreadQueue queue{[this]() { wake(); }};

private:
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    bool m_isWoken = false;
};

/// Long work as a window does it: asked by the window's thread it goes to another one while the
/// loop goes on, asked by any other thread it is done right there.
class WindowWork final : public LongWork {
public:
    explicit WindowWork(WindowLoop& loop) : m_loop(loop) {}
    [[nodiscard]] bool run(const std::string& text, const Work& work) override;
    [[nodiscard]] std::unique_ptr<LongWork> series(const std::string& text) override;

private:
    WindowLoop& m_loop;
};

} // namespace quillorn::tests
