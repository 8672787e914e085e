#pragma once

#include "platform/pdf/CarryNotes.h"
#include "platform/pdf/PDFError.h"
#include "platform/pdf/PDFPage.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

namespace quillorn {

/// Watches a document being written. Called on the thread that writes, in this order: begin
/// once, then each page's index once and ascending, then end once. When writing fails or is
/// cancelled, end is not called.
class PDFWriteObserver {
public:
    virtual ~PDFWriteObserver() = default;
    virtual void documentBeginWrite(std::size_t pageCount) = 0;
    virtual void documentEndPageWrite(std::size_t pageIndex) = 0;
    virtual void documentEndWrite() = 0;
};

struct PDFWriteOptions {
    /// What a document without pages becomes. A file that shows nothing at all opens badly in
    /// most viewers, so it usually gets one blank page of the default paper.
    enum class WhenEmpty { oneBlankPage, noPages };

    PDFWriteObserver* observer = nullptr; ///< not owned; outlives the call
    std::stop_token stop;                 ///< cancels at the next page or block of bytes
    WhenEmpty whenEmpty = WhenEmpty::oneBlankPage;
    std::string title; ///< of an output with pages of several files, UTF-8; empty: the
                       ///< target's name without its extension
    /// For a program that ends after this write: the last documents read and the one written are
    /// left to the end of the process instead of being taken apart object by object.
    bool leaveMemoryToProcessEnd = false;
    bool flatOutline = false; ///< merge the outlines of several files without entries for the files
};

struct PDFWriteReport {
    std::filesystem::path file;
    std::size_t pages = 0;
    std::uint64_t bytes = 0;
    std::vector<PDFCarryNote> notes; ///< what could not be carried along as it was
};

/// Writes pages, in this order, as one PDF. The file of that name is replaced only by a complete
/// one (ReplacementFile.h): after an error or a cancel it is as it was. Pages may come from the
/// very file that is replaced. Encrypted sources come out unencrypted. What pages carry goes with
/// them: links, outline entries, form fields, labels, attachments, layers, article threads and
/// the description of the document, as far as the chosen pages allow; see docs/ARCHITECTURE.md.
///
/// Any thread; different outputs may be written at the same time, from shared sources too.
/// Errors: cannotWrite, cancelled, changed, damagedPage, tooLarge, unreadable.
[[nodiscard]] PDFResult<PDFWriteReport> writePDF(const std::vector<PDFPageReference>& pages,
                                                 const std::filesystem::path& target,
                                                 const PDFWriteOptions& options = {});

} // namespace quillorn
