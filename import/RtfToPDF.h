#pragma once

#include "import/ConvertedFile.h"
#include "import/PDFIntake.h"
#include "platform/office/ConversionWorker.h"
#include "platform/print/PrintInfo.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace quillorn {

/// The engines that turn text documents into PDFs. Neither is started before it is needed.
struct TextEngines {
    ConversionWorker office{officeWorker()};
    ConversionWorker text{textWorker()};
};

/// Prints one text document, without any dialog, into a PDF in the cache folder: rich text, a
/// package of rich text (a folder), a Word document or plain text. What a file is, its content
/// tells; the name only decides where plain text and anything else cannot be told apart.
///
/// The text is laid out on paper of the user's locale in a frame that is 180 points narrower and
/// lower than that, whatever the document says about its pages; or, where that is wanted, on the
/// document's own pages with their headers and footers.
class RtfToPDF {
public:
    /// `engines` outlive the converter.
    RtfToPDF(TextEngines& engines, std::filesystem::path cacheFolder, bool keepPageSetup = false);

    /// Converts a document. The PDF at `tmpPath`, named like the source with its extension, is
    /// complete afterwards; when there is an error, nothing is there. Returns the notices.
    ConversionResult<std::vector<std::string>> convertRtfToPDF(const std::string& path,
                                                               const std::stop_token& stop = {});

    [[nodiscard]] const PrintInfo& printInfo() const { return m_printInfo; }
    /// The frame that the text is laid out in, in points.
    [[nodiscard]] PDFSize textViewSize() const;
    /// Empty before anything was converted.
    [[nodiscard]] const std::filesystem::path& tmpPath() const { return m_tmpPath; }

private:
    ConversionResult<std::vector<std::string>> convert(const std::string& path,
                                                       const std::stop_token& stop);

    TextEngines& m_engines;
    std::filesystem::path m_cacheFolder;
    bool m_keepPageSetup;
    PrintInfo m_printInfo;
    std::filesystem::path m_tmpPath;
};

/// The conversions of a run, with the engines that serve them all. One thread at a time.
class TextDocumentConverter {
public:
    struct Options {
        std::filesystem::path cacheFolder; ///< an existing folder that takes the PDFs
        /// Whether documents keep their own paper, margins, headers and footers; asked once, when
        /// the first document is met.
        std::function<bool()> keepsPageSetup = [] { return false; };
    };

    explicit TextDocumentConverter(Options options) : m_options(std::move(options)) {}

    /// Prints a document into the cache folder, or into another one.
    [[nodiscard]] ImportResult<ConvertedFile> rtf2PDF(const std::string& path,
                                                      const std::stop_token& stop = {});
    [[nodiscard]] ImportResult<ConvertedFile> rtf2PDF(const std::string& path,
                                                      const std::filesystem::path& cacheFolder,
                                                      const std::stop_token& stop);

    [[nodiscard]] TextEngines& engines() { return m_engines; }

private:
    Options m_options;
    std::optional<bool> m_keepsPageSetup;
    TextEngines m_engines;
};

} // namespace quillorn
