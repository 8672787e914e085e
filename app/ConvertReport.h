#pragma once

#include "app/ComposeReport.h"
#include "import/ImportRefusal.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quillorn {

/// A file that `convert` made.
struct ConvertedOutput {
    std::string source;               ///< the full path of what it was made of
    std::string file;                 ///< its full path
    std::uint64_t bytes = 0;          ///< its size
    std::vector<std::string> notices; ///< what people should know about it
};

/// What a run of `convert` did.
struct ConvertReport {
    std::vector<ConvertedOutput> outputs; ///< written, in order
    std::vector<ImportRefusal> refused;
    std::vector<FailedOutput> failed;
    std::string error; ///< why nothing was attempted, or went no further; or empty
    int status = 0;    ///< exit status
};

/// The report as one JSON object with a line end: "outputs" (source, file, bytes, notices),
/// "refused" (file, message, reason), "failed" (file, reason), "error" where there is one, and
/// "status". Bytes that are no
/// UTF-8 are replaced.
[[nodiscard]] std::string convertReportJSON(const ConvertReport& report);

} // namespace quillorn
