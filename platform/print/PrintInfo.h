#pragma once

#include "platform/pdf/PDFGeometry.h"

#include <filesystem>

namespace quillorn {

/// How a document is printed: into which file, on which paper. Lengths are points.
struct PrintInfo {
    enum class JobDisposition { save }; ///< to a file; there is no printer

    JobDisposition jobDisposition = JobDisposition::save;
    std::filesystem::path savePath;
    PDFSize paper; ///< upright
    double topMargin = 0;
    double bottomMargin = 0;
    double leftMargin = 0;
    double rightMargin = 0;

    [[nodiscard]] double printableWidth() const { return paper.width - leftMargin - rightMargin; }
    [[nodiscard]] double printableHeight() const { return paper.height - topMargin - bottomMargin; }
};

} // namespace quillorn
