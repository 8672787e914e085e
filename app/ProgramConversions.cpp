#include "app/ProgramConversions.h"

#include "app/WebConversion.h"
#include "import/ImageConverter.h"
#include "import/WordConverter.h"
#include "model/FileNames.h"
#include "platform/imaging/ImageReader.h"
#include "platform/ui/CacheFolder.h"

#include <utility>

namespace quillorn {

namespace {

constexpr const char* webEngine = "web";
constexpr const char* textEngines = "texts";

tl::unexpected<ImportRefusal> cancelled(const std::string& path) {
    return tl::unexpected(ImportRefusal::make(ImportRefusal::Kind::notLegal, path, "cancelled"));
}

} // namespace

ProgramConversions::ProgramConversions(Options options)
    : m_options(std::move(options)),
      m_texts({m_options.cacheFolder, [keeps = m_options.keepsPageSetup] { return keeps; }}) {}

ImportResult<HTMLConverter*> ProgramConversions::htmlConverter(const std::string& path) {
    if (!m_html) {
        auto opened = openHTMLConverter({m_options.cacheFolder, m_options.allowsRemote});
        if (!opened) {
            return tl::unexpected(
                ImportRefusal::make(ImportRefusal::Kind::needsConverter, path,
                                    opened.error().file.string() + ": " + opened.error().reason));
        }
        m_html = std::move(*opened);
    }
    return m_html.get();
}

ImportResult<std::string> ProgramConversions::image2PDF(const std::string& path,
                                                        const std::stop_token& stop) {
    ensureCacheFolder(m_options.cacheFolder.string());
    const ImageConverter converter(ImageReader(m_options.workerFolder), m_options.cacheFolder);
    return converter.image2PDF(path, stop);
}

ImportResult<std::string> ProgramConversions::html2PDF(const std::string& path,
                                                       const std::stop_token& stop) {
    const NameTurns::Turn turn(m_turns, webEngine, stop);
    if (!turn.hasCome()) {
        return cancelled(path);
    }
    const auto html = htmlConverter(path);
    if (!html) {
        return tl::unexpected(html.error());
    }
    ensureCacheFolder(m_options.cacheFolder.string());
    return (*html)->html2PDF(path, stop);
}

ImportResult<std::string> ProgramConversions::rtf2PDF(const std::string& path,
                                                      const std::stop_token& stop) {
    const NameTurns::Turn turn(m_turns, textEngines, stop);
    if (!turn.hasCome()) {
        return cancelled(path);
    }
    ensureCacheFolder(m_options.cacheFolder.string());
    auto converted = m_texts.rtf2PDF(path, stop);
    if (!converted) {
        return tl::unexpected(std::move(converted.error()));
    }
    for (const std::string& notice : converted->notices) {
        if (m_options.tell) {
            m_options.tell(lastPathComponent(path) + ": " + notice);
        }
    }
    return std::move(converted->pdf);
}

ImportResult<std::string> ProgramConversions::doc2PDF(const std::string& path,
                                                      const std::stop_token& stop) {
    const NameTurns::Turn turn(m_turns, webEngine, stop);
    if (!turn.hasCome()) {
        return cancelled(path);
    }
    const auto html = htmlConverter(path);
    if (!html) {
        return tl::unexpected(html.error());
    }
    ensureCacheFolder(m_options.cacheFolder.string());
    return WordConverter(**html, {m_options.cacheFolder}).doc2PDF(path, stop);
}

} // namespace quillorn
