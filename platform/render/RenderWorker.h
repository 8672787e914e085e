#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/render/RenderProtocol.h"
#include "platform/render/Thumbnail.h"
#include "platform/sandbox/SpawnedWorker.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace quillorn {

/// What a worker may use.
struct RenderWorkerLimits {
    std::uint64_t memory = std::uint64_t{2} << 30U; ///< bytes of address space
    std::chrono::milliseconds pageTime{10'000};     ///< for one page; as much to open a document
    std::chrono::milliseconds cancelTime{300};      ///< to stop when nobody wants the page
};

/// Our side of one process that draws pages: what it was asked, what documents it has open, and
/// the shared memory that its pictures come in. It draws one page at a time. One thread.
class RenderWorker {
public:
    using Clock = std::chrono::steady_clock;

    enum class Event {
        nothing,
        opened,    ///< the document of the job; the page is being drawn now
        unopened,  ///< the document cannot be opened; the job is over
        drawn,     ///< `picture` is the answer; the job is over
        failed,    ///< the page cannot be drawn; the job is over
        cancelled, ///< the job is over without an answer
        gone       ///< the process ended or talks nonsense; it is of no more use
    };

    /// What the worker is busy with.
    struct Job {
        ThumbnailRequest request;
        Clock::time_point deadline;
        bool isOpening = false;  ///< has not got to the page yet
        bool isUnopened = false; ///< the document could not be opened
        bool isCancelled = false;
    };

    /// Null when the program cannot be started.
    [[nodiscard]] static std::unique_ptr<RenderWorker> start(const std::filesystem::path& program,
                                                             const RenderWorkerLimits& limits);

    RenderWorker(const RenderWorker&) = delete;
    RenderWorker& operator=(const RenderWorker&) = delete;
    ~RenderWorker();

    /// Becomes readable when there is something to `take`.
    [[nodiscard]] int descriptor() const { return m_channel.get(); }
    [[nodiscard]] pid_t process() const { return m_process.process(); }
    [[nodiscard]] const std::optional<Job>& job() const { return m_job; }

    /// Begins a page; there must be no job. False when the worker is gone.
    [[nodiscard]] bool begin(const ThumbnailRequest& request);
    /// Lets the worker know that nobody wants its answer. The job is over when it says so.
    void cancel();
    /// The next thing the worker said. For what ends a job, `job` is still there until `finish`.
    [[nodiscard]] Event take();
    void finish() { m_job.reset(); }
    /// After `drawn`: a copy of the picture.
    [[nodiscard]] std::shared_ptr<const Thumbnail> picture() const;
    /// Has the worker close what nobody here has open any more. A busy one is told when it is done:
    /// before the next page, or when this is called again.
    void forgetClosed();

private:
    struct Document {
        std::weak_ptr<const PDFSource> source;
        std::uint32_t number = 0;
    };

    RenderWorker(SpawnedWorker process, FileDescriptor channel, const RenderWorkerLimits& limits);

    [[nodiscard]] bool send(const render::Request& request, int descriptor = -1) const;
    [[nodiscard]] bool provideDocument(const std::shared_ptr<const PDFSource>& source);
    [[nodiscard]] bool provideCanvas(std::uint64_t bytes);
    [[nodiscard]] Event understand(const render::Reply& reply);
    void releaseCanvas();

    SpawnedWorker m_process;
    FileDescriptor m_channel;
    RenderWorkerLimits m_limits;
    std::optional<Job> m_job;
    std::vector<Document> m_documents; ///< the one used last at the end
    std::uint32_t m_lastNumber = 0;
    const std::byte* m_canvas = nullptr; ///< shared memory of m_canvasBytes
    std::uint64_t m_canvasBytes = 0;
    render::Reply m_drawn;
};

} // namespace quillorn
