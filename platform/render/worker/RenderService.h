#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/render/RenderProtocol.h"
#include "platform/render/worker/RenderedDocument.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>

namespace quillorn::render {

/// The conversation of a worker with the program that started it.
class RenderService {
public:
    explicit RenderService(std::chrono::seconds processorTimeAPage);
    RenderService(const RenderService&) = delete;
    RenderService& operator=(const RenderService&) = delete;
    ~RenderService();

    /// Answers requests until the program is gone or this process has grown too large.
    void run();

private:
    bool handle(const Request& request, FileDescriptor& passed);
    bool send(Reply reply);
    void open(const Request& request, FileDescriptor file, Reply& reply);
    void draw(const Request& request, Reply& reply);
    void takeCanvas(const FileDescriptor& memory, std::uint64_t bytes);
    void releaseCanvas();

    std::chrono::seconds m_processorTimeAPage;
    FileDescriptor m_channel{channelDescriptor};
    std::span<std::byte> m_canvas; ///< shared memory
    std::map<std::uint32_t, std::unique_ptr<RenderedDocument>> m_documents;
};

} // namespace quillorn::render
