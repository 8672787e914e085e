#pragma once

#include "platform/pdf/PageLabels.h"

#include <cstddef>
#include <qpdf/QPDFObjectHandle.hh>
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
    [[nodiscard]] QPDFObjectHandle finish() const;

private:
    struct Label {
        PDFPageLabelRange::Style style = PDFPageLabelRange::Style::decimal;
        std::string prefix;
        int number = 1;
        bool own = false; ///< stated by the source
    };

    std::vector<Label> m_labels;
};

} // namespace quillorn
