#include "platform/pdf/LabelRanges.h"

#include "platform/pdf/TreeEntries.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t labelRangeLimit = 200'000;

/// Bytes of a prefix that stands before a page's number; every page has one of its own.
constexpr std::size_t longestPrefix = 1000;
/// Of all of them, which ranges may share. Those behind have none.
constexpr std::size_t mostPrefixes = 16U << 20U;

PDFPageLabelRange::Style labelStyle(QPDFObjectHandle style) {
    using Style = PDFPageLabelRange::Style;
    constexpr std::array<std::pair<const char*, Style>, 5> styles{{{"/D", Style::decimal},
                                                                   {"/R", Style::upperRoman},
                                                                   {"/r", Style::lowerRoman},
                                                                   {"/A", Style::upperLetters},
                                                                   {"/a", Style::lowerLetters}}};
    for (const auto& [name, value] : styles) {
        if (style.isNameAndEquals(name)) {
            return value;
        }
    }
    return Style::none;
}

PDFPageLabelRange labelRangeOf(std::size_t firstPage, QPDFObjectHandle label,
                               std::size_t prefixLimit) {
    PDFPageLabelRange range;
    range.firstPage = firstPage;
    range.style = labelStyle(label.getKey("/S"));
    QPDFObjectHandle prefix = label.getKey("/P");
    if (prefix.isString() && prefix.getStringValue().size() <= prefixLimit) {
        range.prefix = prefix.getUTF8Value();
    }
    if (QPDFObjectHandle start = label.getKey("/St"); start.isInteger()) {
        range.firstNumber = static_cast<int>(
            std::clamp<long long>(start.getIntValue(), 1, std::numeric_limits<int>::max()));
    }
    return range;
}

} // namespace

std::vector<PDFPageLabelRange> readLabelRanges(QPDFObjectHandle pageLabels) {
    std::vector<PDFPageLabelRange> ranges;
    std::size_t prefixes = 0; // bytes
    forEachTreeEntry(pageLabels, "/Nums", labelRangeLimit,
                     [&ranges, &prefixes](QPDFObjectHandle key, QPDFObjectHandle value) {
                         if (key.isInteger() && key.getIntValue() >= 0 && value.isDictionary()) {
                             ranges.push_back(
                                 labelRangeOf(static_cast<std::size_t>(key.getIntValue()), value,
                                              prefixes < mostPrefixes ? longestPrefix : 0));
                             prefixes += ranges.back().prefix.size();
                         }
                         return true;
                     });
    std::stable_sort(ranges.begin(), ranges.end(),
                     [](const auto& a, const auto& b) { return a.firstPage < b.firstPage; });
    return ranges;
}

} // namespace quillorn
