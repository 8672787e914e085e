#pragma once

#include "platform/pdf/PDFWriter.h"

#include <cstddef>

namespace quillorn {

/// Turns the two halves of a write (collecting the pages, producing the bytes) into the page
/// notifications of an observer: each page once, ascending, the last one when all is written.
class WriteProgress {
public:
    WriteProgress(PDFWriteObserver* observer, std::size_t pageCount)
        : m_observer(observer), m_pageCount(pageCount) {}

    void begin();
    void pageCollected();
    void bytesProduced(int percent); ///< 0 to 100
    void end();

private:
    void reach(double fraction);

    PDFWriteObserver* m_observer;
    std::size_t m_pageCount;
    std::size_t m_collected = 0;
    std::size_t m_notified = 0;
};

} // namespace quillorn
