#include "platform/pdf/LinkCarrier.h"

#include "platform/pdf/ActionChain.h"
#include "platform/pdf/FormActions.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace quillorn {

namespace {

/// Actions that stay of a chain that loops or does not end. Thousands of links may share it, and
/// each gets copies of its own.
constexpr std::size_t keptOfEndlessChain = 8;

/// Actions copied for one source. Chains that lose a step are copied without it, which thousands
/// of links that share a long one could ask for.
constexpr std::size_t mostCopiedActions = 100'000;

} // namespace

void LinkCarrier::preparePage(QPDFObjectHandle page) {
    prepareAdditionalActions(page);
    QPDFObjectHandle annotations = page.getKey("/Annots");
    if (!annotations.isArray()) {
        return;
    }
    if (annotations.isIndirect() && !m_lists.insert(annotations.getObjGen()).second) {
        return;
    }
    const std::vector<QPDFObjectHandle> all = annotations.getArrayAsVector();
    std::vector<QPDFObjectHandle> staying;
    staying.reserve(all.size());
    for (const QPDFObjectHandle& annotation : all) {
        if (staysOnPage(annotation)) {
            staying.push_back(annotation);
        }
    }
    if (staying.size() == all.size()) {
        return;
    }
    if (annotations.isIndirect()) {
        // In its place, so that pages go on sharing it. A new object in a source would make
        // libqpdf read all the others first.
        m_context.source.replaceObject(annotations.getObjGen(),
                                       QPDFObjectHandle::newArray(staying));
    } else {
        page.replaceKey("/Annots", QPDFObjectHandle::newArray(staying));
    }
}

bool LinkCarrier::staysOnPage(const QPDFObjectHandle& annotation) {
    if (!annotation.isIndirect()) {
        return prepareAnnotation(annotation); // stands in one list, which is gone through once
    }
    const auto known = m_annotations.find(annotation.getObjGen());
    if (known != m_annotations.end()) {
        return known->second;
    }
    const bool stays = prepareAnnotation(annotation);
    m_annotations.emplace(annotation.getObjGen(), stays);
    return stays;
}

bool LinkCarrier::prepareAnnotation(QPDFObjectHandle annotation) {
    if (!annotation.isDictionary()) {
        return true;
    }
    if (!m_context.isWholeDocument()) {
        annotation.removeKey("/StructParent"); // see CatalogBuilder::collectStructure
    }
    QPDFObjectHandle subtype = annotation.getKey("/Subtype");
    if (subtype.isNameAndEquals("/Link")) {
        return prepareLink(annotation);
    }
    if (subtype.isNameAndEquals("/Widget") && annotation.isIndirect()) {
        m_widgets.push_back(annotation);
    }
    prepareActions(annotation);
    return true;
}

void LinkCarrier::prepareActions(QPDFObjectHandle holder) {
    prepareActionOf(holder, "/A");
    prepareAdditionalActions(holder);
}

bool LinkCarrier::prepareLink(QPDFObjectHandle link) {
    if (!link.hasKey("/Dest")) {
        return prepareActionOf(link, "/A");
    }
    if (makeExplicit(link, "/Dest")) {
        return true;
    }
    // Readers take the action of a link whose destination tells them nothing.
    link.removeKey("/Dest");
    if (link.hasKey("/A")) {
        return prepareActionOf(link, "/A");
    }
    m_context.notes.add(PDFCarryNote::Kind::linkRemoved, m_context.file);
    return false;
}

bool LinkCarrier::prepareActionOf(QPDFObjectHandle holder, const char* key) {
    QPDFObjectHandle action = holder.getKey(key);
    QPDFObjectHandle prepared = preparedAction(action);
    if (prepared.isNull()) {
        holder.removeKey(key);
        return action.isNull();
    }
    if (prepared.getObjectPtr() != action.getObjectPtr()) {
        holder.replaceKey(key, prepared);
    }
    return true;
}

void LinkCarrier::prepareAdditionalActions(QPDFObjectHandle holder) {
    QPDFObjectHandle actions = holder.getKey("/AA");
    if (!actions.isDictionary() ||
        (actions.isIndirect() && !m_additionalActions.insert(actions.getObjGen()).second)) {
        return;
    }
    for (const std::string& trigger : actions.getKeys()) {
        prepareActionOf(actions, trigger.c_str());
    }
}

QPDFObjectHandle LinkCarrier::preparedAction(const QPDFObjectHandle& action) {
    if (!action.isIndirect()) {
        return preparedChain(action);
    }
    const auto known = m_actions.find(action.getObjGen());
    if (known != m_actions.end()) {
        return known->second;
    }
    QPDFObjectHandle prepared = preparedChain(action);
    m_actions.emplace(action.getObjGen(), prepared);
    return prepared;
}

QPDFObjectHandle LinkCarrier::preparedChain(const QPDFObjectHandle& action) {
    if (!QPDFObjectHandle(action).isDictionary()) {
        return action;
    }
    const ActionChain chain = actionChain(action);
    std::vector<QPDFObjectHandle> staying;
    for (const QPDFObjectHandle& step : chain.actions) {
        if (!isGoTo(step) || makeExplicit(step, "/D")) {
            staying.push_back(step);
        } else {
            m_context.notes.add(PDFCarryNote::Kind::linkRemoved, m_context.file);
        }
    }
    QPDFObjectHandle prepared = action;
    if (!chain.complete) {
        staying.resize(std::min(staying.size(), keptOfEndlessChain));
        m_context.notes.add(PDFCarryNote::Kind::structureLimited, m_context.file, "actions");
    }
    if (!chain.complete || staying.size() < chain.actions.size()) {
        if (m_copiedActions + staying.size() > mostCopiedActions) {
            staying.resize(std::min<std::size_t>(staying.size(), 1));
            m_context.notes.add(PDFCarryNote::Kind::structureLimited, m_context.file, "actions");
        }
        m_copiedActions += staying.size();
        prepared = chained(m_context.source, staying);
    }
    for (const QPDFObjectHandle& step : actionChain(prepared).actions) {
        const bool isNew = !step.isIndirect() || m_formActionIds.insert(step.getObjGen()).second;
        if (isNew && namesFields(step)) {
            m_formActions.push_back(step);
        }
    }
    return prepared;
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
