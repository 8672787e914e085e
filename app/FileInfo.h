#pragma once

#include "import/PDFIntake.h"
#include "platform/pdf/PDFGeometry.h"
#include "platform/pdf/PDFSource.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillorn {

/// What `info` tells about one PDF.
struct FileInfo {
    /// The first page as it is seen, in points, and how it is turned, in degrees clockwise.
    struct FirstPage {
        PDFSize size;
        int rotation = 0;
    };

    std::string path; ///< full
    std::uint64_t bytes = 0;
    PDFVersion version;
    bool encrypted = false;
    bool locked = false; ///< nothing below is known then
    std::size_t pages = 0;
    PDFPermissions permissions;
    std::optional<FirstPage> firstPage; ///< nothing where there is none that can be read
    std::vector<PDFPageLabelRange> labelRanges;
    std::vector<std::string> warnings; ///< one line each

    /// Asks an opened file. What cannot be read of it becomes a warning.
    [[nodiscard]] static FileInfo of(const PDFSource& source);
};

/// The info as lines for people, the last one ended.
[[nodiscard]] std::string fileInfoText(const FileInfo& info);

/// The infos and refusals as one JSON object with a line end: "files" (file, pages, bytes,
/// version, encrypted, locked, permissions, firstPage, labels, warnings), "refused" (file,
/// message, reason), "status", and "error" when the command line made no sense. What a locked
/// file does not tell is null. Bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string fileInfosJSON(const std::vector<FileInfo>& infos,
                                        const std::vector<ImportRefusal>& refused,
                                        const std::string& usageError, int status);

} // namespace quillorn
