#include "import/RtfToPDF.h"

#include "model/FileNames.h"
#include "platform/files/FileDescriptor.h"
#include "platform/office/DocumentKind.h"
#include "platform/office/RichTextPackage.h"
#include "platform/pdf/PaperSize.h"

#include <cstdint>
#include <span>
#include <system_error>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;
using conversion::DocumentFormat;
using Kind = ConversionError::Kind;

namespace {

/// What the frame of the text is smaller than the paper, in points: the same on both sides.
constexpr double frameInset = 180;

constexpr std::uint64_t largestDocument = largestRichTextPackage;
/// Its pages would be counted in hundreds of thousands.
constexpr std::uint64_t largestPlainText = 64U << 20U; // bytes

tl::unexpected<ConversionError> refused(std::string reason) {
    return tl::unexpected(ConversionError{Kind::refused, std::move(reason)});
}

ConversionResult<std::string> contentOf(const std::string& path) {
    const auto file = FileDescriptor::openRegularFile(path);
    if (!file) {
        return refused(file.error().reason);
    }
    const auto stamp = FileStamp::of(*file, path);
    if (!stamp || stamp->size > largestDocument) {
        return refused(stamp ? "it is too large for a text document" : stamp.error().reason);
    }
    std::string content(static_cast<std::size_t>(stamp->size), '\0');
    const auto got = readAt(*file, path, content, 0);
    if (!got) {
        return refused(got.error().reason);
    }
    content.resize(*got);
    return content;
}

DocumentFormat formatOf(DocumentKind kind) {
    switch (kind) {
    case DocumentKind::richText:
        return DocumentFormat::richText;
    case DocumentKind::wordXML:
        return DocumentFormat::wordXML;
    case DocumentKind::word:
        return DocumentFormat::word;
    case DocumentKind::word95:
        return DocumentFormat::word95;
    case DocumentKind::word2:
        return DocumentFormat::word2;
    case DocumentKind::other:
        break;
    }
    return DocumentFormat::plainText;
}

} // namespace

RtfToPDF::RtfToPDF(TextEngines& engines, fs::path cacheFolder, bool keepPageSetup)
    : m_engines(engines), m_cacheFolder(std::move(cacheFolder)), m_keepPageSetup(keepPageSetup) {
    m_printInfo.jobDisposition = PrintInfo::JobDisposition::save;
    m_printInfo.paper = defaultPaperSize();
    m_printInfo.topMargin = m_printInfo.bottomMargin = frameInset / 2;
    m_printInfo.leftMargin = m_printInfo.rightMargin = frameInset / 2;
}

PDFSize RtfToPDF::textViewSize() const {
    return {m_printInfo.paper.width - frameInset, m_printInfo.paper.height - frameInset};
}

ConversionResult<std::vector<std::string>> RtfToPDF::convertRtfToPDF(const std::string& path,
                                                                     const std::stop_token& stop) {
    m_tmpPath = m_cacheFolder / lastPathComponent(path);
    m_printInfo.savePath = m_tmpPath;
    auto notices = convert(path, stop);
    if (!notices) {
        std::error_code ignored; // nothing there is what is wanted
        fs::remove(m_tmpPath, ignored);
    }
    return notices;
}

ConversionResult<std::vector<std::string>> RtfToPDF::convert(const std::string& path,
                                                             const std::stop_token& stop) {
    ConversionJob job;
    job.keepPageSetup = m_keepPageSetup;
    job.paper = m_printInfo.paper;
    job.margin = frameInset / 2;
    std::vector<std::string> notices;
    std::string content;
    std::error_code error;
    if (hasExtension(path, "rtfd") && fs::is_directory(path, error)) {
        auto package = readRichTextPackage(path);
        if (!package) {
            return refused(package.error().reason);
        }
        content = std::move(package->text);
        notices = std::move(package->notices);
    } else {
        auto read = contentOf(path);
        if (!read) {
            return tl::unexpected(std::move(read.error()));
        }
        content = std::move(*read);
    }
    job.document = content;
    const DocumentKind kind = documentKindOf(job.document);
    const bool isPlain = kind == DocumentKind::other && hasExtension(path, "txt");
    if (isPlain && content.size() > largestPlainText) {
        return refused("it is too large for a text");
    }
    if (const auto reason = reasonAgainstDocument(job.document);
        reason && !(isPlain && !content.empty())) {
        return refused(std::string(*reason));
    }
    job.format = formatOf(kind);
    auto converted = (isPlain ? m_engines.text : m_engines.office).convert(job, m_tmpPath, stop);
    if (converted) {
        converted->insert(converted->begin(), notices.begin(), notices.end());
    }
    return converted;
}

ImportResult<ConvertedFile> TextDocumentConverter::rtf2PDF(const std::string& path,
                                                           const std::stop_token& stop) {
    return rtf2PDF(path, m_options.cacheFolder, stop);
}

ImportResult<ConvertedFile> TextDocumentConverter::rtf2PDF(const std::string& path,
                                                           const fs::path& cacheFolder,
                                                           const std::stop_token& stop) {
    if (!m_keepsPageSetup) {
        m_keepsPageSetup = m_options.keepsPageSetup();
    }
    RtfToPDF converter(m_engines, cacheFolder, *m_keepsPageSetup);
    auto notices = converter.convertRtfToPDF(path, stop);
    if (!notices) {
        const auto kind = notices.error().kind == Kind::noEngine
                              ? ImportRefusal::Kind::needsConverter
                              : ImportRefusal::Kind::notLegal;
        return tl::unexpected(ImportRefusal::make(kind, path, std::move(notices.error().reason)));
    }
    return ConvertedFile{converter.tmpPath().string(), std::move(*notices)};
}

} // namespace quillorn
