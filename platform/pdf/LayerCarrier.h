#pragma once

#include "platform/pdf/CarryContext.h"

#include <cstddef>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Carries optional content (layers; ISO 32000-1, 8.11) with its state, so that what was hidden
/// stays hidden. The groups of all sources share one configuration; in the panel of layers each
/// source's groups stand under its file's name when there are several. Of alternative
/// configurations only a single source keeps its own.
class LayerCarrier {
public:
    void collect(const CarryContext& context);
    /// The catalogue's entry, or null when no source has layers.
    [[nodiscard]] QPDFObjectHandle finish();

private:
    void collectStates(const CarryContext& context, QPDFObjectHandle configuration,
                       const std::vector<QPDFObjectHandle>& groups);
    void append(const CarryContext& context, QPDFObjectHandle configuration, const char* key,
                std::vector<QPDFObjectHandle>& list);

    QPDFObjectHandle m_single = QPDFObjectHandle::newNull(); ///< a single source's whole entry
    std::size_t m_sources = 0;
    std::vector<QPDFObjectHandle> m_groups;
    std::vector<QPDFObjectHandle> m_off;
    std::vector<QPDFObjectHandle> m_order;
    std::vector<QPDFObjectHandle> m_radioButtons;
    std::vector<QPDFObjectHandle> m_locked;
    std::vector<QPDFObjectHandle> m_usage;
};

} // namespace quillorn
