#pragma once

#include "import/ImportRefusal.h"
#include "platform/pdf/PDFWriter.h"

#include <string>
#include <vector>

namespace quillorn {

/// An output that was not written, and why.
struct FailedOutput {
    std::string file;   ///< its full path
    std::string reason; ///< one line
};

/// What people should know about a file that was converted.
struct FileNotice {
    std::string file; ///< its path
    std::string text; ///< one line
};

/// What a run of `compose` did.
struct ComposeReport {
    std::vector<PDFWriteReport> outputs; ///< written, in order
    std::vector<ImportRefusal> refused;  ///< each file once
    std::vector<FailedOutput> failed;
    std::vector<FileNotice> notices; ///< about inputs
    std::string error;               ///< why nothing was attempted, or went no further; or empty
    int status = 0;                  ///< exit status
};

/// The report as one JSON object with a line end: "outputs" (file, pages, bytes, and "notes" of
/// what could not be carried along: kind, file, count, example, text), "refused"
/// (file, message, reason), "failed" (file, reason), "notices" about inputs (file, text), "status",
/// and "error" when the command line made no sense. Bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string composeReportJSON(const ComposeReport& report);

} // namespace quillorn
