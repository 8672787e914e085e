#pragma once

#include "platform/pdf/PDFError.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace quillorn {

/// What a written file turned out to hold when it was read back.
struct PDFVerification {
    std::size_t pages = 0;
    std::size_t links = 0;             ///< links and actions that go to a page of the document
    std::size_t outlineEntries = 0;    ///< entries that go to a page of the document
    std::vector<std::string> problems; ///< one line each; empty when all is well

    [[nodiscard]] bool isSound() const { return problems.empty(); }
};

/// Opens a written file afresh and checks that nothing in it had to be mended, that it has
/// `expectedPages` pages, that each of them can be read, and that every link, action and outline
/// entry that goes to a page goes to one that is there. Annotations that pages share count once.
/// Errors: those of opening a file. Any thread.
[[nodiscard]] PDFResult<PDFVerification> verifyPDF(const std::filesystem::path& file,
                                                   std::size_t expectedPages);

} // namespace quillorn
