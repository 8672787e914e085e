#include "platform/browser/BrowserSelection.h"

#include <algorithm>
#include <numeric>

namespace quillorn {

BrowserSelection BrowserSelection::of(const IndexSet& indexes) {
    BrowserSelection selection;
    for (const std::size_t index : indexes) {
        if (!selection.m_ranges.empty() && selection.m_ranges.back().end == index) {
            ++selection.m_ranges.back().end;
        } else {
            selection.add({index, index + 1});
        }
    }
    return selection;
}

std::size_t BrowserSelection::count() const {
    return std::accumulate(
        m_ranges.begin(), m_ranges.end(), std::size_t{0},
        [](std::size_t sum, const BrowserRange& range) { return sum + (range.end - range.first); });
}

bool BrowserSelection::contains(std::size_t item) const {
    const auto behind = std::ranges::upper_bound(m_ranges, item, {}, &BrowserRange::first);
    return behind != m_ranges.begin() && item < (behind - 1)->end;
}

IndexSet BrowserSelection::indexes() const {
    IndexSet all;
    all.reserve(count());
    for (const BrowserRange& range : m_ranges) {
        for (std::size_t item = range.first; item < range.end; ++item) {
            all.push_back(item);
        }
    }
    return all;
}

void BrowserSelection::add(BrowserRange range) {
    if (range.first >= range.end) {
        return;
    }
    // All ranges that touch the new one become one with it.
    const auto first = std::ranges::lower_bound(m_ranges, range.first, {}, &BrowserRange::end);
    auto behind = first;
    while (behind != m_ranges.end() && behind->first <= range.end) {
        range.first = std::min(range.first, behind->first);
        range.end = std::max(range.end, behind->end);
        ++behind;
    }
    m_ranges.insert(m_ranges.erase(first, behind), range);
}

void BrowserSelection::remove(BrowserRange range) {
    std::vector<BrowserRange> left;
    for (const BrowserRange& old : m_ranges) {
        const BrowserRange before{old.first, std::min(old.end, range.first)};
        const BrowserRange behind{std::max(old.first, range.end), old.end};
        if (range.first >= range.end || before.end == old.end || behind.first == old.first) {
            left.push_back(old);
            continue;
        }
        for (const BrowserRange& part : {before, behind}) {
            if (part.first < part.end) {
                left.push_back(part);
            }
        }
    }
    m_ranges = std::move(left);
}

void BrowserSelection::toggle(std::size_t item) {
    if (contains(item)) {
        remove({item, item + 1});
    } else {
        add({item, item + 1});
    }
}

void BrowserSelection::toggle(const BrowserSelection& other) {
    BrowserSelection common;
    for (const BrowserRange& one : m_ranges) {
        for (const BrowserRange& two : other.m_ranges) {
            common.add({std::max(one.first, two.first), std::min(one.end, two.end)});
        }
    }
    add(other);
    for (const BrowserRange& range : common.m_ranges) {
        remove(range);
    }
}

void BrowserSelection::add(const BrowserSelection& other) {
    for (const BrowserRange& range : other.m_ranges) {
        add(range);
    }
}

} // namespace quillorn
