#include "platform/render/worker/RenderService.h"

#include "platform/render/RenderChannel.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <utility>

namespace quillorn::render {

namespace {

/// A worker that grew beyond this hands over to a fresh one.
constexpr long largestWorker = 640L * 1024; // KiB, as getrusage counts

bool isOutgrown() {
    rusage usage{};
    return ::getrusage(RUSAGE_SELF, &usage) == 0 && usage.ru_maxrss > largestWorker;
}

/// Whether the program has said something meanwhile, or is gone.
bool somethingCameIn(void* /*unused*/) {
    pollfd waiting{channelDescriptor, POLLIN, 0};
    return ::poll(&waiting, 1, 0) > 0;
}

/// From now on this process may use that much more processor time. Should the program be in no
/// state to end a worker that takes too long, the kernel does.
void allowProcessorTime(std::chrono::seconds time) {
    rusage usage{};
    rlimit limit{};
    if (::getrusage(RUSAGE_SELF, &usage) != 0 || ::getrlimit(RLIMIT_CPU, &limit) != 0) {
        return;
    }
    limit.rlim_cur = static_cast<rlim_t>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + 2) +
                     static_cast<rlim_t>(time.count());
    ::setrlimit(RLIMIT_CPU, &limit);
}

} // namespace

RenderService::RenderService(std::chrono::seconds processorTimeAPage)
    : m_processorTimeAPage(processorTimeAPage) {}

RenderService::~RenderService() {
    releaseCanvas();
}

void RenderService::run() {
    Request request;
    FileDescriptor passed;
    while (receivePacket(m_channel, std::as_writable_bytes(std::span(&request, 1)), passed, true) ==
           Received::packet) {
        if (!handle(request, passed) || isOutgrown()) {
            return;
        }
        passed.reset();
    }
}

bool RenderService::handle(const Request& request, FileDescriptor& passed) {
    Reply reply;
    reply.document = request.document;
    allowProcessorTime(m_processorTimeAPage);
    switch (request.command) {
    case Command::open:
        open(request, std::move(passed), reply);
        return send(reply);
    case Command::close:
        m_documents.erase(request.document);
        return true;
    case Command::canvas:
        takeCanvas(passed, request.bytes);
        return true;
    case Command::draw:
        draw(request, reply);
        return send(reply);
    case Command::cancel: // for an answer that was on its way already
        return true;
    }
    return false;
}

bool RenderService::send(Reply reply) {
    return sendPacket(m_channel, std::as_bytes(std::span(&reply, 1)));
}

void RenderService::open(const Request& request, FileDescriptor file, Reply& reply) {
    const std::size_t length =
        std::min<std::size_t>(request.passwordLength, Request::longestPassword);
    try {
        auto document = RenderedDocument::open(std::move(file), request.bytes,
                                               std::string(request.password, length));
        if (document != nullptr) {
            reply.answer = Answer::opened;
            reply.pageCount = document->pageCount();
            m_documents[request.document] = std::move(document);
        }
    } catch (const std::exception&) {
        reply.answer = Answer::failed; // the answer says all that anybody can do about it
    }
}

void RenderService::draw(const Request& request, Reply& reply) {
    const auto document = m_documents.find(request.document);
    if (document == m_documents.end() || request.width == 0 || request.height == 0 ||
        request.width > longestSide || request.height > longestSide) {
        return;
    }
    const PageDrawing drawing{request.page,     request.width, request.height,
                              request.rotation, m_canvas,      somethingCameIn};
    std::optional<PictureSize> size;
    try {
        if (!somethingCameIn(nullptr)) {
            size = document->second->draw(drawing);
        }
    } catch (const std::exception&) {
        size.reset(); // out of memory, mostly: this page cannot be drawn
    }
    if (size) {
        reply.answer = Answer::drawn;
        reply.width = size->width;
        reply.height = size->height;
    } else if (somethingCameIn(nullptr)) {
        reply.answer = Answer::cancelled;
    }
}

void RenderService::takeCanvas(const FileDescriptor& memory, std::uint64_t bytes) {
    releaseCanvas();
    void* const place = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
    if (place != MAP_FAILED) {
        m_canvas = std::span(static_cast<std::byte*>(place), bytes);
    }
}

void RenderService::releaseCanvas() {
    if (!m_canvas.empty()) {
        ::munmap(m_canvas.data(), m_canvas.size());
        m_canvas = {};
    }
}

} // namespace quillorn::render
