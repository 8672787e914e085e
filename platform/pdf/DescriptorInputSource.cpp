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

void DescriptorInputSource::readFully(std::span<char> target, qpdf_offset_t offset) const {
    const auto got = readAt(*m_descriptor, m_name, target, static_cast<std::uint64_t>(offset));
    if (!got) {
        throw std::runtime_error(m_name + ": " + got.error().reason);
    }
    if (*got < target.size()) {
        // libqpdf's recovery would wait for ever for an end that it cannot reach.
        throw std::runtime_error(m_name + ": the file became shorter while it was read");
    }
}

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
    const auto length =
        std::min<qpdf_offset_t>(static_cast<qpdf_offset_t>(windowSize), m_size - start);
    m_windowLength = 0; // nothing is left of the old one if reading fails
    readFully(std::span(m_window).first(static_cast<std::size_t>(length)), start);
    m_windowStart = start;
    m_windowLength = length;
    return true;
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
    qpdf_offset_t target = 0; // damaged files ask for any number
    if (__builtin_add_overflow(base, offset, &target) || target < 0) {
        throw std::runtime_error(m_name + ": seek to where no file can be");
    }
    m_offset = target;
}

size_t DescriptorInputSource::read(char* destination, size_t length) {
    last_offset = m_offset;
    length = std::min(length, static_cast<size_t>(std::max<qpdf_offset_t>(0, m_size - m_offset)));
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
            readFully(std::span(destination + done, length - done), m_offset);
            m_offset += static_cast<qpdf_offset_t>(length - done);
            done = length;
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
