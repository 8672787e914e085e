#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/pdf/DecodingBudget.h"
#include "platform/pdf/MemoryShortage.h"
#include "platform/pdf/PDFError.h"
#include "platform/pdf/PageTree.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <qpdf/QPDF.hh>
#include <string>
#include <utility>

namespace quillorn {

/// A file as a reader needs it: an open descriptor, shared because streams copied out of a
/// document read from it until the output is written.
struct PDFReaderInput {
    std::shared_ptr<const FileDescriptor> descriptor;
    std::filesystem::path path; ///< for messages
    std::uint64_t size = 0;     ///< bytes
    std::string password;       ///< as it opens the file; empty for none
};

/// One libqpdf document: the unit that a thread works on. Everything in it
/// may be changed by its holder; the file never is.
struct PDFReader {
    explicit PDFReader(const DecodingBudget& mayDecode) : budget(mayDecode) {}

    std::unique_ptr<QPDF> document;
    DecodingBudget budget;
    std::unique_ptr<PageTree> pages; ///< null until somebody asks for a page
    bool inOrder = true;             ///< the library had nothing to repair

    /// The pages, looked for now if they were not yet. Throws libqpdf's exceptions.
    [[nodiscard]] PageTree& pageTree();

    /// Reads the cross-reference table. Errors: notPDF, locked, tooLarge.
    [[nodiscard]] static PDFResult<std::unique_ptr<PDFReader>> open(const PDFReaderInput& input);
};

/// The error for the exception that is being handled right now.
[[nodiscard]] PDFError currentExceptionAsError(PDFError::Kind kind,
                                               const std::filesystem::path& file);

/// Watches a use of libqpdf for what it does not tell: that it ran out of memory or of budget, and
/// went on as if what it was about to read were missing from the file.
class LibraryUse {
public:
    explicit LibraryUse(DecodingBudget& budget) : m_budget(budget), m_scope(budget) {}

    /// That this happened, as an error of `file`.
    [[nodiscard]] std::optional<PDFError> shortage(const std::filesystem::path& file) const;

private:
    DecodingBudget& m_budget;
    DecodingScope m_scope;
    std::size_t m_shortagesBefore = memoryShortages();
};

/// Runs `work`, which calls libqpdf and spends of `budget`, and turns whatever it throws into an
/// error of `kind`, and what it could not read for want of memory or budget into tooLarge.
template <class Work>
auto guardLibrary(PDFError::Kind kind, const std::filesystem::path& file, DecodingBudget& budget,
                  Work&& work) -> decltype(work()) {
    const LibraryUse use(budget);
    try {
        auto result = work();
        if (auto shortage = use.shortage(file)) {
            return tl::unexpected(std::move(*shortage));
        }
        return result;
    } catch (...) {
        auto shortage = use.shortage(file);
        return tl::unexpected(shortage ? std::move(*shortage)
                                       : currentExceptionAsError(kind, file));
    }
}

} // namespace quillorn
