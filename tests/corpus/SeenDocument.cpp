#include "tests/corpus/SeenDocument.h"

#include "tests/corpus/OpenedDocument.h"

#include <algorithm>

namespace quillorn::corpus {

std::string SeenDocument::open() {
    auto source = openDocument(m_document);
    if (!source) {
        return m_document.name + ": " + source.error().reason;
    }
    m_source = std::move(*source);
    if (m_source->isLocked()) {
        return m_document.name + ": no password of the manifest fits";
    }
    m_verdict = checkWithQPDF(m_document.file, m_document.passwords);
    return m_source->pageCount() == 0 ? m_document.name + ": has no pages" : std::string();
}

const std::vector<OutsidePage>& SeenDocument::pages(OutsideReader reader) const {
    const auto [place, isNew] = m_pages.try_emplace(reader);
    if (isNew) {
        place->second = readPages(reader, m_document.file, m_document.passwords);
    }
    return place->second;
}

std::optional<OutsideReader> readerOfAll(const std::vector<const SeenDocument*>& documents) {
    for (const OutsideReader reader : outsideReaders) {
        if (std::ranges::all_of(documents, [reader](const SeenDocument* document) {
                return document->pages(reader).size() == document->pageCount();
            })) {
            return reader;
        }
    }
    return std::nullopt;
}

} // namespace quillorn::corpus
