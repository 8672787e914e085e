#pragma once

#include "platform/pdf/CarryContext.h"

#include <cstddef>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Carries optional content (layers; ISO 32000-1, 8.11) with its state, so that what was hidden
/// stays hidden. The groups of all sources share one configuration; in the panel of layers each
/// source's groups stand under its file's name when there are several. Groups that nothing on
/// the pages belongs to stay behind then, and groups that a source did not list are listed as
/// shown. Alternative configurations stay with a single source.
class LayerCarrier {
public:
    /// After the pages of a source were placed.
    void collect(const CarryContext& context);
    /// The catalogue's entry, or null when no source has layers.
    [[nodiscard]] QPDFObjectHandle finish(QPDF& output);

private:
    /// What one source brings; objects of the output.
    struct SourceLayers {
        std::size_t firstOutput = 0;
        std::vector<QPDFObjectHandle> groups;
        std::vector<QPDFObjectHandle> off;
        std::vector<QPDFObjectHandle> order;
        std::vector<QPDFObjectHandle> radioButtons;
        std::vector<QPDFObjectHandle> locked;
        std::vector<QPDFObjectHandle> usage;
    };

    QPDFObjectHandle m_single = QPDFObjectHandle::newNull(); ///< a single source's whole entry
    std::vector<SourceLayers> m_sources;
};

} // namespace quillorn
