#pragma once

#include "platform/pdf/PageLabels.h"

#include <cstddef>
#include <string>
#include <vector>

namespace quillorn {

/// The label of every page, in order; empty when the document gives its pages none.
[[nodiscard]] std::vector<std::string> pageLabels(const std::vector<PDFPageLabelRange>& ranges,
                                                  std::size_t pageCount);

/// The same for people, as runs of pages: "1-4: i-iv", "5-12: 1-8", "13: A",
/// "14-15: no label".
[[nodiscard]] std::vector<std::string> pageLabelRuns(const std::vector<PDFPageLabelRange>& ranges,
                                                     std::size_t pageCount);

} // namespace quillorn
