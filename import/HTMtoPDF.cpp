#include "import/HTMtoPDF.h"

#include "model/FileNames.h"
#include "platform/pdf/PaperSize.h"
#include "platform/print/FolderContent.h"
#include "platform/print/WebArchive.h"

#include <system_error>
#include <utility>

namespace quillorn {

namespace {

constexpr double marginAboveAndBelow = 50; // points
constexpr double marginAtTheSides = 25;    // points

WebResult<std::unique_ptr<WebContent>> contentOf(const std::string& path) {
    const auto refused = [](const FileError& error) {
        return tl::unexpected(WebError{WebError::Kind::refused, error.reason});
    };
    if (hasExtension(path, "webarchive")) {
        auto archive = WebArchive::open(path);
        if (!archive) {
            return refused(archive.error());
        }
        return std::move(*archive);
    }
    auto page = FolderContent::open(path);
    if (!page) {
        return refused(page.error());
    }
    return std::move(*page);
}

} // namespace

HTMtoPDF HTMtoPDF::initWithHtmlFile(const std::string& path,
                                    const std::filesystem::path& cacheFolder, WebEngine& engine) {
    return HTMtoPDF(engine, cacheFolder / lastPathComponent(path));
}

HTMtoPDF::HTMtoPDF(WebEngine& engine, std::filesystem::path tmpFileName)
    : m_webView(engine), m_tmpFileName(std::move(tmpFileName)) {
    m_printInfo.jobDisposition = PrintInfo::JobDisposition::save;
    m_printInfo.savePath = m_tmpFileName;
    m_printInfo.paper = defaultPaperSize();
    m_printInfo.topMargin = m_printInfo.bottomMargin = marginAboveAndBelow;
    m_printInfo.leftMargin = m_printInfo.rightMargin = marginAtTheSides;
}

WebResult<void> HTMtoPDF::loadDataToView(const std::string& path, const std::stop_token& stop) {
    auto content = contentOf(path);
    WebResult<void> done;
    if (!content) {
        done = tl::unexpected(std::move(content.error()));
    } else {
        done = m_webView.load(std::move(*content), m_printInfo, stop);
    }
    if (done) {
        done = m_webView.print(m_printInfo);
    }
    if (!done) {
        std::error_code ignored; // nothing there is what is wanted
        std::filesystem::remove(m_tmpFileName, ignored);
    }
    return done;
}

WebPageConverter::WebPageConverter(Options options)
    : m_cacheFolder(std::move(options.cacheFolder)), m_engine([&options]() {
          WebEngine::Options engine;
          engine.network = options.allowRemote;
          return engine;
      }()) {}

ImportResult<std::string> WebPageConverter::html2PDF(const std::string& path,
                                                     const std::stop_token& stop) {
    HTMtoPDF converter = HTMtoPDF::initWithHtmlFile(path, m_cacheFolder, m_engine);
    if (auto done = converter.loadDataToView(path, stop); !done) {
        const auto kind = done.error().kind == WebError::Kind::noEngine
                              ? ImportRefusal::Kind::needsConverter
                              : ImportRefusal::Kind::notLegal;
        return tl::unexpected(ImportRefusal::make(kind, path, std::move(done.error().reason)));
    }
    return converter.tmpFileName().string();
}

} // namespace quillorn
