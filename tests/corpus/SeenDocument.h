#pragma once

#include "platform/pdf/PDFSource.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/OutsideView.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::corpus {

/// A document of the corpus: opened as the program does it, and seen by other programs.
class SeenDocument {
public:
    explicit SeenDocument(Document document) : m_document(std::move(document)) {}

    /// Before anything else. Returns what is wrong; empty when the document has its pages.
    [[nodiscard]] std::string open();

    [[nodiscard]] const Document& document() const { return m_document; }
    [[nodiscard]] const std::shared_ptr<const PDFSource>& source() const { return m_source; }
    [[nodiscard]] std::size_t pageCount() const { return m_source->pageCount(); }

    /// What qpdf thinks of the document.
    [[nodiscard]] const Verdict& verdict() const { return m_verdict; }

    /// The pages as `reader` sees them, read once; not all of them where it cannot.
    [[nodiscard]] const std::vector<OutsidePage>& pages(OutsideReader reader) const;

private:
    Document m_document;
    std::shared_ptr<const PDFSource> m_source;
    Verdict m_verdict;
    mutable std::map<OutsideReader, std::vector<OutsidePage>> m_pages;
};

/// The first program that sees every page of all these documents.
[[nodiscard]] std::optional<OutsideReader>
readerOfAll(const std::vector<const SeenDocument*>& documents);

} // namespace quillorn::corpus
