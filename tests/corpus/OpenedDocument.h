#pragma once

#include "platform/pdf/PDFSource.h"
#include "tests/corpus/Corpus.h"

#include <memory>

namespace quillorn::corpus {

/// Opens a document as the program does, and unlocks it with the passwords that the manifest
/// knows where it is locked.
[[nodiscard]] PDFResult<std::shared_ptr<const PDFSource>> openDocument(const Document& document);

} // namespace quillorn::corpus
