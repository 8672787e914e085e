#pragma once

#include "import/PDFIntake.h"

#include <stop_token>
#include <string>

namespace quillorn {

/// Turns files of other kinds into PDFs in the cache folder. What stands behind it is the
/// program's matter; the source pane only needs the path of what came out.
///
/// Each returns the path of a complete PDF, or refuses: `notLegal` when the file cannot be
/// converted, `needsConverter` when what would convert it is missing. A requested stop refuses,
/// too. Any thread, several at once.
class DocumentConversions {
public:
    virtual ~DocumentConversions() = default;
    /// One page that shows an image, under the image's own name.
    [[nodiscard]] virtual ImportResult<std::string> image2PDF(const std::string& path,
                                                              const std::stop_token& stop) = 0;
    /// A web page or web archive, under its own name.
    [[nodiscard]] virtual ImportResult<std::string> html2PDF(const std::string& path,
                                                             const std::stop_token& stop) = 0;
    /// Rich text, plain text and Word documents of either kind, under their own names.
    [[nodiscard]] virtual ImportResult<std::string> rtf2PDF(const std::string& path,
                                                            const std::stop_token& stop) = 0;
    /// A Word document ("doc"), under its base name with that extension.
    [[nodiscard]] virtual ImportResult<std::string> doc2PDF(const std::string& path,
                                                            const std::stop_token& stop) = 0;
};

} // namespace quillorn
