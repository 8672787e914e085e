#include "platform/pdf/WriteJob.h"

#include "platform/pdf/FilePipeline.h"
#include "platform/pdf/ObjectCopier.h"
#include "platform/pdf/PageTreeBuilder.h"
#include "platform/pdf/PaperSize.h"
#include "platform/pdf/ResourcePruner.h"

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

QPDFObjectHandle blankPage(const PDFSize& size) {
    QPDFObjectHandle page = QPDFObjectHandle::newDictionary();
    page.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    page.replaceKey("/MediaBox", QPDFObjectHandle::newArray(
                                     QPDFObjectHandle::Rectangle(0, 0, size.width, size.height)));
    page.replaceKey("/Resources", QPDFObjectHandle::newDictionary());
    return page;
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

/// What a document says in its header or, when it was changed later, in its catalogue.
PDFVersion versionOf(const PDFSource& source, QPDF& document) {
    PDFVersion version = source.version();
    QPDFObjectHandle stated = document.getRoot().getKey("/Version");
    if (stated.isName()) {
        const std::string text = stated.getName(); // "/1.7"
        if (text.size() == 4 && text[1] >= '1' && text[1] <= '2' && text[3] >= '0' &&
            text[3] <= '9') {
            version = std::max(version, PDFVersion{text[1] - '0', text[3] - '0'});
        }
    }
    return version;
}

/// libqpdf looks for all pages of a document before it copies a stream out of it: it would read
/// every page, wanted or not, and fail where the page tree is damaged. Our own tree has been
/// read by then, so libqpdf is shown one wanted page in its place. Nothing here makes a new
/// object: for a new number libqpdf would read every object there is.
void hidePageTree(QPDF& document, QPDFObjectHandle wantedPage) {
    QPDFObjectHandle tree = QPDFObjectHandle::newDictionary();
    tree.replaceKey("/Type", QPDFObjectHandle::newName("/Pages"));
    tree.replaceKey("/Kids", QPDFObjectHandle::newArray({wantedPage}));
    tree.replaceKey("/Count", QPDFObjectHandle::newInteger(1));
    document.getRoot().replaceKey("/Pages", tree);
}

PDFError cancelled(const std::filesystem::path& file) {
    return PDFError{PDFError::Kind::cancelled, file, "cancelled"};
}

} // namespace

WriteJob::WriteJob(const std::vector<PDFPageReference>& pages, const PDFWriteOptions& options)
    : m_pages(pages),
      m_options(options),
      m_progress(options.observer, pages.size()),
      m_catalog(std::max<std::size_t>(1, pages.size())) {
    if (m_pages.empty() && m_options.whenEmpty == PDFWriteOptions::WhenEmpty::oneBlankPage) {
        m_pages.push_back(PDFPageReference{nullptr, 0, 0, defaultPaperSize()});
        m_progress = WriteProgress(options.observer, m_pages.size());
    }
}

WriteJob::~WriteJob() {
    if (m_options.leaveMemoryToProcessEnd) {
        static_cast<void>(m_document.release()); // NOLINT(bugprone-unused-return-value)
    }
}

PDFResult<PDFWriteReport> WriteJob::run(const std::filesystem::path& target) {
    auto file = ReplacementFile::create(target);
    if (!file) {
        return tl::unexpected(PDFError::cannotWrite(file.error()));
    }
    m_progress.begin();
    planSources();
    // A document that became the output is to blame for whatever it holds.
    const std::filesystem::path& base = m_base != nullptr ? m_base->source->path() : target;
    DecodingBudget budget = DecodingBudget::forFilesOf(sizeOfSources());
    PDFResult<void> done = guardLibrary(PDFError::Kind::cannotWrite, base, budget,
                                        [this]() { return beginDocument(); });
    for (const SourceUse& use : m_sources) {
        if (done && &use != m_base) {
            done = guardLibrary(PDFError::Kind::damagedPage, use.source->path(), budget,
                                [&]() { return addSource(use); });
        }
    }
    if (done) {
        done = guardLibrary(PDFError::Kind::cannotWrite, base, budget,
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
    return PDFWriteReport{target, m_pages.size(), file->bytesWritten(), m_notes.take()};
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

std::uint64_t WriteJob::sizeOfSources() const {
    std::uint64_t bytes = 0;
    for (const SourceUse& use : m_sources) {
        bytes += use.source->fileSize();
    }
    return bytes;
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
    std::unique_ptr<PDFReader> base;
    if (m_base != nullptr) {
        auto adopted = adoptBase();
        if (!adopted) {
            return tl::unexpected(std::move(adopted.error()));
        }
        base = std::move(*adopted);
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
        return placeSource(*m_base, *m_document, base->pageTree(), nullptr);
    }
    return {};
}

PDFResult<std::unique_ptr<PDFReader>> WriteJob::adoptBase() {
    auto reader = m_base->source->takeReader();
    if (!reader) {
        return reader;
    }
    m_document = std::move((*reader)->document);
    const PageTree& tree = (*reader)->pageTree();

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
    return reader;
}

PDFResult<void> WriteJob::addSource(const SourceUse& use) {
    auto reader = use.source->takeReader();
    if (!reader) {
        return tl::unexpected(std::move(reader.error()));
    }
    QPDF& document = *(*reader)->document;
    const PageTree& tree = (*reader)->pageTree();
    ObjectCopier copier(*m_document);
    for (std::size_t i = 0; i < tree.pageCount(); ++i) {
        copier.redirect(tree.reference(i).getObjGen(), QPDFObjectHandle::newNull());
    }
    for (const QPDFObjectHandle& node : tree.innerNodes()) {
        copier.redirect(node.getObjGen(), QPDFObjectHandle::newNull());
    }
    copier.redirect(document.getRoot().getObjGen(), QPDFObjectHandle::newNull());
    hidePageTree(document, tree.reference(use.uses.front().page));
    auto placed = placeSource(use, document, tree, &copier);
    m_uncompressedBytes += copier.uncompressedBytes();
    return placed;
}

PDFResult<void> WriteJob::placeSource(const SourceUse& use, QPDF& source, const PageTree& tree,
                                      ObjectCopier* copier) {
    const SourcePages pages(tree, use.uses, m_outputPages);
    if (copier != nullptr) {
        for (const std::size_t page : pages.kept()) {
            copier->redirect(tree.reference(page).getObjGen(), pages.outputPage(page));
        }
    }
    CarryContext context{
        use.source->path(),   use.source->fileSize(), source, *m_document, pages, copier, m_notes,
        m_sources.size() == 1};
    m_version = std::max(m_version, versionOf(*use.source, source));
    m_catalog.prepare(context);
    if (auto placed = placePages(context, tree); !placed) {
        return placed;
    }
    placeRepeats(pages);
    m_catalog.collect(context, m_outputPages);
    for (const PageUse& page : use.uses) {
        turn(m_outputPages[page.output], m_pages[page.output].addedRotation);
    }
    return {};
}

PDFResult<void> WriteJob::placePages(const CarryContext& context, const PageTree& tree) {
    const std::vector<std::size_t>& kept = context.pages.kept();
    std::vector<QPDFObjectHandle> objects;
    std::vector<QPDFObjectHandle> resources;
    for (const std::size_t page : kept) {
        objects.push_back(tree.page(page));
        if (!objects.back().isInitialized() || objects.back().hasKey("/Kids")) {
            return tl::unexpected(PDFError{PDFError::Kind::damagedPage, context.file,
                                           "page " + std::to_string(page + 1) + " cannot be read"});
        }
        resources.push_back(tree.attribute(page, "/Resources"));
    }
    if (kept.size() < tree.pageCount()) {
        resources = pruneResources(context.source, context.fileBytes, objects, resources);
    }
    m_placedResources.clear();
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (m_options.stop.stop_requested()) {
            return tl::unexpected(cancelled(context.file));
        }
        std::map<std::string, QPDFObjectHandle> entries = objects[i].getDictAsMap();
        entries.erase("/Parent");
        const bool ownResources =
            resources[i].getObjectPtr() == objects[i].getKey("/Resources").getObjectPtr();
        if (!ownResources) {
            entries.erase("/Resources");
        }
        for (const char* key : {"/MediaBox", "/CropBox", "/Rotate"}) {
            if (QPDFObjectHandle value = tree.attribute(kept[i], key); !value.isNull()) {
                entries[key] = value;
            }
        }
        entries["/Type"] = QPDFObjectHandle::newName("/Page");
        if (context.copier != nullptr) {
            entries = context.copier->copyEntries(std::move(entries));
        }
        if (!ownResources && !resources[i].isNull()) {
            entries["/Resources"] = placeResources(context, resources[i]);
        }
        m_document->replaceObject(context.pages.outputPage(kept[i]).getObjGen(),
                                  QPDFObjectHandle::newDictionary(entries));
        m_progress.pageCollected();
    }
    return {};
}

QPDFObjectHandle WriteJob::placeResources(const CarryContext& context, QPDFObjectHandle resources) {
    QPDFObjectHandle& placed = m_placedResources[resources.getObjectPtr()];
    if (!placed.isInitialized()) {
        placed = context.carried(resources);
        if (!placed.isIndirect()) {
            placed = m_document->makeIndirectObject(placed);
        }
    }
    return placed;
}

void WriteJob::placeRepeats(const SourcePages& pages) {
    for (const std::size_t page : pages.kept()) {
        QPDFObjectHandle first = pages.outputPage(page);
        if (QPDFObjectHandle list = first.getKey("/Annots");
            pages.outputs(page).size() > 1 && list.isArray() && !list.isIndirect()) {
            // Copies that share it name it, instead of holding it once more each.
            first.replaceKey("/Annots", m_document->makeIndirectObject(list));
        }
        for (const std::size_t output : pages.outputs(page)) {
            if (output != pages.firstOutput(page)) {
                m_document->replaceObject(m_outputPages[output].getObjGen(),
                                          pages.outputPage(page).shallowCopy());
                m_outputPages[output].removeKey("/B"); // a bead stands on one page
                m_progress.pageCollected();
            }
        }
    }
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

void WriteJob::finishDocument(const std::filesystem::path& target) {
    const CatalogBuilder::Choices choices{
        m_options.title.empty() ? target.stem().string() : m_options.title, m_options.flatOutline};
    QPDFObjectHandle catalog =
        m_catalog.finish(*m_document, buildPageTree(*m_document, m_outputPages), choices, m_notes);
    QPDFObjectHandle trailer = m_document->getTrailer();
    // This is a new document: an adopted trailer keeps nothing of its old one.
    for (const std::string& key : trailer.getKeys()) {
        if (key != "/Info") {
            trailer.removeKey(key);
        }
    }
    trailer.replaceKey("/Root", catalog);
    // The library writes the right number, but only where a trailer has the entry.
    trailer.replaceKey("/Size", QPDFObjectHandle::newInteger(0));
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
    finishDocument(target);
    if (m_base != nullptr) {
        m_uncompressedBytes += uncompressedBytesIn(*m_document);
    }
    FilePipeline pipeline(file, m_options.stop);
    QPDFWriter writer(*m_document);
    writer.setOutputPipeline(&pipeline);
    writer.setMinimumPDFVersion(std::to_string(m_version.major) + "." +
                                std::to_string(m_version.minor));
    writer.setObjectStreamMode(qpdf_o_generate);
    writer.setPreserveEncryption(false);
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setCompressStreams(m_uncompressedBytes > uncompressedBytesWorthCompressing);
    writer.registerProgressReporter(
        std::make_shared<QPDFWriter::FunctionProgressReporter>([this, &pipeline](int percent) {
            pipeline.throwIfEnded();
            m_progress.bytesProduced(percent);
        }));
    try {
        writer.write();
        pipeline.throwIfEnded();
    } catch (const WriteCancelled&) {
        return tl::unexpected(cancelled(target));
    } catch (const WriteFailed& failure) {
        return tl::unexpected(PDFError::cannotWrite(failure.error()));
    }
    return {};
}

} // namespace quillorn
