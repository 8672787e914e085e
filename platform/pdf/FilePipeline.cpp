#include "platform/pdf/FilePipeline.h"

#include <span>

namespace quillorn {

namespace {

constexpr std::size_t bufferSize = 256U << 10U;

} // namespace

FilePipeline::FilePipeline(ReplacementFile& file, std::stop_token stop)
    : Pipeline("output file", nullptr), m_file(file), m_stop(std::move(stop)) {
    m_buffer.reserve(bufferSize);
}

void FilePipeline::write(unsigned char const* data, size_t length) {
    const auto* const bytes = reinterpret_cast<const char*>(data);
    if (m_buffer.size() + length > bufferSize) {
        flush();
        if (length >= bufferSize) {
            if (auto written = m_file.write(std::span(bytes, length)); !written) {
                throw WriteFailed(written.error());
            }
            return;
        }
    }
    m_buffer.insert(m_buffer.end(), bytes, bytes + length);
}

void FilePipeline::finish() { flush(); }

void FilePipeline::flush() {
    if (m_stop.stop_requested()) {
        throw WriteCancelled();
    }
    if (auto written = m_file.write(m_buffer); !written) {
        throw WriteFailed(written.error());
    }
    m_buffer.clear();
}

} // namespace quillorn
