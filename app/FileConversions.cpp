#include "app/FileConversions.h"

#include <system_error>
#include <utility>

namespace quillorn {

namespace {

using Kind = ImportRefusal::Kind;

ImportResult<ConvertedFile> withoutNotices(ImportResult<std::string> pdf) {
    if (!pdf) {
        return tl::unexpected(std::move(pdf.error()));
    }
    return ConvertedFile{std::move(*pdf)};
}

} // namespace

ImportResult<ConvertedFile> FileConversions::pdfOf(const std::string& path, FileRoute route,
                                                   const std::stop_token& stop) {
    if (route == FileRoute::pdf) {
        return ConvertedFile{path};
    }
    if (route == FileRoute::notLegal) {
        return tl::unexpected(ImportRefusal::make(Kind::notLegal, path,
                                                  "files of this kind are not turned into pages"));
    }
    if (!m_tools) {
        return tl::unexpected(ImportRefusal::make(
            Kind::needsConverter, path, "there is no folder for temporary files to convert it in"));
    }
    if (route == FileRoute::html) {
        return convertWebPage(path, stop);
    }
    // A folder for each: files of the same name from different places must not meet.
    auto folder = freshFolder(path);
    if (!folder) {
        return tl::unexpected(std::move(folder.error()));
    }
    if (route == FileRoute::image) {
        return withoutNotices(ImageConverter(m_tools->images, *folder).image2PDF(path, stop));
    }
    if (!m_texts) {
        m_texts.emplace(TextDocumentConverter::Options{m_tools->folder, m_tools->keepsPageSetup});
    }
    return m_texts->rtf2PDF(path, *folder, stop);
}

void FileConversions::endEngines() {
    m_html.reset();
    if (m_texts) {
        m_texts->engines().office.end();
        m_texts->engines().text.end();
    }
}

ImportResult<ConvertedFile> FileConversions::convertWebPage(const std::string& path,
                                                            const std::stop_token& stop) {
    if (!m_html) {
        auto converter = m_tools->openHTMLConverter();
        if (!converter) {
            return tl::unexpected(ImportRefusal::make(Kind::needsConverter, path,
                                                      converter.error().file.string() + ": " +
                                                          converter.error().reason));
        }
        m_html = std::move(*converter);
    }
    return withoutNotices(m_html->html2PDF(path, stop));
}

ImportResult<std::filesystem::path> FileConversions::freshFolder(const std::string& path) {
    std::filesystem::path folder = m_tools->folder / std::to_string(++m_folderCount);
    std::error_code error;
    std::filesystem::create_directory(folder, error);
    if (error) {
        return tl::unexpected(
            ImportRefusal::make(Kind::needsConverter, path,
                                folder.string() + " cannot be made: " + errnoText(error.value())));
    }
    return folder;
}

} // namespace quillorn
