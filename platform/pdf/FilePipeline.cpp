#include "platform/pdf/FilePipeline.h"

#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t bufferSize = 256U << 10U;

/// A block of this size is written as it stands: copying it first would cost more than the
/// system call that it saves.
constexpr std::size_t directSize = 64U << 10U;

} // namespace

FilePipeline::FilePipeline(ReplacementFile& file, std::stop_token stop)
    : Pipeline("output file", nullptr), m_file(file), m_stop(std::move(stop)) {
    m_buffer.reserve(bufferSize);
}

void FilePipeline::write(unsigned char const* data, size_t length) {
    const auto* const bytes = reinterpret_cast<const char*>(data);
    if (m_buffer.size() + length > bufferSize || length >= directSize) {
        flush();
    }
    if (length >= directSize) {
        writeToFile(std::span(bytes, length));
        return;
    }
    m_buffer.insert(m_buffer.end(), bytes, bytes + length);
}

void FilePipeline::finish() {
    flush();
}

void FilePipeline::throwIfEnded() const {
    if (m_failure) {
        throw WriteFailed(*m_failure);
    }
    if (m_stop.stop_requested()) {
        throw WriteCancelled();
    }
}

void FilePipeline::flush() {
    writeToFile(m_buffer);
    m_buffer.clear();
}

void FilePipeline::writeToFile(std::span<const char> data) {
    if (m_failure || m_stop.stop_requested()) {
        return;
    }
    if (auto written = m_file.write(data); !written) {
        m_failure = std::move(written.error());
    }
}

} // namespace quillorn
