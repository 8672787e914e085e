#pragma once

#include "platform/ui/MainThread.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace quillorn {

/// The work that other threads hand to the thread of the window.
///
/// The shell's event loop calls `runPending` after each call of `wake`, loops of modal windows
/// included. At the end it calls `close`, then ends the threads that may be waiting here.
class MainThreadQueue final : public MainThread {
public:
    /// The thread that makes the queue is the one of the window. `wake` is called by any thread,
    /// with no lock held.
    explicit MainThreadQueue(std::function<void()> wake);

    [[nodiscard]] bool isCurrent() const override;
    bool runAndWait(const std::function<void()>& work) override;
    void post(std::function<void()> work) override;

    /// Runs what is there. By the thread of the window; work may call it again.
    void runPending();
    /// Drops what is there, and what still comes: whoever waits is told so.
    void close();

private:
    struct Task {
        enum class State { waiting, done, dropped };
        std::function<void()> work;
        State state = State::waiting;
    };

    bool push(const std::shared_ptr<Task>& task);
    void finish(Task& task, Task::State state);

    const std::thread::id m_thread;
    const std::function<void()> m_wake;
    std::mutex m_mutex; ///< guards the members below and the states of the tasks
    std::condition_variable m_finished;
    std::deque<std::shared_ptr<Task>> m_tasks; ///< shared with those who wait
    bool m_isClosed = false;
};

} // namespace quillorn
