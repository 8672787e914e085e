#pragma once

#include "platform/pdf/PageTree.h"

#include <cstddef>
#include <map>
#include <optional>
#include <qpdf/QPDFObjectHandle.hh>
#include <set>
#include <vector>

namespace quillorn {

/// One use of a source page in an output.
struct PageUse {
    std::size_t output; ///< position in the output
    std::size_t page;   ///< index in the source
};

/// Which pages of one source stand where in the output. Source page objects are told apart by
/// their object numbers, also after they were struck out of the document.
class SourcePages {
public:
    /// `uses` ascend by output position. All arguments outlive this object.
    SourcePages(const PageTree& tree, const std::vector<PageUse>& uses,
                const std::vector<QPDFObjectHandle>& outputPages);

    [[nodiscard]] std::size_t pageCount() const { return m_outputs.size(); }
    /// Every place that a page of the source has in the output, by position there. A page object
    /// that stands twice in its own document has two indexes; everywhere else only the first
    /// counts.
    [[nodiscard]] const std::vector<PageUse>& uses() const { return m_uses; }
    /// The source page that an object is, kept or not.
    [[nodiscard]] std::optional<std::size_t> indexOf(QPDFObjectHandle object) const;
    [[nodiscard]] bool isKept(std::size_t page) const { return !m_outputs.at(page).empty(); }

    /// Source pages that came along, each once, in the order of their first use.
    [[nodiscard]] const std::vector<std::size_t>& kept() const { return m_kept; }

    /// Positions of a source page in the output, ascending.
    [[nodiscard]] const std::vector<std::size_t>& outputs(std::size_t page) const {
        return m_outputs.at(page);
    }
    [[nodiscard]] std::size_t firstOutput(std::size_t page) const {
        return m_outputs.at(page).front();
    }
    /// The output page object that stands for a kept page: its first copy.
    [[nodiscard]] QPDFObjectHandle outputPage(std::size_t page) const;
    /// The copy of a kept page that a reader at output position `from` expects: that position
    /// itself, else the next copy behind it, else the last one before it.
    [[nodiscard]] std::size_t nearestOutput(std::size_t page, std::size_t from) const;

    [[nodiscard]] QPDFObjectHandle sourceReference(std::size_t page) const {
        return m_tree.reference(page);
    }
    [[nodiscard]] QPDFObjectHandle sourcePage(std::size_t page) const { return m_tree.page(page); }
    [[nodiscard]] bool hasRepeats() const { return m_hasRepeats; }
    /// Every page of the source came along.
    [[nodiscard]] bool allKept() const { return m_kept.size() == m_indexes.size(); }
    /// Every page of the source came along, each exactly once.
    [[nodiscard]] bool isPermutation() const { return !m_hasRepeats && allKept(); }
    /// The same, and in the order of the source.
    [[nodiscard]] bool isInOrder() const;
    /// Whether an object is a node of the source's page tree, or one of its pages.
    [[nodiscard]] bool isOfPageTree(QPDFObjectHandle object) const;

private:
    const PageTree& m_tree;
    const std::vector<PageUse>& m_uses;
    const std::vector<QPDFObjectHandle>& m_outputPages;
    std::map<QPDFObjGen, std::size_t> m_indexes;
    std::set<QPDFObjGen> m_nodes;                    ///< of the page tree, without the pages
    std::vector<std::vector<std::size_t>> m_outputs; ///< by source page, ascending
    std::vector<std::size_t> m_kept;
    bool m_hasRepeats = false;
};

} // namespace quillorn
