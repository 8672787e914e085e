#include "platform/pdf/LZWPipeline.h"

#include <algorithm>
#include <stdexcept>

namespace quillorn {

namespace {

constexpr unsigned clearCode = 256;
constexpr unsigned endCode = 257;
constexpr unsigned firstFreeCode = 258;
constexpr unsigned noCode = 1U << 16U;
constexpr unsigned narrowestCode = 9;
constexpr unsigned widestCode = 12;

} // namespace

LZWPipeline::LZWPipeline(bool earlyChange, Pipeline* target)
    : Pipeline("LZW", target), m_earlyChange(earlyChange) {
    clear();
}

void LZWPipeline::clear() {
    m_width = narrowestCode;
    m_next = firstFreeCode;
    m_previous = noCode;
}

void LZWPipeline::write(unsigned char const* data, size_t length) {
    for (size_t i = 0; i < length && !m_ended; ++i) {
        m_bits = m_bits << 8U | data[i];
        m_bitCount += 8;
        if (m_bitCount >= m_width) {
            m_bitCount -= m_width;
            take(m_bits >> m_bitCount & ((1U << m_width) - 1));
        }
    }
}

void LZWPipeline::finish() {
    getNext()->finish();
}

void LZWPipeline::take(unsigned code) {
    if (code == clearCode) {
        clear();
        return;
    }
    if (code == endCode) {
        m_ended = true;
        return;
    }
    if (code > m_next || (code == m_next && m_previous == noCode)) {
        throw std::runtime_error("LZW data is damaged");
    }
    if (m_previous != noCode && m_next < mostCodes) {
        // A code that is taken before it is complete begins as the previous one does.
        expand(code == m_next ? m_previous : code);
        m_prefix[m_next] = static_cast<std::uint16_t>(m_previous);
        m_last[m_next] = m_text.front();
        ++m_next;
        const unsigned limit = m_next + (m_earlyChange ? 1 : 0);
        while (m_width < widestCode && limit >= 1U << m_width) {
            ++m_width;
        }
    } else if (code >= m_next) {
        throw std::runtime_error("LZW data is damaged");
    }
    expand(code);
    m_previous = code;
    getNext()->write(m_text.data(), m_text.size());
}

void LZWPipeline::expand(unsigned code) {
    m_text.clear();
    while (code >= firstFreeCode) {
        m_text.push_back(m_last[code]);
        code = m_prefix[code];
    }
    m_text.push_back(static_cast<unsigned char>(code));
    std::reverse(m_text.begin(), m_text.end());
}

} // namespace quillorn
