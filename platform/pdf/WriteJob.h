#pragma once

#include "platform/files/ReplacementFile.h"
#include "platform/pdf/CarryContext.h"
#include "platform/pdf/CatalogBuilder.h"
#include "platform/pdf/PDFReader.h"
#include "platform/pdf/PDFWriter.h"
#include "platform/pdf/WriteProgress.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// One output file in the making.
///
/// The pages are taken source by source, whatever their order in the output, so that each source
/// is read once and its memory is given back before the next. Every output page exists as an
/// (empty) object before the first source is read: what refers to a page can so be pointed at
/// the output page right away. A source of which most pages are wanted is not copied at all: its
/// own libqpdf document becomes the output, with a new catalogue and page tree and the unwanted
/// pages struck out.
///
/// Belongs to one thread; made for one run.
class WriteJob {
public:
    WriteJob(const std::vector<PDFPageReference>& pages, const PDFWriteOptions& options);
    WriteJob(const WriteJob&) = delete;
    WriteJob& operator=(const WriteJob&) = delete;
    ~WriteJob();

    [[nodiscard]] PDFResult<PDFWriteReport> run(const std::filesystem::path& target);

private:
    struct SourceUse {
        std::shared_ptr<const PDFSource> source;
        std::vector<PageUse> uses;
        std::size_t differentPages = 0;
    };

    void planSources();
    [[nodiscard]] std::uint64_t sizeOfSources() const;
    [[nodiscard]] const SourceUse* chooseBase() const;
    [[nodiscard]] PDFResult<void> beginDocument();
    /// Makes the base's document the output. What it gives has its page tree, no document.
    [[nodiscard]] PDFResult<std::unique_ptr<PDFReader>> adoptBase();
    [[nodiscard]] PDFResult<void> addSource(const SourceUse& use);
    [[nodiscard]] PDFResult<void> placeSource(const SourceUse& use, QPDF& source,
                                              const PageTree& tree, ObjectCopier* copier);
    [[nodiscard]] PDFResult<void> placePages(const CarryContext& context, const PageTree& tree);
    void placeRepeats(const SourcePages& pages);
    /// Pages that share a dictionary of resources in the source share it in the output.
    [[nodiscard]] QPDFObjectHandle placeResources(const CarryContext& context,
                                                  QPDFObjectHandle resources);
    void addBlankPages();
    void turn(QPDFObjectHandle page, int addedRotation);
    void finishDocument(const std::filesystem::path& target);
    [[nodiscard]] PDFResult<void> verifySources() const;
    [[nodiscard]] PDFResult<void> writeDocument(ReplacementFile& file,
                                                const std::filesystem::path& target);

    std::vector<PDFPageReference> m_pages;
    PDFWriteOptions m_options;
    WriteProgress m_progress;
    std::vector<SourceUse> m_sources;
    const SourceUse* m_base = nullptr; ///< the source whose document became the output, or null
    std::unique_ptr<QPDF> m_document;
    std::vector<QPDFObjectHandle> m_outputPages;
    CatalogBuilder m_catalog;
    CarryNotes m_notes;
    std::map<const QPDFObject*, QPDFObjectHandle> m_placedResources; ///< of the current source
    std::uint64_t m_uncompressedBytes = 0;
    PDFVersion m_version{1, 5}; ///< of the output; object streams ask for this one
};

} // namespace quillorn
