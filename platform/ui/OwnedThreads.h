#pragma once

#include "platform/ui/WorkerThreads.h"

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <stop_token>
#include <thread>

namespace quillorn {

/// Worker threads that end with this object: they are asked to stop and waited for. Threads that
/// may be waiting for the thread of the window are let go first (`MainThreadQueue::close`).
class OwnedThreads final : public WorkerThreads {
public:
    OwnedThreads() = default;
    ~OwnedThreads() override;
    OwnedThreads(const OwnedThreads&) = delete;
    OwnedThreads& operator=(const OwnedThreads&) = delete;

    void detachNewThread(std::function<void(const std::stop_token&)> work) override;
    /// Stops all and waits for them.
    void finish();

private:
    struct Worker {
        std::shared_ptr<std::atomic<bool>> hasEnded; ///< shared with the thread
        std::jthread thread;
    };

    std::list<Worker> m_workers;
};

} // namespace quillorn
