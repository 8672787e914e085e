#include "platform/pdf/FieldTree.h"

#include <algorithm>
#include <set>

namespace quillorn {

namespace {

/// Deeper field trees are no form that a reader could use; what is below stands on its own.
constexpr std::size_t deepestField = 100;

/// Fields looked at where the tree must be gone through from the top.
constexpr std::size_t fieldLimit = 500'000;

bool isWidget(QPDFObjectHandle field) {
    return field.getKeyIfDict("/Subtype").isNameAndEquals("/Widget");
}

bool isSame(const QPDFObjectHandle& a, const QPDFObjectHandle& b) {
    return a.isIndirect() && b.isIndirect() && a.getObjGen() == b.getObjGen();
}

QPDFObjectHandle listOfFields(const CarryContext& context) {
    return context.source.getRoot().getKey("/AcroForm").getKeyIfDict("/Fields");
}

} // namespace

FieldTree::FieldTree(const CarryContext& context, const std::vector<QPDFObjectHandle>& widgets)
    : m_context(context) {
    if (QPDFObjectHandle fields = listOfFields(context); fields.isArray()) {
        for (const QPDFObjectHandle& field : fields.getArrayAsVector()) {
            m_listed.try_emplace(field.getObjGen(), m_listed.size());
        }
    }
    std::vector<QPDFObjectHandle> hidden;
    if (needsWalk(widgets)) {
        hidden = repairAndFindHidden();
    }
    for (const QPDFObjectHandle& widget : widgets) {
        keepWithAncestors(widget);
    }
    for (const QPDFObjectHandle& field : hidden) {
        keepWithAncestors(field);
    }
    for (const QPDFObjectHandle& field : m_kept) {
        setChildren(field);
    }
    const auto place = [this](const QPDFObjectHandle& field) {
        const auto found = m_listed.find(field.getObjGen());
        return found == m_listed.end() ? m_listed.size() : found->second;
    };
    std::stable_sort(m_top.begin(), m_top.end(),
                     [&place](const auto& a, const auto& b) { return place(a) < place(b); });
}

bool FieldTree::keeps(const QPDFObjectHandle& field) const {
    return field.isIndirect() && m_depths.contains(field.getObjGen());
}

/// Reading the form from the top costs all its fields, so it is done only to mend it and where
/// all of it stays anyway.
bool FieldTree::needsWalk(const std::vector<QPDFObjectHandle>& widgets) const {
    return !m_listed.empty() &&
           (m_context.pages.allKept() ||
            std::any_of(widgets.begin(), widgets.end(), [this](const QPDFObjectHandle& widget) {
                return !hasParent(widget) && !m_listed.contains(widget.getObjGen());
            }));
}

/// Lets children name the parents that list them, and returns the fields without widgets when
/// they stay.
std::vector<QPDFObjectHandle> FieldTree::repairAndFindHidden() {
    std::vector<QPDFObjectHandle> hidden;
    std::vector<QPDFObjectHandle> pending;
    for (const QPDFObjectHandle& field : listOfFields(m_context).getArrayAsVector()) {
        pending.push_back(field);
    }
    std::set<QPDFObjGen> seen;
    std::set<QPDFObjGen> lists; // of children; fields of a damaged form share them
    while (!pending.empty()) {
        QPDFObjectHandle field = pending.back();
        pending.pop_back();
        if (!field.isIndirect() || !field.isDictionary() || m_context.pages.isOfPageTree(field) ||
            seen.size() >= fieldLimit || !seen.insert(field.getObjGen()).second) {
            continue;
        }
        QPDFObjectHandle kids = field.getKey("/Kids");
        if (kids.isArray() && kids.getArrayNItems() > 0) {
            if (kids.isIndirect() && !lists.insert(kids.getObjGen()).second) {
                continue;
            }
            for (QPDFObjectHandle& kid : kids.getArrayAsVector()) {
                if (kid.isIndirect() && kid.isDictionary() && !hasParent(kid)) {
                    kid.replaceKey("/Parent", field);
                }
                pending.push_back(kid);
            }
        } else if (m_context.pages.allKept() && !isWidget(field)) {
            hidden.push_back(field);
        }
    }
    return hidden;
}

bool FieldTree::hasParent(QPDFObjectHandle field) const {
    QPDFObjectHandle parent = field.getKey("/Parent");
    return parent.isIndirect() && parent.isDictionary() && !parent.hasKey("/Fields") &&
           !parent.isDictionaryOfType("/Catalog") && !m_context.pages.isOfPageTree(parent);
}

void FieldTree::keepWithAncestors(QPDFObjectHandle field) {
    if (m_depths.contains(field.getObjGen())) {
        return; // came along with a widget below it
    }
    std::vector<QPDFObjectHandle> path{field};
    std::size_t depth = 0; // of the last one in the path
    while (true) {
        if (!hasParent(path.back())) {
            makeTop(path.back());
            break;
        }
        QPDFObjectHandle parent = path.back().getKey("/Parent");
        const auto known = m_depths.find(parent.getObjGen());
        const bool loops = std::any_of(
            path.begin(), path.end(), [&parent](const auto& node) { return isSame(node, parent); });
        const std::size_t below = known == m_depths.end() ? 0 : known->second + 1;
        if (loops || below + path.size() > deepestField) {
            makeTop(path.back());
            m_context.notes.add(PDFCarryNote::Kind::structureLimited, m_context.file,
                                "form fields");
            break;
        }
        m_children[parent.getObjGen()].push_back(path.back());
        if (known != m_depths.end()) {
            depth = below;
            break;
        }
        path.push_back(parent);
    }
    for (std::size_t i = 0; i < path.size(); ++i) {
        m_depths.emplace(path[i].getObjGen(), depth + path.size() - 1 - i);
        m_kept.push_back(path[i]);
    }
}

void FieldTree::makeTop(QPDFObjectHandle field) {
    field.removeKey("/Parent");
    m_top.push_back(field);
}

/// The children that stay, in the order in which the field lists them; then those that it forgot.
void FieldTree::setChildren(QPDFObjectHandle field) {
    QPDFObjectHandle kids = field.getKey("/Kids");
    const auto found = m_children.find(field.getObjGen());
    if (found == m_children.end()) {
        if (!kids.isNull()) {
            field.removeKey("/Kids");
        }
        return;
    }
    std::set<QPDFObjGen> missing;
    for (const QPDFObjectHandle& child : found->second) {
        missing.insert(child.getObjGen());
    }
    std::vector<QPDFObjectHandle> staying;
    // A list that belongs to several fields is nobody's order.
    if (kids.isArray() && (!kids.isIndirect() || m_lists.insert(kids.getObjGen()).second)) {
        for (const QPDFObjectHandle& kid : kids.getArrayAsVector()) {
            if (kid.isIndirect() && missing.erase(kid.getObjGen()) > 0) {
                staying.push_back(kid);
            }
        }
    }
    for (const QPDFObjectHandle& child : found->second) {
        if (missing.contains(child.getObjGen())) {
            staying.push_back(child);
        }
    }
    field.replaceKey("/Kids", QPDFObjectHandle::newArray(staying));
}

} // namespace quillorn
