#pragma once

#include "platform/pdf/PageLabels.h"

#include <cstddef>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <set>
#include <string>
#include <vector>

namespace quillorn {

/// Gives every output page the logical number that it had in its source. Pages of sources
/// without labels count as readers show them there, by position.
class LabelCarrier {
public:
    explicit LabelCarrier(std::size_t outputPages);

    /// `ranges` of the source, ascending; may be empty. Pages before the first range have their
    /// position.
    void setLabel(std::size_t output, std::size_t sourcePage,
                  const std::vector<PDFPageLabelRange>& ranges);

    /// The catalogue's /PageLabels, or null when no page came with a label of its own.
    [[nodiscard]] QPDFObjectHandle finish(QPDF& output) const;

private:
    struct Label {
        PDFPageLabelRange::Style style = PDFPageLabelRange::Style::decimal;
        const std::string* prefix = nullptr; ///< one of m_prefixes; null for none
        int number = 1;
        bool own = false; ///< stated by the source
    };

    std::vector<Label> m_labels;
    std::set<std::string> m_prefixes; ///< each once, however many pages have it
};

} // namespace quillorn
