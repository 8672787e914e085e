#pragma once

#include "import/PDFIntake.h"

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>

namespace quillorn {

/// Turns web pages into PDFs. An interface, because what stands behind it is loaded by those
/// commands only that meet a web page.
class HTMLConverter {
public:
    struct Options {
        std::filesystem::path cacheFolder; ///< an existing folder that takes the PDFs
        bool allowRemote = false;          ///< whether pages may fetch from other machines
    };

    HTMLConverter() = default;
    HTMLConverter(const HTMLConverter&) = delete;
    HTMLConverter& operator=(const HTMLConverter&) = delete;
    virtual ~HTMLConverter() = default;

    /// Prints an HTML page or a web archive into the cache folder, under the source's own last
    /// path component, and returns the PDF's path. When this returns the PDF is complete on the
    /// disk; after a refusal nothing of that name is there. A requested stop refuses, too.
    [[nodiscard]] virtual ImportResult<std::string> html2PDF(const std::string& path,
                                                             const std::stop_token& stop) = 0;
};

} // namespace quillorn
