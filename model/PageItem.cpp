#include "model/PageItem.h"

#include "model/FileNames.h"

#include <cstdlib>
#include <utility>

namespace quillorn {

namespace {

std::int32_t drawIdentifier() {
    const int a = std::rand();
    const int b = std::rand();
    const int c = std::rand();
    return pageItemIdentifier(a, b, c);
}

} // namespace

std::int32_t pageItemIdentifier(int a, int b, int c) {
    return a / 2 + b / 6 - c / 3;
}

PageItem::PageItem(std::string path, std::shared_ptr<PDFPageEx> pagePDF)
    : m_imagePath(std::move(path)),
      m_filename(lastPathComponent(m_imagePath)),
      m_page(std::move(pagePDF)),
      m_demo(drawIdentifier()) {}

std::string PageItem::imageUID() const {
    return std::to_string(m_demo);
}

std::shared_ptr<PDFPageEx> PageItem::page() const {
    const std::lock_guard lock(m_mutex);
    return m_page;
}

void PageItem::setPage(std::shared_ptr<PDFPageEx> page) {
    const std::lock_guard lock(m_mutex);
    m_page.swap(page); // the old page goes after the lock
}

std::string PageItem::filename() const {
    const std::lock_guard lock(m_mutex);
    return m_filename;
}

void PageItem::setFilename(std::string filename) {
    const std::lock_guard lock(m_mutex);
    m_filename = std::move(filename);
}

std::string PageItem::imagePath() const {
    const std::lock_guard lock(m_mutex);
    return m_imagePath;
}

void PageItem::setImagePath(std::string imagePath) {
    const std::lock_guard lock(m_mutex);
    m_imagePath = std::move(imagePath);
}

std::string PageItem::pageLabel() const {
    const std::shared_ptr<PDFPageEx> shown = page();
    return shown ? shown->label() : std::string();
}

} // namespace quillorn
