#include "platform/render/RenderWorker.h"

#include "platform/render/RenderChannel.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace {

using render::Answer;
using render::Command;
using render::Reply;
using render::Request;

/// Documents that a worker keeps open.
constexpr std::size_t mostDocuments = 6;
constexpr std::uint64_t leastCanvas = 1U << 20U; // bytes
constexpr std::uint64_t keptCanvas = 8U << 20U;  // bytes

bool isSame(const std::weak_ptr<const PDFSource>& a, const std::shared_ptr<const PDFSource>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

/// Shared memory whose size nobody can change, so that reading it is safe whatever the worker does.
FileDescriptor makeCanvas(std::uint64_t bytes) {
    FileDescriptor memory(::memfd_create("quillorn-page", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (::ftruncate(memory.get(), static_cast<off_t>(bytes)) != 0 ||
        ::fcntl(memory.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        memory.reset();
    }
    return memory;
}

} // namespace

std::unique_ptr<RenderWorker> RenderWorker::start(const std::filesystem::path& program,
                                                  const RenderWorkerLimits& limits) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return nullptr;
    }
    FileDescriptor channel(ends[0]);
    const FileDescriptor other(ends[1]);
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(limits.pageTime);
    SpawnedWorker process;
    const int error = process.start(
        {program, {std::to_string(limits.memory), std::to_string(seconds.count())}, {&other}});
    if (error != 0) {
        return nullptr;
    }
    return std::unique_ptr<RenderWorker>(
        new RenderWorker(std::move(process), std::move(channel), limits));
}

RenderWorker::RenderWorker(SpawnedWorker process, FileDescriptor channel,
                           const RenderWorkerLimits& limits)
    : m_process(std::move(process)), m_channel(std::move(channel)), m_limits(limits) {}

RenderWorker::~RenderWorker() {
    releaseCanvas();
}

bool RenderWorker::send(const Request& request, int descriptor) const {
    return render::sendPacket(m_channel, std::as_bytes(std::span(&request, 1)), descriptor);
}

bool RenderWorker::begin(const ThumbnailRequest& request) {
    forgetClosed();
    m_job = Job{request, Clock::now() + m_limits.pageTime, false, false, false};
    const std::uint32_t numberBefore = m_lastNumber;
    const std::uint64_t bytes = std::uint64_t{request.width} * request.height * render::bytesAPixel;
    if (!provideCanvas(bytes) || !provideDocument(request.source)) {
        return false;
    }
    m_job->isOpening = m_lastNumber != numberBefore;
    Request draw;
    draw.command = Command::draw;
    draw.document = m_documents.back().number;
    draw.page = static_cast<std::uint32_t>(request.page);
    draw.width = request.width;
    draw.height = request.height;
    draw.rotation = request.rotation;
    return send(draw);
}

bool RenderWorker::provideDocument(const std::shared_ptr<const PDFSource>& source) {
    const auto known = std::ranges::find_if(m_documents, [&source](const Document& document) {
        return isSame(document.source, source);
    });
    if (known != m_documents.end()) {
        std::rotate(known, known + 1, m_documents.end());
        return true;
    }
    if (m_documents.size() >= mostDocuments) {
        Request close;
        close.command = Command::close;
        close.document = m_documents.front().number;
        m_documents.erase(m_documents.begin());
        if (!send(close)) {
            return false;
        }
    }
    const PDFSourceAccess access = source->access();
    Request open;
    open.command = Command::open;
    open.document = ++m_lastNumber;
    open.bytes = access.size;
    const std::size_t length = std::min(access.password.size(), Request::longestPassword);
    std::memcpy(open.password, access.password.data(), length);
    open.passwordLength = static_cast<std::uint32_t>(length);
    m_documents.push_back({source, open.document});
    return send(open, access.descriptor->get());
}

bool RenderWorker::provideCanvas(std::uint64_t bytes) {
    const std::uint64_t size = std::max(std::bit_ceil(bytes), leastCanvas);
    // One that was made for a large preview is not kept for thumbnails.
    if (m_canvas != nullptr && bytes <= m_canvasBytes &&
        m_canvasBytes <= std::max(size, keptCanvas)) {
        return true;
    }
    releaseCanvas();
    const FileDescriptor memory = makeCanvas(size);
    void* const place = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, memory.get(), 0);
    if (place == MAP_FAILED) {
        return false;
    }
    m_canvas = static_cast<const std::byte*>(place);
    m_canvasBytes = size;
    Request canvas;
    canvas.command = Command::canvas;
    canvas.bytes = size;
    return send(canvas, memory.get());
}

void RenderWorker::releaseCanvas() {
    if (m_canvas != nullptr) {
        ::munmap(const_cast<std::byte*>(m_canvas), m_canvasBytes);
        m_canvas = nullptr;
    }
}

void RenderWorker::cancel() {
    if (m_job && !m_job->isCancelled) {
        m_job->isCancelled = true;
        m_job->deadline = std::min(m_job->deadline, Clock::now() + m_limits.cancelTime);
        // A worker that cannot be told is found out by its silence.
        static_cast<void>(send(Request()));
    }
}

void RenderWorker::forgetClosed() {
    if (m_job) {
        return; // whatever is said to a worker that draws makes it give its page up
    }
    std::erase_if(m_documents, [this](const Document& document) {
        if (!document.source.expired()) {
            return false;
        }
        Request close;
        close.command = Command::close;
        close.document = document.number;
        static_cast<void>(send(close)); // found out as well, when it is to draw
        return true;
    });
}

RenderWorker::Event RenderWorker::take() {
    Reply reply;
    FileDescriptor unexpected;
    switch (render::receivePacket(m_channel, std::as_writable_bytes(std::span(&reply, 1)),
                                  unexpected, false)) {
    case render::Received::packet:
        return understand(reply);
    case render::Received::nothing:
        return Event::nothing;
    case render::Received::closed:
        break;
    }
    return Event::gone;
}

RenderWorker::Event RenderWorker::understand(const Reply& reply) {
    if (!m_job || m_documents.empty() || reply.document != m_documents.back().number) {
        return Event::gone; // it answers what nobody asked
    }
    if (m_job->isOpening) {
        // The page that was asked for in the same breath is answered as well.
        m_job->isOpening = false;
        if (reply.answer != Answer::opened) {
            m_job->isUnopened = true;
            return Event::nothing;
        }
        if (!m_job->isCancelled) {
            m_job->deadline = Clock::now() + m_limits.pageTime;
        }
        return Event::opened;
    }
    if (m_job->isUnopened) {
        m_documents.pop_back();
        return Event::unopened;
    }
    switch (reply.answer) {
    case Answer::drawn:
        if (reply.width == 0 || reply.height == 0 || reply.width > m_job->request.width ||
            reply.height > m_job->request.height) {
            return Event::gone;
        }
        m_drawn = reply;
        return Event::drawn;
    case Answer::failed:
        return Event::failed;
    case Answer::cancelled:
        return Event::cancelled;
    case Answer::opened:
        break;
    }
    return Event::gone;
}

std::shared_ptr<const Thumbnail> RenderWorker::picture() const {
    auto thumbnail = std::make_shared<Thumbnail>();
    thumbnail->state = Thumbnail::State::drawn;
    thumbnail->width = m_drawn.width;
    thumbnail->height = m_drawn.height;
    thumbnail->pixels.resize(std::size_t{m_drawn.width} * m_drawn.height);
    std::memcpy(thumbnail->pixels.data(), m_canvas, thumbnail->pixels.size() * render::bytesAPixel);
    return thumbnail;
}

} // namespace quillorn
