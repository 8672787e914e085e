#include "platform/pdf/WriteProgress.h"

#include <algorithm>

namespace quillorn {

namespace {

/// The share of the time that collecting pages takes, as measured on long text documents.
constexpr double collectingShare = 0.6;

} // namespace

void WriteProgress::begin() {
    if (m_observer != nullptr) {
        m_observer->documentBeginWrite(m_pageCount);
    }
}

void WriteProgress::pageCollected() {
    ++m_collected;
    reach(collectingShare * static_cast<double>(m_collected) /
          static_cast<double>(std::max<std::size_t>(1, m_pageCount)));
}

void WriteProgress::bytesProduced(int percent) {
    reach(collectingShare + (1 - collectingShare) * std::clamp(percent, 0, 99) / 100.0);
}

void WriteProgress::end() {
    reach(1);
    if (m_observer != nullptr) {
        m_observer->documentEndWrite();
    }
}

void WriteProgress::reach(double fraction) {
    const auto pages = static_cast<std::size_t>(fraction * static_cast<double>(m_pageCount));
    for (; m_notified < std::min(pages, m_pageCount); ++m_notified) {
        if (m_observer != nullptr) {
            m_observer->documentEndPageWrite(m_notified);
        }
    }
}

} // namespace quillorn
