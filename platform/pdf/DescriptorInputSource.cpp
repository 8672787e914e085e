#include "platform/pdf/DescriptorInputSource.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>
#include <stdexcept>
#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t windowSize = 16U << 10U;

} // namespace

DescriptorInputSource::DescriptorInputSource(std::shared_ptr<const FileDescriptor> descriptor,
                                             std::string name, std::uint64_t size)
    : m_descriptor(std::move(descriptor)),
      m_name(std::move(name)),
      m_size(static_cast<qpdf_offset_t>(size)),
      m_window(windowSize) {}

bool DescriptorInputSource::loadWindow() {
    if (m_offset >= m_size) {
        return false;
    }
    // Parsing often steps back a little after a jump, so the window starts a bit earlier then;
    // reading on past its end is a long stream.
    const bool readsOn = m_windowLength > 0 && m_offset == m_windowStart + m_windowLength;
    const qpdf_offset_t start =
        readsOn ? m_offset
                : std::max<qpdf_offset_t>(0, m_offset - static_cast<qpdf_offset_t>(windowSize / 8));
    auto got = readAt(*m_descriptor, m_name, m_window, static_cast<std::uint64_t>(start));
    if (!got) {
        throw std::runtime_error(m_name + ": " + got.error().reason);
    }
    m_windowStart = start;
    m_windowLength = static_cast<qpdf_offset_t>(*got);
    return windowCovers(m_offset);
}

qpdf_offset_t DescriptorInputSource::findAndSkipNextEOL() {
    qpdf_offset_t lineEnd = -1;
    while (windowCovers(m_offset) || loadWindow()) {
        const char* const begin = m_window.data() + (m_offset - m_windowStart);
        const char* const end = m_window.data() + m_windowLength;
        if (lineEnd < 0) {
            const char* const found =
                std::find_if(begin, end, [](char ch) { return ch == '\r' || ch == '\n'; });
            m_offset += found - begin;
            if (found == end) {
                continue;
            }
            lineEnd = m_offset;
        } else {
            const char* const found =
                std::find_if(begin, end, [](char ch) { return ch != '\r' && ch != '\n'; });
            m_offset += found - begin;
            if (found != end) {
                return lineEnd;
            }
        }
    }
    return lineEnd < 0 ? m_offset : lineEnd;
}

void DescriptorInputSource::seek(qpdf_offset_t offset, int whence) {
    const qpdf_offset_t base = whence == SEEK_CUR ? m_offset : whence == SEEK_END ? m_size : 0;
    if (base + offset < 0) {
        throw std::runtime_error(m_name + ": seek before the beginning of the file");
    }
    m_offset = base + offset;
}

size_t DescriptorInputSource::read(char* destination, size_t length) {
    last_offset = m_offset;
    size_t done = 0;
    while (done < length) {
        if (windowCovers(m_offset)) {
            const size_t available = static_cast<size_t>(m_windowStart + m_windowLength - m_offset);
            const size_t step = std::min(available, length - done);
            std::memcpy(destination + done, m_window.data() + (m_offset - m_windowStart), step);
            m_offset += static_cast<qpdf_offset_t>(step);
            done += step;
        } else if (length - done >= windowSize) {
            // A long stream goes straight to its reader and leaves the window as it is.
            auto got = readAt(*m_descriptor, m_name, std::span(destination + done, length - done),
                              static_cast<std::uint64_t>(m_offset));
            if (!got) {
                throw std::runtime_error(m_name + ": " + got.error().reason);
            }
            m_offset += static_cast<qpdf_offset_t>(*got);
            done += *got;
            break;
        } else if (!loadWindow()) {
            break;
        }
    }
    return done;
}

void DescriptorInputSource::unreadCh(char /*ch*/) {
    if (m_offset > 0) {
        --m_offset;
    }
}

} // namespace quillorn
