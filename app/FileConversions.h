#pragma once

#include "import/ConvertedFile.h"
#include "import/FileRoute.h"
#include "import/HTMLConverter.h"
#include "import/ImageConverter.h"
#include "import/PDFIntake.h"
#include "import/RtfToPDF.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace quillorn {

/// Turns files that are no PDFs into some, for the commands. Each kind of converter is opened when
/// the first file needs it; their engines end with this object, or before.
class FileConversions {
public:
    struct Tools {
        ImageReader images;
        std::filesystem::path folder; ///< exists, is our own, and takes what was converted
        /// Opens the converter of web pages.
        std::function<FileResult<std::unique_ptr<HTMLConverter>>()> openHTMLConverter;
        /// Whether text documents keep their own pages; asked at the first one.
        std::function<bool()> keepsPageSetup = [] { return false; };
    };

    /// Without tools only PDFs are taken.
    explicit FileConversions(std::optional<Tools> tools = std::nullopt)
        : m_tools(std::move(tools)) {}

    /// The PDF that a file becomes on its route, which may be the file itself.
    [[nodiscard]] ImportResult<ConvertedFile> pdfOf(const std::string& path, FileRoute route,
                                                    const std::stop_token& stop);

    /// Ends the engines that were started; the next file that needs one starts another.
    void endEngines();

private:
    ImportResult<ConvertedFile> convertWebPage(const std::string& path,
                                               const std::stop_token& stop);
    /// A fresh folder for what `path` becomes.
    ImportResult<std::filesystem::path> freshFolder(const std::string& path);

    std::optional<Tools> m_tools;
    std::size_t m_folderCount = 0;
    std::unique_ptr<HTMLConverter> m_html;        ///< null before the first web page
    std::optional<TextDocumentConverter> m_texts; ///< not set before the first text document
};

} // namespace quillorn
