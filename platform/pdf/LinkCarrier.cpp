#include "platform/pdf/LinkCarrier.h"

#include <cstddef>
#include <vector>

namespace quillorn {

namespace {

constexpr std::size_t longestActionChain = 1'000;

bool isGoTo(QPDFObjectHandle action) {
    return action.getKeyIfDict("/S").isNameAndEquals("/GoTo");
}

} // namespace

void LinkCarrier::prepare(QPDFObjectHandle page) {
    prepareAdditionalActions(page);
    QPDFObjectHandle annotations = page.getKey("/Annots");
    if (!annotations.isArray()) {
        return;
    }
    const std::vector<QPDFObjectHandle> all = annotations.getArrayAsVector();
    std::vector<QPDFObjectHandle> staying;
    staying.reserve(all.size());
    for (const QPDFObjectHandle& annotation : all) {
        if (prepareAnnotation(annotation)) {
            staying.push_back(annotation);
        } else {
            m_context.notes.add(PDFCarryNote::Kind::linkRemoved, m_context.file);
        }
    }
    if (staying.size() != all.size()) {
        // A new array: pages may share the old one.
        page.replaceKey("/Annots", QPDFObjectHandle::newArray(staying));
    }
}

bool LinkCarrier::prepareAnnotation(QPDFObjectHandle annotation) {
    if (!annotation.isDictionary()) {
        return true;
    }
    if (annotation.getKey("/Subtype").isNameAndEquals("/Link")) {
        if (annotation.hasKey("/Dest")) {
            return makeExplicit(annotation, "/Dest");
        }
        return prepareAction(annotation.getKey("/A"));
    }
    if (!prepareAction(annotation.getKey("/A"))) {
        annotation.removeKey("/A");
        m_context.notes.add(PDFCarryNote::Kind::linkRemoved, m_context.file);
    }
    prepareAdditionalActions(annotation);
    return true;
}

void LinkCarrier::prepareAdditionalActions(QPDFObjectHandle holder) {
    QPDFObjectHandle actions = holder.getKey("/AA");
    if (!actions.isDictionary()) {
        return;
    }
    for (auto& [trigger, action] : actions.getDictAsMap()) {
        if (!prepareAction(action)) {
            actions.removeKey(trigger);
            m_context.notes.add(PDFCarryNote::Kind::linkRemoved, m_context.file);
        }
    }
}

bool LinkCarrier::prepareAction(QPDFObjectHandle action) {
    if (isGoTo(action) && !makeExplicit(action, "/D")) {
        return false;
    }
    // What follows an action that stays may go without it.
    std::set<QPDFObjGen> seen;
    for (std::size_t steps = 0; action.isDictionary() && steps < longestActionChain; ++steps) {
        if (action.isIndirect() && !seen.insert(action.getObjGen()).second) {
            break;
        }
        QPDFObjectHandle next = action.getKey("/Next");
        if (next.isArray()) {
            std::vector<QPDFObjectHandle> staying;
            for (const QPDFObjectHandle& item : next.getArrayAsVector()) {
                if (!isGoTo(item) || makeExplicit(item, "/D")) {
                    staying.push_back(item);
                }
            }
            action.replaceKey("/Next", QPDFObjectHandle::newArray(staying));
            break;
        }
        if (isGoTo(next) && !makeExplicit(next, "/D")) {
            action.removeKey("/Next");
            break;
        }
        action = next;
    }
    return true;
}

bool LinkCarrier::makeExplicit(QPDFObjectHandle holder, const char* key) {
    const auto destination = m_destinations.resolve(holder.getKey(key));
    if (!destination || !m_context.pages.isKept(destination->page)) {
        return false;
    }
    holder.removeKey("/SD"); // the same target, named through the structure tree
    holder.replaceKey(key, m_destinations.explicitArray(*destination));
    return true;
}

} // namespace quillorn
