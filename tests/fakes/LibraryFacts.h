#pragma once

#include "platform/pdf/OpeningFacts.h"
#include "platform/pdf/PDFReader.h"
#include "platform/pdf/PDFVersion.h"
#include "platform/pdf/PageTree.h"

#include <optional>

namespace quillorn::tests {

/// What libqpdf says of a clear document in which it has nothing to mend and whose pages need not
/// be counted; nothing of another. What is read in a quicker way must be the same.
[[nodiscard]] inline std::optional<OpeningFacts> libraryFacts(const PDFReaderInput& input) {
    const auto reader = PDFReader::open(input);
    if (!reader || !(*reader)->inOrder || (*reader)->document->isEncrypted()) {
        return std::nullopt;
    }
    QPDF& document = *(*reader)->document;
    const auto stated = PageTree::statedPageCount(document, input.size);
    const PDFVersion header = PDFVersion::parse(document.getPDFVersion());
    return stated ? std::optional(OpeningFacts{laterVersion(header, document.getRoot()), *stated})
                  : std::nullopt;
}

} // namespace quillorn::tests
