#pragma once

#include "platform/browser/BrowserLayout.h"
#include "platform/browser/ImageBrowser.h"

#include <cstddef>
#include <vector>

namespace quillorn {

/// A set of items as ascending ranges that do not touch, so that a hundred thousand selected pages
/// are one entry. Asking costs O(log ranges), changing O(ranges).
class BrowserSelection {
public:
    BrowserSelection() = default;
    explicit BrowserSelection(BrowserRange range) { add(range); }
    /// Items in ascending order, each once.
    [[nodiscard]] static BrowserSelection of(const IndexSet& indexes);

    [[nodiscard]] bool isEmpty() const { return m_ranges.empty(); }
    [[nodiscard]] std::size_t count() const;
    [[nodiscard]] bool contains(std::size_t item) const;
    [[nodiscard]] const std::vector<BrowserRange>& ranges() const { return m_ranges; }
    [[nodiscard]] IndexSet indexes() const;

    void add(BrowserRange range);
    void remove(BrowserRange range);
    void toggle(std::size_t item);
    /// What is in exactly one of both.
    void toggle(const BrowserSelection& other);
    void add(const BrowserSelection& other);

    bool operator==(const BrowserSelection&) const = default;

private:
    std::vector<BrowserRange> m_ranges;
};

} // namespace quillorn
