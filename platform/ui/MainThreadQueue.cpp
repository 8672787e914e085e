#include "platform/ui/MainThreadQueue.h"

#include <utility>

namespace quillorn {

MainThreadQueue::MainThreadQueue(std::function<void()> wake)
    : m_thread(std::this_thread::get_id()), m_wake(std::move(wake)) {}

bool MainThreadQueue::isCurrent() const {
    return std::this_thread::get_id() == m_thread;
}

bool MainThreadQueue::push(const std::shared_ptr<Task>& task) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isClosed) {
            return false;
        }
        m_tasks.push_back(task);
    }
    m_wake();
    return true;
}

bool MainThreadQueue::runAndWait(const std::function<void()>& work) {
    if (isCurrent()) {
        work();
        return true;
    }
    const auto task = std::make_shared<Task>();
    task->work = work;
    if (!push(task)) {
        return false;
    }
    std::unique_lock lock(m_mutex);
    m_finished.wait(lock, [&task]() { return task->state != Task::State::waiting; });
    return task->state == Task::State::done;
}

void MainThreadQueue::post(std::function<void()> work) {
    const auto task = std::make_shared<Task>();
    task->work = std::move(work);
    push(task);
}

void MainThreadQueue::finish(Task& task, Task::State state) {
    {
        const std::lock_guard lock(m_mutex);
        task.state = state;
    }
    m_finished.notify_all();
}

void MainThreadQueue::runPending() {
    for (;;) {
        std::shared_ptr<Task> task;
        {
            const std::lock_guard lock(m_mutex);
            if (m_tasks.empty()) {
                return;
            }
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        task->work();
        finish(*task, Task::State::done);
    }
}

void MainThreadQueue::close() {
    std::deque<std::shared_ptr<Task>> dropped;
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
        dropped.swap(m_tasks);
    }
    for (const auto& task : dropped) {
        finish(*task, Task::State::dropped);
    }
}

} // namespace quillorn
