#pragma once

#include "platform/pdf/PageLabels.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace quillorn {

/// Bytes of all labels of a document that are worth listing. The labels of a million pages take a
/// quarter of it; a file made for it could ask for gigabytes.
inline constexpr std::size_t mostLabelText = 64U << 20U;

/// The label of every page, in order; empty when the document gives its pages none. Nothing when
/// they are more than `limit` bytes in all.
[[nodiscard]] std::optional<std::vector<std::string>>
pageLabels(const std::vector<PDFPageLabelRange>& ranges, std::size_t pageCount,
           std::size_t limit = mostLabelText);

/// The same for people, as runs of pages.
struct PageLabelRuns {
    std::vector<std::string> texts; ///< "1-4: i-iv", "5-12: 1-8", "13: A", "14-15: no label"
    std::size_t further = 0;        ///< runs behind these
};
/// The first `most` runs.
[[nodiscard]] PageLabelRuns pageLabelRuns(const std::vector<PDFPageLabelRange>& ranges,
                                          std::size_t pageCount, std::size_t most);

} // namespace quillorn
