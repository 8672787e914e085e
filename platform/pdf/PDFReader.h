#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/pdf/PDFError.h"
#include "platform/pdf/PageTree.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <qpdf/QPDF.hh>
#include <string>

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
    std::unique_ptr<QPDF> document;
    std::unique_ptr<PageTree> pages; ///< null until somebody asks for a page
    bool inOrder = true;             ///< the library had nothing to repair

    /// The pages, looked for now if they were not yet. Throws libqpdf's exceptions.
    [[nodiscard]] PageTree& pageTree();

    /// Reads the cross-reference table. Errors: notPDF, locked, tooLarge.
    [[nodiscard]] static PDFResult<std::unique_ptr<PDFReader>> open(const PDFReaderInput& input);
};

/// Runs `work`, which calls libqpdf, and turns whatever it throws into an error of `kind`.
template <class Work>
auto guardLibrary(PDFError::Kind kind, const std::filesystem::path& file, Work&& work)
    -> decltype(work());

/// The error for the exception that is being handled right now.
[[nodiscard]] PDFError currentExceptionAsError(PDFError::Kind kind,
                                               const std::filesystem::path& file);

template <class Work>
auto guardLibrary(PDFError::Kind kind, const std::filesystem::path& file, Work&& work)
    -> decltype(work()) {
    try {
        return work();
    } catch (...) {
        return tl::unexpected(currentExceptionAsError(kind, file));
    }
}

} // namespace quillorn
