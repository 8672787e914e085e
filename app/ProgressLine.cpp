#include "app/ProgressLine.h"

#include "app/TerminalText.h"

#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t smallestUsefulName = 8; // characters

} // namespace

ProgressLine::ProgressLine(std::ostream& terminal, std::size_t width, std::string name, Clock clock)
    : m_terminal(terminal),
      m_width(width),
      m_name(std::move(name)),
      m_clock(std::move(clock)),
      m_drawn(m_clock()) {}

void ProgressLine::documentBeginWrite(std::size_t pageCount) {
    m_pageCount = pageCount;
    m_drawn = m_clock();
}

void ProgressLine::documentEndPageWrite(std::size_t pageIndex) {
    const auto now = m_clock();
    if (now - m_drawn < redrawInterval) {
        return;
    }
    m_drawn = now;
    const std::string progress =
        ": " + grouped(pageIndex + 1) + " of " + counted(m_pageCount, "page");
    // The last column stays free: some terminals go on to the next line when it is used.
    const std::size_t room = m_width > progress.size() ? m_width - progress.size() - 1 : 0;
    m_terminal << eraseLine << shortened(m_name, std::max(room, smallestUsefulName)) << progress
               << std::flush;
    m_isVisible = true;
}

void ProgressLine::clear() {
    if (m_isVisible) {
        m_terminal << eraseLine << std::flush;
        m_isVisible = false;
    }
}

} // namespace quillorn
