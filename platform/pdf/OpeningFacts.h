#pragma once

#include "platform/pdf/PDFReader.h"
#include "platform/pdf/PDFVersion.h"

#include <cstddef>
#include <optional>
#include <qpdf/QPDFObjectHandle.hh>

namespace quillorn {

/// What opening a long document needs to know.
struct OpeningFacts {
    PDFVersion version; ///< `laterVersion`
    std::size_t pageCount = 0;
    bool operator==(const OpeningFacts&) const = default;
};

/// Reads them by looking at the catalogue and the root of the page tree alone, which libqpdf cannot
/// do before it has made a list of all objects: half of the time that opening takes, and memory.
///
/// For clear documents whose cross-references fit their file exactly.
/// Nothing for all others, be they only unusual, and nothing where the pages must be counted:
/// libqpdf has the last word on those. Never throws; thread-safe for different descriptors.
[[nodiscard]] std::optional<OpeningFacts> readOpeningFacts(const PDFReaderInput& input);

/// What libqpdf says of a clear document in which it has nothing to mend and whose pages need not
/// be counted; nothing of another. The quick way is measured by it: it finds the same or nothing.
[[nodiscard]] std::optional<OpeningFacts> openingFactsByLibrary(const PDFReaderInput& input);

/// The version that the header states or, where that is later, the catalogue: an update may have
/// raised it there (ISO 32000-1, 7.5.2).
[[nodiscard]] PDFVersion laterVersion(PDFVersion header, QPDFObjectHandle catalogue);

} // namespace quillorn
