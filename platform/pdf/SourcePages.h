#pragma once

#include "platform/pdf/PageTree.h"

#include <cstddef>
#include <map>
#include <optional>
#include <qpdf/QPDFObjectHandle.hh>
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
    /// `uses` ascend by output position. `tree` outlives this object.
    SourcePages(const PageTree& tree, const std::vector<PageUse>& uses,
                const std::vector<QPDFObjectHandle>& outputPages);

    [[nodiscard]] std::size_t pageCount() const { return m_outputs.size(); }
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
    /// Every page of the source came along, each exactly once.
    [[nodiscard]] bool isPermutation() const {
        return !m_hasRepeats && m_kept.size() == m_outputs.size();
    }

private:
    const PageTree& m_tree;
    const std::vector<QPDFObjectHandle>& m_outputPages;
    std::map<QPDFObjGen, std::size_t> m_indexes;
    std::vector<std::vector<std::size_t>> m_outputs; ///< by source page, ascending
    std::vector<std::size_t> m_kept;
    bool m_hasRepeats = false;
};

} // namespace quillorn
