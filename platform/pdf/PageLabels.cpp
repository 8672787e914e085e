#include "platform/pdf/PageLabels.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <limits>
#include <utility>

namespace quillorn {

namespace {

constexpr int largestRoman = 9'999;
constexpr int largestLetters = 26'000; // a thousand times the letter Z

std::string lowerRoman(int number) {
    constexpr std::array<std::pair<int, const char*>, 13> digits{{{1000, "m"},
                                                                  {900, "cm"},
                                                                  {500, "d"},
                                                                  {400, "cd"},
                                                                  {100, "c"},
                                                                  {90, "xc"},
                                                                  {50, "l"},
                                                                  {40, "xl"},
                                                                  {10, "x"},
                                                                  {9, "ix"},
                                                                  {5, "v"},
                                                                  {4, "iv"},
                                                                  {1, "i"}}};
    std::string text;
    for (const auto& [value, digit] : digits) {
        while (number >= value) {
            text += digit;
            number -= value;
        }
    }
    return text;
}

std::string lowerLetters(int number) {
    const int zeroBased = number - 1;
    return std::string(static_cast<std::size_t>(zeroBased / 26 + 1),
                       static_cast<char>('a' + zeroBased % 26));
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char ch) { return static_cast<char>(std::toupper(ch)); });
    return text;
}

} // namespace

std::string pageNumberText(PDFPageLabelRange::Style style, int number) {
    using Style = PDFPageLabelRange::Style;
    const bool roman = style == Style::upperRoman || style == Style::lowerRoman;
    const bool letters = style == Style::upperLetters || style == Style::lowerLetters;
    if (style == Style::none) {
        return {};
    }
    if (number < 1 || (roman && number > largestRoman) || (letters && number > largestLetters) ||
        style == Style::decimal) {
        return std::to_string(number);
    }
    const std::string text = roman ? lowerRoman(number) : lowerLetters(number);
    return style == Style::upperRoman || style == Style::upperLetters ? upper(text) : text;
}

std::string pageLabelText(const std::vector<PDFPageLabelRange>& ranges, std::size_t page) {
    const auto after = std::upper_bound(
        ranges.begin(), ranges.end(), page,
        [](std::size_t value, const PDFPageLabelRange& range) { return value < range.firstPage; });
    if (after == ranges.begin()) {
        return std::to_string(page + 1);
    }
    const PDFPageLabelRange& range = *std::prev(after);
    const auto offset = static_cast<long long>(page - range.firstPage);
    const long long number =
        std::min<long long>(range.firstNumber + offset, std::numeric_limits<int>::max());
    return range.prefix + pageNumberText(range.style, static_cast<int>(number));
}

} // namespace quillorn
