#pragma once

#include "PdfFile.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// The page tree over leaves whose numbers are known before the pages are written.
///
/// fanOut children a node; a fan-out of at least the number of pages makes a flat tree. The root
/// carries the inherited entries. Reserve first, ask parentOf() while pages are written, then
/// write().
class PageTree {
public:
    PageTree(PdfFile& file, int pages, int fanOut) : fanOut_(static_cast<std::size_t>(fanOut)) {
        std::vector<Node> level;
        level.reserve(static_cast<std::size_t>(pages));
        for (int i = 0; i < pages; ++i) {
            level.push_back({file.reserve(), 0, 1, {}});
        }
        levels_.push_back(level);
        do {
            level.clear();
            std::vector<Node>& below = levels_.back();
            for (std::size_t first = 0; first < below.size(); first += fanOut_) {
                Node node{file.reserve(), 0, 0, {}};
                const std::size_t last = std::min(first + fanOut_, below.size());
                for (std::size_t i = first; i < last; ++i) {
                    below[i].parent = node.number;
                    node.leaves += below[i].leaves;
                    node.children.push_back(below[i].number);
                }
                level.push_back(node);
            }
            levels_.push_back(level);
        } while (levels_.back().size() > 1);
    }

    /// Index from 0.
    int page(int index) const { return leaf(index).number; }
    int parentOf(int index) const { return leaf(index).parent; }
    int root() const { return levels_.back().front().number; }

    void write(PdfFile& file, std::string_view inheritedEntries) const {
        for (std::size_t depth = 1; depth < levels_.size(); ++depth) {
            for (const Node& node : levels_[depth]) {
                std::string object = "<< /Type /Pages /Count " + std::to_string(node.leaves);
                if (node.parent != 0) {
                    object += " /Parent " + reference(node.parent);
                } else {
                    object += ' ';
                    object += inheritedEntries;
                }
                object += " /Kids [";
                for (const int child : node.children) {
                    object += reference(child) + ' ';
                }
                file.put(node.number, object + "] >>");
            }
        }
    }

private:
    struct Node {
        int number = 0;
        int parent = 0; ///< 0 for the root
        int leaves = 0;
        std::vector<int> children;
    };

    const Node& leaf(int index) const {
        return levels_.front().at(static_cast<std::size_t>(index));
    }

    std::size_t fanOut_;
    std::vector<std::vector<Node>> levels_; ///< pages first, the root last
};

} // namespace bench
