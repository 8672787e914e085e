#pragma once

#include "platform/pdf/PDFWriter.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <ostream>
#include <string>

namespace quillorn {

/// What a terminal is told to go to the start of its line and make everything behind it blank.
inline constexpr const char* eraseLine = "\r\033[K";

/// Shows how far the writing of one PDF has come on one line of a terminal, which it draws over
/// and over, and which is blank again at the end: after `documentEndWrite`, or with this object.
class ProgressLine final : public PDFWriteObserver {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// Redrawing more often would only cost time; a write that is over sooner shows nothing.
    static constexpr std::chrono::milliseconds redrawInterval{50};

    /// `terminal` is not owned; `width` is its number of columns; `name` is printable text.
    ProgressLine(std::ostream& terminal, std::size_t width, std::string name,
                 Clock clock = std::chrono::steady_clock::now);
    ~ProgressLine() override { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void documentBeginWrite(std::size_t pageCount) override;
    void documentEndPageWrite(std::size_t pageIndex) override;
    void documentEndWrite() override { clear(); }

private:
    void clear();

    std::ostream& m_terminal;
    std::size_t m_width;
    std::string m_name;
    Clock m_clock;
    std::chrono::steady_clock::time_point m_drawn;
    std::size_t m_pageCount = 0;
    bool m_isVisible = false;
};

} // namespace quillorn
