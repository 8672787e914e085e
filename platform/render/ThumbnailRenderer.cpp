#include "platform/render/ThumbnailRenderer.h"

#include "platform/render/RenderProtocol.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace {

using Clock = RenderWorker::Clock;

constexpr unsigned mostWorkers = 16;
constexpr std::uint64_t timerMark = ~std::uint64_t{0};
/// The largest picture, so that the shared memory stays reasonable: a page on an 8K screen.
constexpr std::uint64_t mostPixels = std::uint64_t{64} << 20U;

unsigned workerCount(unsigned wanted) {
    return std::clamp(wanted > 0 ? wanted : std::thread::hardware_concurrency(), 1U, mostWorkers);
}

void watch(const FileDescriptor& events, int descriptor, std::uint64_t mark) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = mark;
    ::epoll_ctl(events.get(), EPOLL_CTL_ADD, descriptor, &event);
}

bool isPossible(const ThumbnailRequest& request) {
    return request.source != nullptr && !request.source->isLocked() && request.width > 0 &&
           request.height > 0 && request.width <= render::longestSide &&
           request.height <= render::longestSide && request.page <= UINT32_MAX &&
           std::uint64_t{request.width} * request.height <= mostPixels;
}

} // namespace

ThumbnailRenderer::ThumbnailRenderer(std::filesystem::path program, const ThumbnailLimits& limits)
    : m_program(std::move(program)),
      m_limits(limits),
      m_cache(limits.cacheBytes),
      m_events(::epoll_create1(EPOLL_CLOEXEC)),
      m_timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      m_workers(workerCount(limits.workers)) {
    watch(m_events, m_timer.get(), timerMark);
    for (std::size_t slot = 0; slot < m_workers.size(); ++slot) {
        // Whether this worked is asked again when there is something to draw.
        static_cast<void>(startWorker(slot));
    }
}

ThumbnailRenderer::~ThumbnailRenderer() = default;

bool ThumbnailRenderer::startWorker(std::size_t slot) {
    m_workers[slot] = RenderWorker::start(m_program, m_limits.worker);
    if (m_workers[slot] == nullptr) {
        return false;
    }
    watch(m_events, m_workers[slot]->descriptor(), slot);
    return true;
}

void ThumbnailRenderer::dropWorker(std::size_t slot) {
    m_workers[slot].reset(); // closing its channel takes it out of the epoll as well
}

ThumbnailRenderer::Requester ThumbnailRenderer::addRequester(Arrived arrived) {
    return m_queue.add(std::move(arrived));
}

void ThumbnailRenderer::removeRequester(Requester requester) {
    m_queue.remove(requester);
    cancelUnwished();
}

void ThumbnailRenderer::setWishes(Requester requester, const ThumbnailWishes& wishes) {
    m_queue.setWishes(requester, wishes);
    std::erase_if(m_retried, [this](const auto& request) { return !m_queue.isWished(request); });
    forgetClosed();
    dispatch();
    cancelUnwished();
}

/// Closed files are let go, so that their disk can be unmounted and their blocks be freed.
void ThumbnailRenderer::forgetClosed() {
    m_cache.removeClosed();
    const auto isClosed = [](const auto& source) { return source.expired(); };
    std::erase_if(m_suspects, isClosed);
    std::erase_if(m_hopeless, isClosed);
    for (const auto& worker : m_workers) {
        if (worker != nullptr) {
            worker->forgetClosed();
        }
    }
}

std::shared_ptr<const Thumbnail> ThumbnailRenderer::find(const ThumbnailRequest& request) {
    return m_cache.find(request);
}

std::shared_ptr<const Thumbnail> ThumbnailRenderer::findNearest(const ThumbnailRequest& request) {
    return m_cache.findNearest(request);
}

bool ThumbnailRenderer::isNeeded(const ThumbnailRequest& request) {
    return m_cache.find(request) == nullptr &&
           std::ranges::none_of(m_workers, [&request](const auto& worker) {
               return worker != nullptr && worker->job() && !worker->job()->isCancelled &&
                      worker->job()->request == request;
           });
}

bool ThumbnailRenderer::isIdle() const {
    return !m_queue.somethingWaits() && std::ranges::none_of(m_workers, [](const auto& worker) {
        return worker != nullptr && worker->job();
    });
}

std::vector<pid_t> ThumbnailRenderer::workerProcesses() const {
    std::vector<pid_t> processes;
    for (const auto& worker : m_workers) {
        if (worker != nullptr) {
            processes.push_back(worker->process());
        }
    }
    return processes;
}

bool ThumbnailRenderer::isHopeless(const ThumbnailRequest& request) const {
    return !isPossible(request) || m_hopeless.contains(request.source) ||
           !request.source->verifyUnchanged();
}

void ThumbnailRenderer::dispatch() {
    for (std::size_t slot = 0; slot < m_workers.size(); ++slot) {
        while (m_workers[slot] == nullptr || !m_workers[slot]->job()) {
            const auto request =
                m_queue.next([this](const ThumbnailRequest& wished) { return isNeeded(wished); });
            if (!request) {
                break;
            }
            if (isHopeless(*request) || (m_workers[slot] == nullptr && !startWorker(slot))) {
                publishUndrawable(*request);
            } else if (!m_workers[slot]->begin(*request)) {
                handleDeath(slot, false);
            }
        }
    }
    armTimer();
}

void ThumbnailRenderer::cancelUnwished() {
    if (!m_queue.somethingWaits()) {
        return; // then it may as well be finished, and is there when it is wished again
    }
    for (const auto& worker : m_workers) {
        if (worker != nullptr && worker->job() && !m_queue.isWished(worker->job()->request)) {
            worker->cancel();
        }
    }
    armTimer();
}

void ThumbnailRenderer::processEvents() {
    std::array<epoll_event, mostWorkers + 1> events{};
    const int count =
        ::epoll_wait(m_events.get(), events.data(), static_cast<int>(events.size()), 0);
    for (int i = 0; i < count; ++i) {
        const std::uint64_t mark = events[static_cast<std::size_t>(i)].data.u64;
        if (mark == timerMark) {
            handleDeadlines();
        } else if (mark < m_workers.size() && m_workers[mark] != nullptr) {
            handleWorker(mark);
        }
    }
    dispatch();
    for (const auto& worker : m_workers) {
        if (worker != nullptr) {
            worker->forgetClosed();
        }
    }
}

void ThumbnailRenderer::handleWorker(std::size_t slot) {
    RenderWorker& worker = *m_workers[slot];
    const RenderWorker::Event event = worker.take();
    if (event == RenderWorker::Event::nothing || event == RenderWorker::Event::opened) {
        return;
    }
    if (event == RenderWorker::Event::gone) {
        handleDeath(slot, false);
        return;
    }
    const ThumbnailRequest request = worker.job()->request;
    const bool wasCancelled = worker.job()->isCancelled;
    worker.finish();
    switch (event) {
    case RenderWorker::Event::drawn:
        publish(request, worker.picture());
        break;
    case RenderWorker::Event::unopened:
        m_hopeless.insert(request.source);
        publishUndrawable(request);
        break;
    default:
        if (!wasCancelled) { // whoever wishes for it now has it in the queue again
            publishUndrawable(request);
        }
        break;
    }
}

void ThumbnailRenderer::handleDeath(std::size_t slot, bool isOverdue) {
    const std::optional<RenderWorker::Job> job = m_workers[slot]->job();
    dropWorker(slot);
    if (!job) {
        return; // it went by itself, as one does that has grown large
    }
    if (job->isCancelled) {
        return; // nobody waits, and what it was about to do is unknown
    }
    const ThumbnailRequest& request = job->request;
    if (job->isOpening) {
        const bool isSecond = !m_suspects.insert(request.source).second;
        if (isOverdue || isSecond) {
            m_hopeless.insert(request.source);
        }
    }
    const bool isSecondTime = std::ranges::find(m_retried, request) != m_retried.end();
    if (isOverdue || isSecondTime || m_hopeless.contains(request.source)) {
        publishUndrawable(request);
    } else if (m_queue.isWished(request)) {
        m_retried.push_back(request);
        m_queue.putBack(request);
    }
}

void ThumbnailRenderer::handleDeadlines() {
    std::uint64_t expirations = 0;
    if (::read(m_timer.get(), &expirations, sizeof expirations) < 0) {
        return; // it was set anew meanwhile
    }
    const auto now = Clock::now();
    for (std::size_t slot = 0; slot < m_workers.size(); ++slot) {
        const auto& worker = m_workers[slot];
        if (worker != nullptr && worker->job() && worker->job()->deadline <= now) {
            handleDeath(slot, true);
        }
    }
}

void ThumbnailRenderer::armTimer() {
    std::optional<Clock::time_point> first;
    for (const auto& worker : m_workers) {
        if (worker != nullptr && worker->job()) {
            const auto deadline = worker->job()->deadline;
            first = first ? std::min(*first, deadline) : deadline;
        }
    }
    itimerspec when{}; // zero: never
    if (first) {
        constexpr std::int64_t nanosecondsASecond = 1'000'000'000;
        const std::int64_t at = first->time_since_epoch() / std::chrono::nanoseconds(1);
        when.it_value.tv_sec = at / nanosecondsASecond;
        when.it_value.tv_nsec = at % nanosecondsASecond;
    }
    ::timerfd_settime(m_timer.get(), TFD_TIMER_ABSTIME, &when, nullptr);
}

void ThumbnailRenderer::publish(const ThumbnailRequest& request,
                                std::shared_ptr<const Thumbnail> thumbnail) {
    m_cache.insert(request, std::move(thumbnail));
    std::erase(m_retried, request);
    for (const Arrived& arrived : m_queue.finish(request)) {
        arrived(request);
    }
}

void ThumbnailRenderer::publishUndrawable(const ThumbnailRequest& request) {
    publish(request, std::make_shared<const Thumbnail>());
}

} // namespace quillorn
