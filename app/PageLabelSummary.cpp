#include "app/PageLabelSummary.h"

#include <algorithm>

namespace quillorn {

namespace {

std::string runText(const std::vector<PDFPageLabelRange>& ranges, std::size_t first,
                    std::size_t last) {
    const auto span = [](const std::string& from, const std::string& to) {
        return from == to ? from : from + "-" + to;
    };
    const std::string labels = span(pageLabelText(ranges, first), pageLabelText(ranges, last));
    return span(std::to_string(first + 1), std::to_string(last + 1)) + ": " +
           (labels.empty() ? "no label" : labels);
}

} // namespace

std::optional<std::vector<std::string>> pageLabels(const std::vector<PDFPageLabelRange>& ranges,
                                                   std::size_t pageCount, std::size_t limit) {
    std::vector<std::string> labels;
    if (ranges.empty()) {
        return labels;
    }
    labels.reserve(pageCount);
    for (std::size_t page = 0; page < pageCount; ++page) {
        labels.push_back(pageLabelText(ranges, page));
        if (labels.back().size() > limit) {
            return std::nullopt;
        }
        limit -= labels.back().size();
    }
    return labels;
}

PageLabelRuns pageLabelRuns(const std::vector<PDFPageLabelRange>& ranges, std::size_t pageCount,
                            std::size_t most) {
    PageLabelRuns runs;
    if (ranges.empty() || pageCount == 0) {
        return runs;
    }
    std::vector<std::size_t> starts = {0}; // pages before the first range are a run of their own
    for (const PDFPageLabelRange& range : ranges) {
        if (range.firstPage > starts.back() && range.firstPage < pageCount) {
            starts.push_back(range.firstPage);
        }
    }
    const std::size_t shown = std::min(most, starts.size());
    runs.further = starts.size() - shown;
    for (std::size_t i = 0; i < shown; ++i) {
        const std::size_t end = i + 1 < starts.size() ? starts[i + 1] : pageCount;
        runs.texts.push_back(runText(ranges, starts[i], end - 1));
    }
    return runs;
}

} // namespace quillorn
