#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quillorn {

/// One range of logical page numbers (ISO 32000-1, 12.4.2): from page `firstPage` (counted from
/// 0) to the next range, pages are called `prefix` followed by a number in `style`, which counts
/// from `firstNumber`.
struct PDFPageLabelRange {
    enum class Style { none, decimal, upperRoman, lowerRoman, upperLetters, lowerLetters };

    std::size_t firstPage = 0;
    Style style = Style::none;
    std::string prefix; ///< UTF-8
    int firstNumber = 1;
    bool operator==(const PDFPageLabelRange&) const = default;
};

/// The text of `number` (1 or more) in a style: "7", "VII", "vii", "G", "g"; the 27th letter
/// is "AA". Numbers that a style cannot write sensibly (Roman above 9,999, letters above 26,000)
/// come out as decimal.
[[nodiscard]] std::string pageNumberText(PDFPageLabelRange::Style style, int number);

/// The logical page number of page `page`; its position counted from 1 when no range covers it.
/// `ranges` is in ascending order of `firstPage`.
[[nodiscard]] std::string pageLabelText(const std::vector<PDFPageLabelRange>& ranges,
                                        std::size_t page);

} // namespace quillorn
