#include "platform/ui/OwnedThreads.h"

#include <utility>

namespace quillorn {

OwnedThreads::~OwnedThreads() {
    finish();
}

void OwnedThreads::detachNewThread(std::function<void(const std::stop_token&)> work) {
    m_workers.remove_if([](const Worker& worker) { return worker.hasEnded->load(); });
    auto hasEnded = std::make_shared<std::atomic<bool>>(false);
    std::jthread thread([hasEnded, run = std::move(work)](const std::stop_token& stop) {
        run(stop);
        hasEnded->store(true);
    });
    m_workers.push_back(Worker{std::move(hasEnded), std::move(thread)});
}

void OwnedThreads::finish() {
    for (Worker& worker : m_workers) {
        worker.thread.request_stop();
    }
    m_workers.clear(); // joins each
}

} // namespace quillorn
