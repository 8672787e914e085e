#include "platform/pdf/LabelCarrier.h"

#include <algorithm>
#include <limits>
#include <map>

namespace quillorn {

namespace {

const char* styleName(PDFPageLabelRange::Style style) {
    using Style = PDFPageLabelRange::Style;
    switch (style) {
    case Style::decimal:
        return "/D";
    case Style::upperRoman:
        return "/R";
    case Style::lowerRoman:
        return "/r";
    case Style::upperLetters:
        return "/A";
    case Style::lowerLetters:
        return "/a";
    case Style::none:
        break;
    }
    return nullptr;
}

constexpr int largestNumber = std::numeric_limits<int>::max();

/// Bytes of a prefix that is written once for all pages that have it, instead of beside each.
constexpr std::size_t longPrefix = 40;

int numberAt(std::size_t start, std::size_t offset) {
    return static_cast<int>(std::min<std::size_t>(start + offset, largestNumber));
}

/// Whether a page with the number `next` goes on counting where one with `before` stopped.
bool countsOn(int before, int next) {
    return before == largestNumber ? next == largestNumber : next == before + 1;
}

} // namespace

LabelCarrier::LabelCarrier(std::size_t outputPages) : m_labels(outputPages) {
    for (std::size_t i = 0; i < outputPages; ++i) {
        m_labels[i].number = numberAt(1, i); // for blank pages, which no source labels
    }
}

void LabelCarrier::setLabel(std::size_t output, std::size_t sourcePage,
                            const std::vector<PDFPageLabelRange>& ranges) {
    Label& label = m_labels.at(output);
    const auto after = std::upper_bound(
        ranges.begin(), ranges.end(), sourcePage,
        [](std::size_t page, const PDFPageLabelRange& range) { return page < range.firstPage; });
    if (after == ranges.begin()) {
        label.number = numberAt(1, sourcePage);
        return;
    }
    const PDFPageLabelRange& range = *std::prev(after);
    label.style = range.style;
    label.prefix = range.prefix.empty() ? nullptr : &*m_prefixes.insert(range.prefix).first;
    label.number =
        numberAt(static_cast<std::size_t>(range.firstNumber), sourcePage - range.firstPage);
    label.own = true;
}

QPDFObjectHandle LabelCarrier::finish(QPDF& output) const {
    if (std::none_of(m_labels.begin(), m_labels.end(),
                     [](const Label& label) { return label.own; })) {
        return QPDFObjectHandle::newNull();
    }
    std::map<const std::string*, QPDFObjectHandle> prefixes;
    const auto prefixObject = [&output, &prefixes](const std::string* text) {
        QPDFObjectHandle& prefix = prefixes[text];
        if (!prefix.isInitialized()) {
            prefix = QPDFObjectHandle::newUnicodeString(*text);
            if (text->size() > longPrefix) {
                prefix = output.makeIndirectObject(prefix);
            }
        }
        return prefix;
    };
    std::vector<QPDFObjectHandle> numbers;
    for (std::size_t i = 0; i < m_labels.size(); ++i) {
        const Label& label = m_labels[i];
        if (i > 0) {
            const Label& before = m_labels[i - 1];
            const bool goesOn = label.style == before.style && label.prefix == before.prefix &&
                                (label.style == PDFPageLabelRange::Style::none ||
                                 countsOn(before.number, label.number));
            if (goesOn) {
                continue;
            }
        }
        QPDFObjectHandle entry = QPDFObjectHandle::newDictionary();
        if (const char* name = styleName(label.style)) {
            entry.replaceKey("/S", QPDFObjectHandle::newName(name));
            entry.replaceKey("/St", QPDFObjectHandle::newInteger(label.number));
        }
        if (label.prefix != nullptr) {
            entry.replaceKey("/P", prefixObject(label.prefix));
        }
        numbers.push_back(QPDFObjectHandle::newInteger(static_cast<long long>(i)));
        numbers.push_back(entry);
    }
    QPDFObjectHandle labels = QPDFObjectHandle::newDictionary();
    labels.replaceKey("/Nums", QPDFObjectHandle::newArray(numbers));
    return labels;
}

} // namespace quillorn
