#include "platform/pdf/PDFSource.h"

#include "platform/pdf/LabelRanges.h"
#include "platform/pdf/OpeningFacts.h"
#include "platform/pdf/PDFReader.h"
#include "platform/pdf/Passwords.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t headerSearchLength = 1024; // where readers look for "%PDF-"
constexpr double largestCoordinate = 1e9;

/// The version in a file's header, for files that cannot be opened yet.
PDFVersion headerVersion(const FileDescriptor& descriptor, const std::filesystem::path& path) {
    std::array<char, headerSearchLength> head{};
    const auto got = readAt(descriptor, path, head, 0);
    const std::string_view text(head.data(), got ? *got : 0);
    const std::size_t mark = text.find("%PDF-");
    return mark == std::string_view::npos ? PDFVersion{} : PDFVersion::parse(text.substr(mark + 5));
}

PDFPermissions permissionsOf(QPDF& document) {
    PDFPermissions allowed;
    if (!document.isEncrypted() || document.ownerPasswordMatched()) {
        return allowed;
    }
    allowed.copying = document.allowExtractAll();
    allowed.printing = document.allowPrintLowRes();
    allowed.printingHighRes = document.allowPrintHighRes();
    allowed.accessibility = document.allowAccessibility();
    allowed.assembly = document.allowModifyAssembly();
    allowed.formFilling = document.allowModifyForm();
    allowed.annotating = document.allowModifyAnnotation();
    allowed.modifying = document.allowModifyOther();
    return allowed;
}

/// The box that `value` states, or `fallback` when it states none that makes sense.
PDFBox boxOf(QPDFObjectHandle value, const PDFBox& fallback) {
    if (!value.isArray() || value.getArrayNItems() < 4) {
        return fallback;
    }
    std::array<double, 4> edges{};
    for (int i = 0; i < 4; ++i) {
        QPDFObjectHandle edge = value.getArrayItem(i);
        if (!edge.isNumber()) {
            return fallback;
        }
        edges[static_cast<std::size_t>(i)] =
            std::clamp(edge.getNumericValue(), -largestCoordinate, largestCoordinate);
    }
    const PDFBox box{std::min(edges[0], edges[2]), std::min(edges[1], edges[3]),
                     std::max(edges[0], edges[2]), std::max(edges[1], edges[3])};
    return box.width() > 0 && box.height() > 0 ? box : fallback;
}

} // namespace

PDFSource::PDFSource(std::filesystem::path path, std::shared_ptr<const SharedFile> file,
                     std::string password)
    : m_path(std::move(path)), m_file(std::move(file)), m_password(std::move(password)) {}

PDFSource::~PDFSource() = default;

PDFResult<std::shared_ptr<const PDFSource>>
PDFSource::open(const std::filesystem::path& path, const std::optional<SnapshotPolicy>& snapshots) {
    auto kept = openKept(path, snapshots);
    if (!kept) {
        return tl::unexpected(PDFError::unreadable(kept.error()));
    }
    if (kept->stamp.size == 0) {
        return tl::unexpected(PDFError{PDFError::Kind::notPDF, path, "the file is empty"});
    }
    auto file = std::make_shared<SharedFile>(SharedFile{
        std::make_shared<const FileDescriptor>(std::move(kept->descriptor)), kept->stamp});
    return openShared(path, std::move(file), std::string());
}

PDFResult<std::shared_ptr<const PDFSource>>
PDFSource::openShared(const std::filesystem::path& path, std::shared_ptr<const SharedFile> file,
                      const std::string& password) {
    // The constructor is private, so std::make_shared cannot reach it.
    const std::shared_ptr<PDFSource> source(new PDFSource(path, std::move(file), password));
    Facts& facts = source->m_facts;
    const auto quick = readOpeningFacts(source->readerInput());
    if (quick && source->verifyUnchanged()) {
        facts.version = quick->version;
        facts.pageCount = quick->pageCount;
        return source;
    }
    auto reader = PDFReader::open(source->readerInput());
    // Bytes that changed while they were read explain any complaint about them better.
    if (auto unchanged = source->verifyUnchanged(); !unchanged) {
        return tl::unexpected(unchanged.error());
    }
    if (!reader) {
        if (reader.error().kind != PDFError::Kind::locked) {
            return tl::unexpected(std::move(reader.error()));
        }
        facts.version = headerVersion(*source->m_file->descriptor, path);
        facts.encrypted = true;
        facts.locked = true;
        facts.permissions = PDFPermissions{false, false, false, false, false, false, false, false};
        return source;
    }
    auto read =
        guardLibrary(PDFError::Kind::notPDF, path, (*reader)->budget, [&]() -> PDFResult<void> {
            QPDF& document = *(*reader)->document;
            facts.version =
                laterVersion(PDFVersion::parse(document.getPDFVersion()), document.getRoot());
            facts.encrypted = document.isEncrypted();
            facts.ownerPasswordMatched = facts.encrypted && document.ownerPasswordMatched();
            facts.permissions = permissionsOf(document);
            const auto stated = (*reader)->inOrder
                                    ? PageTree::statedPageCount(document, source->fileSize())
                                    : std::nullopt;
            facts.pageCount = stated ? *stated : (*reader)->pageTree().pageCount();
            for (const QPDFExc& warning : document.getWarnings()) {
                facts.warnings.push_back(warning.getMessageDetail());
            }
            return {};
        });
    if (!read) {
        return tl::unexpected(std::move(read.error()));
    }
    source->m_reader = std::move(*reader);
    return source;
}

PDFResult<std::shared_ptr<const PDFSource>> PDFSource::unlocked(const std::string& password) const {
    for (const std::string& candidate : passwordCandidates(password)) {
        auto opened = openShared(m_path, m_file, candidate);
        if (!opened) {
            return opened;
        }
        if (!(*opened)->isLocked()) {
            return opened;
        }
    }
    return tl::unexpected(
        PDFError{PDFError::Kind::wrongPassword, m_path, "the password does not open the file"});
}

PDFReaderInput PDFSource::readerInput() const {
    return PDFReaderInput{m_file->descriptor, m_path, m_file->stamp.size, m_password};
}

PDFSourceAccess PDFSource::access() const {
    return PDFSourceAccess{m_file->descriptor, m_file->stamp.size, m_password};
}

PDFResult<void> PDFSource::verifyUnchanged() const {
    const auto now = FileStamp::of(*m_file->descriptor, m_path);
    if (!now) {
        return tl::unexpected(PDFError::unreadable(now.error()));
    }
    if (*now != m_file->stamp) {
        return tl::unexpected(
            PDFError{PDFError::Kind::changed, m_path, "the file was changed while it was open"});
    }
    return {};
}

PDFResult<std::unique_ptr<PDFReader>> PDFSource::takeReader() const {
    if (auto unchanged = verifyUnchanged(); !unchanged) {
        return tl::unexpected(unchanged.error());
    }
    PDFResult<std::unique_ptr<PDFReader>> reader;
    {
        const std::lock_guard lock(m_mutex);
        reader = std::move(m_reader);
    }
    if (!*reader) {
        reader = PDFReader::open(readerInput());
    }
    if (!reader) {
        return reader;
    }
    const auto kind = PDFError::Kind::damagedPage;
    return guardLibrary(
        kind, m_path, (*reader)->budget, [&]() -> PDFResult<std::unique_ptr<PDFReader>> {
            const std::size_t found = (*reader)->pageTree().pageCount();
            if (found != m_facts.pageCount) {
                return tl::unexpected(PDFError{kind, m_path,
                                               "it states " + std::to_string(m_facts.pageCount) +
                                                   " pages and holds " + std::to_string(found)});
            }
            return std::move(*reader);
        });
}

PDFResult<std::shared_ptr<const PDFSource>> PDFSource::withCountedPages() const {
    if (isLocked()) {
        return shared_from_this();
    }
    const auto found =
        ask<std::size_t>(PDFError::Kind::notPDF, [](PDFReader& reader) -> PDFResult<std::size_t> {
            return reader.pageTree().pageCount();
        });
    if (!found) {
        return tl::unexpected(found.error());
    }
    if (*found == m_facts.pageCount) {
        return shared_from_this();
    }
    const std::shared_ptr<PDFSource> counted(new PDFSource(m_path, m_file, m_password));
    counted->m_facts = m_facts;
    counted->m_facts.pageCount = *found;
    return counted;
}

void PDFSource::releaseReader() const {
    const std::lock_guard lock(m_mutex);
    m_reader.reset();
}

template <class Answer, class Question>
PDFResult<Answer> PDFSource::ask(PDFError::Kind kind, Question&& question) const {
    if (auto unchanged = verifyUnchanged(); !unchanged) {
        return tl::unexpected(unchanged.error());
    }
    const std::lock_guard lock(m_mutex);
    if (!m_reader) {
        auto reader = PDFReader::open(readerInput());
        if (!reader) {
            return tl::unexpected(std::move(reader.error()));
        }
        m_reader = std::move(*reader);
    }
    auto answer = guardLibrary(kind, m_path, m_reader->budget,
                               [&]() -> PDFResult<Answer> { return question(*m_reader); });
    if (!answer) {
        // Bytes that changed while they were read explain any complaint about them better.
        if (auto unchanged = verifyUnchanged(); !unchanged) {
            return tl::unexpected(unchanged.error());
        }
    }
    return answer;
}

PDFResult<PDFPageGeometry> PDFSource::geometry(std::size_t index) const {
    using Answer = PDFResult<PDFPageGeometry>;
    const PDFError missing{PDFError::Kind::damagedPage, m_path,
                           "there is no page " + std::to_string(index + 1)};
    if (index >= m_facts.pageCount) {
        return tl::unexpected(missing);
    }
    return ask<PDFPageGeometry>(PDFError::Kind::damagedPage, [&](PDFReader& reader) -> Answer {
        // Until somebody needs the whole tree, one page is found without it.
        std::optional<PageTree::Located> located;
        if (reader.inOrder && !reader.pages) {
            located = PageTree::locate(*reader.document, index);
        }
        if (!located) {
            const PageTree& tree = reader.pageTree();
            if (index >= tree.pageCount()) {
                return tl::unexpected(missing); // the file states more pages than it has
            }
            if (tree.page(index).isInitialized()) {
                located = PageTree::Located{tree.page(index), tree.inherited(index)};
            }
        }
        if (!located) {
            return tl::unexpected(
                PDFError{PDFError::Kind::damagedPage, m_path,
                         "page " + std::to_string(index + 1) + " cannot be read"});
        }
        QPDFObjectHandle page = located->page;
        PDFPageGeometry geometry;
        geometry.mediaBox = boxOf(PageTree::attribute(*located, "/MediaBox"), geometry.mediaBox);
        geometry.cropBox = boxOf(PageTree::attribute(*located, "/CropBox"), geometry.mediaBox);
        geometry.bleedBox = boxOf(page.getKey("/BleedBox"), geometry.cropBox);
        geometry.trimBox = boxOf(page.getKey("/TrimBox"), geometry.cropBox);
        geometry.artBox = boxOf(page.getKey("/ArtBox"), geometry.cropBox);
        if (QPDFObjectHandle turn = PageTree::attribute(*located, "/Rotate"); turn.isInteger()) {
            geometry.rotation = static_cast<int>(turn.getIntValue() % 360);
        }
        if (QPDFObjectHandle unit = page.getKey("/UserUnit");
            unit.isNumber() && unit.getNumericValue() > 0) {
            geometry.userUnit = std::min(unit.getNumericValue(), largestCoordinate);
        }
        return geometry;
    });
}

PDFResult<std::vector<PDFPageLabelRange>> PDFSource::labelRanges() const {
    using Answer = PDFResult<std::vector<PDFPageLabelRange>>;
    if (isLocked()) {
        return std::vector<PDFPageLabelRange>{};
    }
    return ask<std::vector<PDFPageLabelRange>>(
        PDFError::Kind::damagedPage, [&](PDFReader& reader) -> Answer {
            return readLabelRanges(reader.document->getRoot().getKey("/PageLabels"));
        });
}

} // namespace quillorn
