#include "platform/pdf/SourcePages.h"

#include <algorithm>

namespace quillorn {

SourcePages::SourcePages(const PageTree& tree, const std::vector<PageUse>& uses,
                         const std::vector<QPDFObjectHandle>& outputPages)
    : m_tree(tree), m_uses(uses), m_outputPages(outputPages), m_outputs(tree.pageCount()) {
    for (std::size_t i = 0; i < tree.pageCount(); ++i) {
        m_indexes.try_emplace(tree.reference(i).getObjGen(), i);
    }
    for (const QPDFObjectHandle& node : tree.innerNodes()) {
        if (node.isIndirect()) {
            m_nodes.insert(node.getObjGen());
        }
    }
    for (const PageUse& use : uses) {
        // A page object that stands twice in its own document is one page as to references.
        const std::size_t page = m_indexes.at(tree.reference(use.page).getObjGen());
        if (m_outputs[page].empty()) {
            m_kept.push_back(page);
        } else {
            m_hasRepeats = true;
        }
        m_outputs[page].push_back(use.output);
    }
}

std::optional<std::size_t> SourcePages::indexOf(QPDFObjectHandle object) const {
    if (!object.isIndirect()) {
        return std::nullopt;
    }
    const auto found = m_indexes.find(object.getObjGen());
    return found == m_indexes.end() ? std::nullopt : std::optional(found->second);
}

QPDFObjectHandle SourcePages::outputPage(std::size_t page) const {
    return m_outputPages[firstOutput(page)];
}

bool SourcePages::isInOrder() const {
    return isPermutation() && std::is_sorted(m_kept.begin(), m_kept.end());
}

bool SourcePages::isOfPageTree(QPDFObjectHandle object) const {
    return indexOf(object) || m_nodes.contains(object.getObjGen()) ||
           object.isDictionaryOfType("/Page") || object.isDictionaryOfType("/Pages");
}

std::size_t SourcePages::nearestOutput(std::size_t page, std::size_t from) const {
    const std::vector<std::size_t>& outputs = m_outputs.at(page);
    const auto next = std::lower_bound(outputs.begin(), outputs.end(), from);
    return next == outputs.end() ? outputs.back() : *next;
}

} // namespace quillorn
