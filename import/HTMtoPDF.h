#pragma once

#include "import/HTMLConverter.h"
#include "platform/print/PrintInfo.h"
#include "platform/print/WebEngine.h"
#include "platform/print/WebError.h"
#include "platform/print/WebView.h"

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>

namespace quillorn {

/// Prints one HTML page or web archive, without any dialog, into a PDF in the cache folder: paper
/// of the user's locale, margins of 50 points above and below and 25 at the sides.
class HTMtoPDF {
public:
    /// A converter for the file at `path`, whose last component names the PDF, extension and all.
    /// `engine` outlives the converter.
    [[nodiscard]] static HTMtoPDF initWithHtmlFile(const std::string& path,
                                                   const std::filesystem::path& cacheFolder,
                                                   WebEngine& engine);

    /// Loads the page, waits for it and prints it. The PDF is complete afterwards; when it could
    /// not be printed whatever stood in its place is removed, for it is not this page's.
    WebResult<void> loadDataToView(const std::string& path, const std::stop_token& stop = {});

    [[nodiscard]] const PrintInfo& printInfo() const { return m_printInfo; }
    /// The path of the PDF.
    [[nodiscard]] const std::filesystem::path& tmpFileName() const { return m_tmpFileName; }

private:
    HTMtoPDF(WebEngine& engine, std::filesystem::path tmpFileName);

    WebView m_webView;
    PrintInfo m_printInfo;
    std::filesystem::path m_tmpFileName;
};

/// The converters of a run, with the one web engine that serves them all.
class WebPageConverter final : public HTMLConverter {
public:
    explicit WebPageConverter(Options options);

    [[nodiscard]] ImportResult<std::string> html2PDF(const std::string& path,
                                                     const std::stop_token& stop) override;

    [[nodiscard]] WebEngine& engine() { return m_engine; }

private:
    std::filesystem::path m_cacheFolder;
    WebEngine m_engine;
};

} // namespace quillorn
