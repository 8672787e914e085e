#include "platform/pdf/WriteJob.h"

#include "platform/pdf/FilePipeline.h"
#include "platform/pdf/ObjectCopier.h"
#include "platform/pdf/PageTreeBuilder.h"
#include "platform/pdf/PaperSize.h"

#include <algorithm>
#include <map>
#include <new>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFWriter.hh>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>

namespace quillorn {

namespace {

/// A source of which at least this share of pages is wanted becomes the output itself. Below it,
/// reading all its objects (which libqpdf does then) would cost more than copying the wanted ones.
constexpr double shareToAdopt = 0.7;

/// Sources that leave more bytes than this uncompressed have them compressed on the way out.
/// libqpdf takes a slower road for every stream then, so scraps are left as they are.
constexpr std::uint64_t uncompressedBytesWorthCompressing = 64U << 10U;

constexpr const char* producer = "Quillorn Folivane";

QPDFObjectHandle blankPage(const PDFSize& size) {
    QPDFObjectHandle page = QPDFObjectHandle::newDictionary();
    page.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    page.replaceKey("/MediaBox", QPDFObjectHandle::newArray(QPDFObjectHandle::Rectangle(
                                     0, 0, size.width, size.height)));
    page.replaceKey("/Resources", QPDFObjectHandle::newDictionary());
    return page;
}

/// A page's own entries and those that it inherits, without its place in the old tree.
std::map<std::string, QPDFObjectHandle> pageEntries(QPDFObjectHandle page,
                                                    const PageTree::Inherited& inherited) {
    std::map<std::string, QPDFObjectHandle> entries = page.getDictAsMap();
    entries.erase("/Parent");
    const auto inherit = [&entries](const char* key, QPDFObjectHandle value) {
        if (!value.isNull() && (!entries.contains(key) || entries[key].isNull())) {
            // Direct values are copied: pages that shared one must not change together.
            entries[key] = value.isIndirect() ? value : value.shallowCopy();
        }
    };
    inherit("/Resources", inherited.resources);
    inherit("/MediaBox", inherited.mediaBox);
    inherit("/CropBox", inherited.cropBox);
    inherit("/Rotate", inherited.rotate);
    entries["/Type"] = QPDFObjectHandle::newName("/Page");
    return entries;
}

std::uint64_t uncompressedBytesIn(QPDF& document) {
    std::uint64_t bytes = 0;
    for (QPDFObjectHandle& object : document.getAllObjects()) {
        if (object.isStream() && !object.getDict().hasKey("/Filter")) {
            QPDFObjectHandle length = object.getDict().getKey("/Length");
            if (length.isInteger() && length.getIntValue() > 0) {
                bytes += static_cast<std::uint64_t>(length.getIntValue());
            }
        }
    }
    return bytes;
}

PDFError cancelled(const std::filesystem::path& file) {
    return PDFError{PDFError::Kind::cancelled, file, "cancelled"};
}

} // namespace

WriteJob::WriteJob(const std::vector<PDFPageReference>& pages, const PDFWriteOptions& options)
    : m_pages(pages), m_options(options), m_progress(options.observer, pages.size()) {
    if (m_pages.empty() && m_options.whenEmpty == PDFWriteOptions::WhenEmpty::oneBlankPage) {
        m_pages.push_back(PDFPageReference{nullptr, 0, 0, defaultPaperSize()});
        m_progress = WriteProgress(options.observer, m_pages.size());
    }
}

PDFResult<PDFWriteReport> WriteJob::run(const std::filesystem::path& target) {
    auto file = ReplacementFile::create(target);
    if (!file) {
        return tl::unexpected(PDFError::cannotWrite(file.error()));
    }
    m_progress.begin();
    planSources();
    PDFResult<void> done = guardLibrary(PDFError::Kind::cannotWrite, target,
                                        [this]() { return beginDocument(); });
    for (const SourceUse& use : m_sources) {
        if (done && &use != m_base) {
            done = guardLibrary(PDFError::Kind::damagedPage, use.source->path(),
                                [&]() { return copyPages(use); });
        }
    }
    if (done) {
        done = guardLibrary(PDFError::Kind::cannotWrite, target,
                            [&]() { return writeDocument(*file, target); });
    }
    // A source that changed meanwhile explains whatever else went wrong.
    if (auto unchanged = verifySources(); !unchanged) {
        return tl::unexpected(std::move(unchanged.error()));
    }
    if (!done) {
        return tl::unexpected(std::move(done.error()));
    }
    if (m_options.stop.stop_requested()) {
        return tl::unexpected(cancelled(target));
    }
    if (auto committed = file->commit(); !committed) {
        return tl::unexpected(PDFError::cannotWrite(committed.error()));
    }
    m_progress.end();
    return PDFWriteReport{target, m_pages.size(), file->bytesWritten()};
}

void WriteJob::planSources() {
    std::unordered_map<const PDFSource*, std::size_t> places;
    for (std::size_t output = 0; output < m_pages.size(); ++output) {
        const PDFPageReference& page = m_pages[output];
        if (!page.source) {
            continue;
        }
        const auto [place, isNew] = places.try_emplace(page.source.get(), m_sources.size());
        if (isNew) {
            m_sources.push_back(SourceUse{page.source, {}, 0});
        }
        m_sources[place->second].uses.push_back(PageUse{output, page.index});
    }
    for (SourceUse& use : m_sources) {
        std::set<std::size_t> different;
        for (const PageUse& page : use.uses) {
            different.insert(page.page);
        }
        use.differentPages = different.size();
    }
    m_base = chooseBase();
}

const WriteJob::SourceUse* WriteJob::chooseBase() const {
    const SourceUse* best = nullptr;
    for (const SourceUse& use : m_sources) {
        const double share = static_cast<double>(use.differentPages) /
                             static_cast<double>(std::max<std::size_t>(1, use.source->pageCount()));
        if (share >= shareToAdopt &&
            (best == nullptr || use.differentPages > best->differentPages)) {
            best = &use;
        }
    }
    return best;
}

PDFResult<void> WriteJob::beginDocument() {
    m_outputPages.resize(m_pages.size());
    if (m_base != nullptr) {
        if (auto adopted = adoptBase(); !adopted) {
            return adopted;
        }
    } else {
        m_document = std::make_unique<QPDF>();
        m_document->emptyPDF();
    }
    m_document->setSuppressWarnings(true);
    for (QPDFObjectHandle& page : m_outputPages) {
        if (!page.isInitialized()) {
            page = m_document->makeIndirectObject(QPDFObjectHandle::newNull());
        }
    }
    addBlankPages();
    if (m_base != nullptr) {
        return placePages(*m_base, *m_baseReader->pages, nullptr);
    }
    return {};
}

PDFResult<void> WriteJob::adoptBase() {
    auto reader = m_base->source->takeReader();
    if (!reader) {
        return tl::unexpected(std::move(reader.error()));
    }
    m_baseReader = std::move(*reader);
    m_document = std::move(m_baseReader->document);
    const PageTree& tree = *m_baseReader->pages;

    std::set<QPDFObjGen> kept;
    for (const PageUse& use : m_base->uses) {
        QPDFObjectHandle page = tree.reference(use.page);
        if (kept.insert(page.getObjGen()).second) {
            m_outputPages[use.output] = page;
        }
    }
    // Whatever still points at a page that stays behind, or at the old tree, now finds null.
    for (std::size_t i = 0; i < tree.pageCount(); ++i) {
        const QPDFObjGen id = tree.reference(i).getObjGen();
        if (!kept.contains(id)) {
            m_document->replaceObject(id, QPDFObjectHandle::newNull());
        }
    }
    for (const QPDFObjectHandle& node : tree.innerNodes()) {
        if (node.isIndirect()) {
            m_document->replaceObject(node.getObjGen(), QPDFObjectHandle::newNull());
        }
    }
    return {};
}

PDFResult<void> WriteJob::copyPages(const SourceUse& use) {
    auto reader = use.source->takeReader();
    if (!reader) {
        return tl::unexpected(std::move(reader.error()));
    }
    const PageTree& tree = *(*reader)->pages;
    ObjectCopier copier(*m_document);
    for (std::size_t i = 0; i < tree.pageCount(); ++i) {
        copier.redirect(tree.reference(i).getObjGen(), QPDFObjectHandle::newNull());
    }
    for (const QPDFObjectHandle& node : tree.innerNodes()) {
        copier.redirect(node.getObjGen(), QPDFObjectHandle::newNull());
    }
    // The first copy of a page stands for it; later ones are reached by their position only.
    for (auto page = use.uses.rbegin(); page != use.uses.rend(); ++page) {
        copier.redirect(tree.reference(page->page).getObjGen(), m_outputPages[page->output]);
    }
    auto placed = placePages(use, tree, &copier);
    m_uncompressedBytes += copier.uncompressedBytes();
    return placed;
}

PDFResult<void> WriteJob::placePages(const SourceUse& use, const PageTree& tree,
                                     ObjectCopier* copier) {
    std::unordered_map<std::size_t, std::size_t> firstOutput; // by source page
    std::vector<std::pair<std::size_t, std::size_t>> repeats; // output, output that it repeats
    for (const PageUse& page : use.uses) {
        if (m_options.stop.stop_requested()) {
            return tl::unexpected(cancelled(use.source->path()));
        }
        const auto [first, isNew] = firstOutput.try_emplace(page.page, page.output);
        if (!isNew) {
            repeats.emplace_back(page.output, first->second);
            continue;
        }
        QPDFObjectHandle object = tree.page(page.page);
        if (!object.isInitialized() || object.hasKey("/Kids")) {
            return tl::unexpected(
                PDFError{PDFError::Kind::damagedPage, use.source->path(),
                         "page " + std::to_string(page.page + 1) + " cannot be read"});
        }
        auto entries = pageEntries(object, tree.inherited(page.page));
        if (copier != nullptr) {
            entries = copier->copyEntries(std::move(entries));
        }
        m_document->replaceObject(m_outputPages[page.output].getObjGen(),
                                  QPDFObjectHandle::newDictionary(entries));
        m_progress.pageCollected();
    }
    for (const auto& [output, original] : repeats) {
        m_document->replaceObject(m_outputPages[output].getObjGen(),
                                  m_outputPages[original].shallowCopy());
        m_progress.pageCollected();
    }
    for (const PageUse& page : use.uses) {
        turn(m_outputPages[page.output], m_pages[page.output].addedRotation);
    }
    return {};
}

void WriteJob::addBlankPages() {
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        if (!m_pages[i].source) {
            m_document->replaceObject(m_outputPages[i].getObjGen(),
                                      blankPage(m_pages[i].blankSize));
            turn(m_outputPages[i], m_pages[i].addedRotation);
            m_progress.pageCollected();
        }
    }
}

void WriteJob::turn(QPDFObjectHandle page, int addedRotation) {
    if (addedRotation % 360 == 0) {
        return; // also leaves a rotation that is no multiple of 90 as its author wrote it
    }
    QPDFObjectHandle own = page.getKey("/Rotate");
    const long long before = own.isInteger() ? own.getIntValue() % 360 / 90 * 90 : 0;
    const long long after = ((before + addedRotation) % 360 + 360) % 360;
    page.replaceKey("/Rotate", QPDFObjectHandle::newInteger(after));
}

void WriteJob::finishDocument() {
    QPDFObjectHandle catalog = QPDFObjectHandle::newDictionary();
    catalog.replaceKey("/Type", QPDFObjectHandle::newName("/Catalog"));
    catalog.replaceKey("/Pages", buildPageTree(*m_document, m_outputPages));
    QPDFObjectHandle trailer = m_document->getTrailer();
    trailer.replaceKey("/Root", m_document->makeIndirectObject(catalog));
    QPDFObjectHandle info = QPDFObjectHandle::newDictionary();
    info.replaceKey("/Producer", QPDFObjectHandle::newString(producer));
    trailer.replaceKey("/Info", m_document->makeIndirectObject(info));
    trailer.removeKey("/ID"); // this is a new document
}

PDFResult<void> WriteJob::verifySources() const {
    for (const SourceUse& use : m_sources) {
        if (auto unchanged = use.source->verifyUnchanged(); !unchanged) {
            return unchanged;
        }
    }
    return {};
}

PDFResult<void> WriteJob::writeDocument(ReplacementFile& file,
                                        const std::filesystem::path& target) {
    finishDocument();
    if (m_base != nullptr) {
        m_uncompressedBytes += uncompressedBytesIn(*m_document);
    }
    PDFVersion version{1, 5}; // object streams
    for (const SourceUse& use : m_sources) {
        version = std::max(version, use.source->version());
    }
    FilePipeline pipeline(file, m_options.stop);
    QPDFWriter writer(*m_document);
    writer.setOutputPipeline(&pipeline);
    writer.setMinimumPDFVersion(std::to_string(version.major) + "." +
                                std::to_string(version.minor));
    writer.setObjectStreamMode(qpdf_o_generate);
    writer.setPreserveEncryption(false);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setCompressStreams(m_uncompressedBytes > uncompressedBytesWorthCompressing);
    writer.registerProgressReporter(std::make_shared<QPDFWriter::FunctionProgressReporter>(
        [this](int percent) { m_progress.bytesProduced(percent); }));
    try {
        writer.write();
    } catch (const WriteCancelled&) {
        return tl::unexpected(cancelled(target));
    } catch (const WriteFailed& failure) {
        return tl::unexpected(PDFError::cannotWrite(failure.error()));
    }
    return {};
}

} // namespace quillorn
