#pragma once

#include "platform/pdf/CarryContext.h"
#include "platform/pdf/Destinations.h"
#include "platform/pdf/DocumentInformation.h"
#include "platform/pdf/FormCarrier.h"
#include "platform/pdf/LabelCarrier.h"
#include "platform/pdf/LayerCarrier.h"
#include "platform/pdf/LinkCarrier.h"
#include "platform/pdf/NameTreeCarrier.h"
#include "platform/pdf/OutlineCarrier.h"
#include "platform/pdf/ThreadCarrier.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>
#include <vector>

namespace quillorn {

/// Brings together what pages carry beyond their own objects: gives each carrier its turn with
/// each source, and at the end builds the output's catalogue from what they collected.
class CatalogBuilder {
public:
    explicit CatalogBuilder(std::size_t outputPages) : m_labels(outputPages) {}

    /// Before the pages of a source are copied: changes the source's own objects.
    void prepare(CarryContext& context);
    /// After the pages of the same source were placed.
    void collect(CarryContext& context, const std::vector<QPDFObjectHandle>& outputPages);

    struct Choices {
        std::string title; ///< of an output with several sources, UTF-8
        bool flatOutline = false;
    };
    /// The catalogue, an indirect object; also sets the trailer's information dictionary.
    [[nodiscard]] QPDFObjectHandle finish(QPDF& output, QPDFObjectHandle pageTree,
                                          const Choices& choices, CarryNotes& notes);

private:
    void collectStructure(const CarryContext& context);
    void collectOutputIntents(const CarryContext& context);
    void collectViewing(const CarryContext& context);

    // Of the source whose turn it is.
    std::optional<Destinations> m_destinations;
    std::optional<LinkCarrier> m_links;

    OutlineCarrier m_outlines;
    FormCarrier m_forms;
    LayerCarrier m_layers;
    NameTreeCarrier m_names;
    ThreadCarrier m_threads;
    LabelCarrier m_labels;
    DocumentInformation m_information;
    QPDFObjectHandle m_catalog = QPDFObjectHandle::newDictionary();
    std::size_t m_sources = 0;
    std::optional<std::string> m_language;         ///< common to all sources so far
    std::optional<std::string> m_outputConditions; ///< common to all sources so far
    QPDFObjectHandle m_outputIntents = QPDFObjectHandle::newNull();
    std::filesystem::path m_outputIntentsFile;
};

} // namespace quillorn
