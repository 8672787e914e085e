#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/render/RenderWorker.h"
#include "platform/render/Thumbnail.h"
#include "platform/render/ThumbnailCache.h"
#include "platform/render/ThumbnailQueue.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <set>
#include <sys/types.h>
#include <vector>

namespace quillorn {

struct ThumbnailLimits {
    /// So much that with a hundred thousand pages in a window all its processes stay below 250 MiB.
    std::size_t cacheBytes = std::size_t{80} << 20U;
    unsigned workers = 0; ///< 0: one for each processor
    RenderWorkerLimits worker;
};

/// Draws pages in worker processes, so that a page that kills, blocks or takes over what draws it
/// costs a worker and nothing else.
///
/// Everyone who shows pages is a requester, and tells his wishes anew whenever they change: what
/// he does not wish any more is not drawn, and dropped where it is being drawn while something
/// else waits. A page whose worker dies is tried once more; one that takes too long is not.
/// Both, and what cannot be read, come out as undrawable, and a document over whose opening
/// workers die or hang is undrawable as a whole.
///
/// There are no threads in here. The owner's event loop watches `eventDescriptor` and calls
/// `processEvents` when it is readable; nothing here waits. The workers die with the thread that
/// made this object.
class ThumbnailRenderer {
public:
    using Requester = ThumbnailQueue::Requester;
    using Arrived = ThumbnailQueue::Arrived;

    /// `program` is the worker's file.
    explicit ThumbnailRenderer(std::filesystem::path program, const ThumbnailLimits& limits = {});
    ThumbnailRenderer(const ThumbnailRenderer&) = delete;
    ThumbnailRenderer& operator=(const ThumbnailRenderer&) = delete;
    ~ThumbnailRenderer();

    /// `arrived` is called, from processEvents, for each picture that comes in: `find` has it
    /// then. It may tell new wishes.
    [[nodiscard]] Requester addRequester(Arrived arrived);
    void removeRequester(Requester requester);
    /// Replaces the wishes of this requester. What is there already is not drawn again.
    void setWishes(Requester requester, const ThumbnailWishes& wishes);

    /// Null when the picture is not there (yet).
    [[nodiscard]] std::shared_ptr<const Thumbnail> find(const ThumbnailRequest& request);
    /// A picture of the same page in another size, or null.
    [[nodiscard]] std::shared_ptr<const Thumbnail> findNearest(const ThumbnailRequest& request);

    [[nodiscard]] int eventDescriptor() const { return m_events.get(); }
    void processEvents();

    /// Whether nothing waits and nothing is being drawn.
    [[nodiscard]] bool isIdle() const;
    /// Of the workers that run now, for tests and for reports.
    [[nodiscard]] std::vector<pid_t> workerProcesses() const;

private:
    using Sources = std::set<std::weak_ptr<const PDFSource>, std::owner_less<>>;

    void dispatch();
    [[nodiscard]] bool startWorker(std::size_t slot);
    void dropWorker(std::size_t slot);
    [[nodiscard]] bool isNeeded(const ThumbnailRequest& request);
    [[nodiscard]] bool isHopeless(const ThumbnailRequest& request) const;
    void cancelUnwished();
    void forgetClosed();

    void handleWorker(std::size_t slot);
    void handleDeath(std::size_t slot, bool isOverdue);
    void handleDeadlines();
    void armTimer();
    void publish(const ThumbnailRequest& request, std::shared_ptr<const Thumbnail> thumbnail);
    void publishUndrawable(const ThumbnailRequest& request);

    std::filesystem::path m_program;
    ThumbnailLimits m_limits;
    ThumbnailCache m_cache;
    FileDescriptor m_events; ///< an epoll of the workers and the timer
    FileDescriptor m_timer;
    std::vector<std::unique_ptr<RenderWorker>> m_workers; ///< null where none runs
    ThumbnailQueue m_queue;
    std::vector<ThumbnailRequest> m_retried; ///< pages over which a worker has died once
    Sources m_suspects;                      ///< documents over whose opening a worker has died
    Sources m_hopeless;                      ///< documents that cannot be opened
};

} // namespace quillorn
