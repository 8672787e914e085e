#include "platform/pdf/PDFDocument.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace quillorn {

PDFDocument::PDFDocument(std::shared_ptr<const PDFSource> source) {
    takeAllPagesOf(std::move(source));
}

PDFDocument::~PDFDocument() {
    for (const Slot& slot : m_slots) {
        if (slot.page) {
            slot.page->m_document = nullptr;
        }
    }
}

PDFResult<std::unique_ptr<PDFDocument>>
PDFDocument::open(const std::filesystem::path& path,
                  const std::optional<SnapshotPolicy>& snapshots) {
    auto source = PDFSource::open(path, snapshots);
    if (!source) {
        return tl::unexpected(std::move(source.error()));
    }
    return std::make_unique<PDFDocument>(std::move(*source));
}

void PDFDocument::takeAllPagesOf(std::shared_ptr<const PDFSource> source) {
    for (const Slot& slot : m_slots) {
        if (slot.page) {
            slot.page->m_document = nullptr;
        }
    }
    m_source = std::move(source);
    m_slots.clear();
    m_slots.resize(m_source->pageCount());
    for (std::size_t i = 0; i < m_slots.size(); ++i) {
        m_slots[i].sourceIndex = i;
    }
}

bool PDFDocument::allowsCopying() const {
    return !m_source || m_source->permissions().copying;
}

bool PDFDocument::allowsPrinting() const {
    return !m_source || m_source->permissions().printing;
}

PDFResult<void> PDFDocument::unlockWithPassword(const std::string& password) {
    if (!m_source) {
        return {};
    }
    auto unlocked = m_source->unlocked(password);
    if (!unlocked) {
        return tl::unexpected(std::move(unlocked.error()));
    }
    takeAllPagesOf(std::move(*unlocked));
    return {};
}

std::shared_ptr<PDFPage> PDFDocument::pageAtIndex(std::size_t index) const {
    if (index >= m_slots.size()) {
        return nullptr;
    }
    const Slot& slot = m_slots[index];
    if (!slot.page) {
        slot.page = std::make_shared<PDFPage>(PDFPageReference{m_source, slot.sourceIndex, 0, {}});
        slot.page->m_document = this;
    }
    return slot.page;
}

std::size_t PDFDocument::indexForPage(const PDFPage& page) const {
    if (page.m_document != this) {
        return notFound;
    }
    const auto found = std::find_if(m_slots.begin(), m_slots.end(),
                                    [&page](const Slot& slot) { return slot.page.get() == &page; });
    return found == m_slots.end() ? notFound
                                  : static_cast<std::size_t>(std::distance(m_slots.begin(), found));
}

std::shared_ptr<PDFPage> PDFDocument::insertPageAtIndex(const std::shared_ptr<PDFPage>& page,
                                                        std::size_t index) {
    std::shared_ptr<PDFPage> inserted = page;
    if (page->m_document != nullptr) {
        inserted = std::make_shared<PDFPage>(page->reference());
        inserted->setLabel(page->label());
    }
    inserted->m_document = this;
    const auto position =
        m_slots.begin() + static_cast<std::ptrdiff_t>(std::min(index, m_slots.size()));
    m_slots.insert(position, Slot{0, inserted});
    return inserted;
}

std::shared_ptr<PDFPage> PDFDocument::removePageAtIndex(std::size_t index) {
    std::shared_ptr<PDFPage> page = pageAtIndex(index);
    if (page) {
        page->m_document = nullptr;
        m_slots.erase(m_slots.begin() + static_cast<std::ptrdiff_t>(index));
    }
    return page;
}

void PDFDocument::movePage(std::size_t from, std::size_t to) {
    if (from >= m_slots.size() || to >= m_slots.size()) {
        return;
    }
    const auto first = m_slots.begin() + static_cast<std::ptrdiff_t>(std::min(from, to));
    const auto last = m_slots.begin() + static_cast<std::ptrdiff_t>(std::max(from, to)) + 1;
    std::rotate(first, from < to ? std::next(first) : std::prev(last), last);
}

std::vector<PDFPageReference> PDFDocument::pageReferences() const {
    std::vector<PDFPageReference> references;
    references.reserve(m_slots.size());
    for (const Slot& slot : m_slots) {
        references.push_back(slot.page ? slot.page->reference()
                                       : PDFPageReference{m_source, slot.sourceIndex, 0, {}});
    }
    return references;
}

PDFResult<PDFWriteReport> PDFDocument::writeToFile(const std::filesystem::path& path,
                                                   const PDFWriteOptions& options) const {
    return writePDF(pageReferences(), path, options);
}

} // namespace quillorn
