#include "platform/pdf/PageRedrawing.h"

#include "platform/files/ReplacementFile.h"
#include "platform/pdf/FilePipeline.h"
#include "platform/pdf/PDFReader.h"
#include "platform/pdf/PDFSource.h"
#include "platform/pdf/PageTreeBuilder.h"

#include <cstddef>
#include <memory>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>
#include <stop_token>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

/// A page that shows what page `index` draws.
QPDFObjectHandle redrawn(const PageTree& pages, std::size_t index, const PDFBox& box) {
    QPDFObjectHandle before = pages.page(index);
    QPDFObjectHandle page = QPDFObjectHandle::newDictionary();
    page.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    page.replaceKey("/MediaBox", QPDFObjectHandle::newArray(QPDFObjectHandle::Rectangle(
                                     box.left, box.bottom, box.right, box.top)));
    QPDFObjectHandle resources = pages.attribute(index, "/Resources");
    page.replaceKey("/Resources",
                    resources.isDictionary() ? resources : QPDFObjectHandle::newDictionary());
    if (before.isDictionary()) {
        for (const char* key : {"/Contents", "/Group"}) {
            page.replaceKey(key, before.getKey(key)); // null removes it
        }
    }
    return page;
}

} // namespace

PDFResult<void> redrawPages(const std::filesystem::path& file, const PDFBox& mediaBox) {
    auto source = PDFSource::open(file);
    if (source && (*source)->isLocked()) {
        return tl::unexpected(PDFError{PDFError::Kind::locked, file, "it is locked"});
    }
    if (source) {
        source = (*source)->withCountedPages();
    }
    if (!source) {
        return tl::unexpected(std::move(source.error()));
    }
    auto reader = (*source)->takeReader();
    if (!reader) {
        return tl::unexpected(std::move(reader.error()));
    }
    auto output = ReplacementFile::create(file);
    if (!output) {
        return tl::unexpected(PDFError::cannotWrite(output.error()));
    }
    const auto kind = PDFError::Kind::damagedPage;
    auto written = guardLibrary(kind, file, (*reader)->budget, [&]() -> PDFResult<void> {
        QPDF& document = *(*reader)->document;
        const PageTree& pages = (*reader)->pageTree();
        std::vector<QPDFObjectHandle> drawn;
        for (std::size_t i = 0; i < pages.pageCount(); ++i) {
            drawn.push_back(document.makeIndirectObject(redrawn(pages, i, mediaBox)));
        }
        QPDFObjectHandle catalog = QPDFObjectHandle::newDictionary();
        catalog.replaceKey("/Type", QPDFObjectHandle::newName("/Catalog"));
        catalog.replaceKey("/Pages", buildPageTree(document, drawn));
        document.getTrailer().replaceKey("/Root", document.makeIndirectObject(catalog));
        document.getTrailer().removeKey("/Info");
        FilePipeline pipeline(*output, std::stop_token());
        QPDFWriter writer(document);
        writer.setOutputPipeline(&pipeline);
        writer.setPreserveEncryption(false);
        writer.setDecodeLevel(qpdf_dl_none);
        try {
            writer.write();
            pipeline.throwIfEnded();
        } catch (const WriteFailed& failure) {
            return tl::unexpected(PDFError::cannotWrite(failure.error()));
        }
        return {};
    });
    if (!written) {
        return written;
    }
    if (auto committed = output->commit(); !committed) {
        return tl::unexpected(PDFError::cannotWrite(committed.error()));
    }
    return {};
}

} // namespace quillorn
