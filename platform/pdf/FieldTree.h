#pragma once

#include "platform/pdf/CarryContext.h"

#include <cstddef>
#include <map>
#include <qpdf/QPDFObjectHandle.hh>
#include <set>
#include <vector>

namespace quillorn {

/// The form fields of one source that stay, before its pages are copied.
///
/// The source's own field tree is cut back to the widgets of the pages that stay and the fields
/// above them, so that a field drags nothing of other pages along and stays one field on however
/// many pages it shows. Where every page stays, fields that show nowhere stay too. Trees of any
/// shape come in: fields that do not know their widgets or the other way round, parents that
/// are pages, loops, depths of thousands. What comes out is a tree, of limited depth, in which
/// parents and children name each other.
class FieldTree {
public:
    /// `widgets` are those of the pages that stay, indirect objects, each once.
    FieldTree(const CarryContext& context, const std::vector<QPDFObjectHandle>& widgets);

    /// Widgets and fields that stay, each once, children before parents.
    [[nodiscard]] const std::vector<QPDFObjectHandle>& kept() const { return m_kept; }
    [[nodiscard]] bool keeps(const QPDFObjectHandle& field) const;
    /// Those of them without a parent, in the order of the form.
    [[nodiscard]] const std::vector<QPDFObjectHandle>& top() const { return m_top; }

private:
    [[nodiscard]] bool needsWalk(const std::vector<QPDFObjectHandle>& widgets) const;
    [[nodiscard]] std::vector<QPDFObjectHandle> repairAndFindHidden();
    [[nodiscard]] bool hasParent(QPDFObjectHandle field) const;
    void keepWithAncestors(QPDFObjectHandle field);
    void makeTop(QPDFObjectHandle field);
    void setChildren(QPDFObjectHandle field);

    const CarryContext& m_context;
    std::map<QPDFObjGen, std::size_t> m_listed; ///< place in the form's list of top fields
    std::vector<QPDFObjectHandle> m_kept;
    std::map<QPDFObjGen, std::size_t> m_depths; ///< of those that stay; 0 at the top
    std::map<QPDFObjGen, std::vector<QPDFObjectHandle>> m_children;
    std::set<QPDFObjGen> m_lists; ///< of children, that have been gone through
    std::vector<QPDFObjectHandle> m_top;
};

} // namespace quillorn
