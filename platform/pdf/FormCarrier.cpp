#include "platform/pdf/FormCarrier.h"

#include "platform/pdf/FontNames.h"

#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

/// Deeper field trees are no form that a reader could use; a widget below is detached instead.
constexpr std::size_t deepestField = 100;

QPDFObjectHandle formOf(QPDF& document) {
    return document.getRoot().getKey("/AcroForm");
}

std::string partialName(QPDFObjectHandle field) {
    QPDFObjectHandle name = field.getKey("/T");
    return name.isString() ? name.getUTF8Value() : std::string();
}

} // namespace

void FormCarrier::prepare(const CarryContext& context) {
    m_kept.clear();
    m_keptIds.clear();
    m_top.clear();
    QPDFObjectHandle form = formOf(context.source);
    if (!form.isDictionary()) {
        return;
    }
    for (const std::size_t page : context.pages.kept()) {
        QPDFObjectHandle annotations = context.pages.sourcePage(page).getKeyIfDict("/Annots");
        if (!annotations.isArray()) {
            continue;
        }
        for (QPDFObjectHandle& annotation : annotations.getArrayAsVector()) {
            if (annotation.isIndirect() &&
                annotation.getKeyIfDict("/Subtype").isNameAndEquals("/Widget") &&
                m_keptIds.insert(annotation.getObjGen()).second) {
                m_kept.push_back(annotation);
                keepAncestors(context, annotation);
            }
        }
    }
    for (const QPDFObjectHandle& field : m_kept) {
        cutBack(field);
        dropSignature(context, field);
    }
    if (!m_kept.empty() && form.hasKey("/XFA") && !context.isWholeDocument()) {
        context.notes.add(PDFCarryNote::Kind::formScriptingLost, context.file);
    }
    inheritFormDefaults(form);
}

void FormCarrier::keepAncestors(const CarryContext& context, QPDFObjectHandle widget) {
    std::vector<QPDFObjectHandle> path{widget};
    while (true) {
        QPDFObjectHandle parent = path.back().getKey("/Parent");
        if (!parent.isDictionary() || !parent.isIndirect()) {
            m_top.push_back(path.back());
            return;
        }
        const bool loops = std::any_of(path.begin(), path.end(), [&](const auto& node) {
            return node.isIndirect() && node.getObjGen() == parent.getObjGen();
        });
        if (loops || path.size() >= deepestField) {
            path.back().removeKey("/Parent");
            m_top.push_back(path.back());
            context.notes.add(PDFCarryNote::Kind::structureLimited, context.file, "form fields");
            return;
        }
        if (!m_keptIds.insert(parent.getObjGen()).second) {
            return; // another widget came this way
        }
        m_kept.push_back(parent);
        path.push_back(parent);
    }
}

void FormCarrier::cutBack(QPDFObjectHandle field) {
    QPDFObjectHandle kids = field.getKey("/Kids");
    if (!kids.isArray()) {
        return;
    }
    std::vector<QPDFObjectHandle> staying;
    for (const QPDFObjectHandle& kid : kids.getArrayAsVector()) {
        if (kid.isIndirect() && m_keptIds.contains(kid.getObjGen())) {
            staying.push_back(kid);
        }
    }
    field.replaceKey("/Kids", QPDFObjectHandle::newArray(staying));
}

void FormCarrier::dropSignature(const CarryContext& context, QPDFObjectHandle field) {
    QPDFObjectHandle value = field.getKey("/V");
    if (!value.isDictionary() || !value.hasKey("/ByteRange")) {
        return;
    }
    field.removeKey("/V");
    field.removeKey("/Lock");
    context.notes.add(PDFCarryNote::Kind::signatureInvalid, context.file, partialName(field));
}

/// What the form says for all its fields becomes each top field's own, since the form of the
/// output serves several documents.
void FormCarrier::inheritFormDefaults(QPDFObjectHandle form) {
    for (QPDFObjectHandle& field : m_top) {
        for (const char* key : {"/DA", "/Q"}) {
            QPDFObjectHandle value = form.getKey(key);
            if (!value.isNull() && !field.hasKey(key)) {
                field.replaceKey(key, value);
            }
        }
    }
}

void FormCarrier::collect(const CarryContext& context) {
    if (m_kept.empty()) {
        return;
    }
    QPDFObjectHandle form = formOf(context.source);
    // Fields stand in the form's own order; widgets that it does not list come behind.
    std::map<QPDFObjGen, std::size_t> places;
    if (QPDFObjectHandle listed = form.getKey("/Fields"); listed.isArray()) {
        for (const QPDFObjectHandle& field : listed.getArrayAsVector()) {
            places.try_emplace(field.getObjGen(), places.size());
        }
    }
    const auto place = [&places](const QPDFObjectHandle& field) {
        const auto found = places.find(field.getObjGen());
        return found == places.end() ? places.size() : found->second;
    };
    std::stable_sort(m_top.begin(), m_top.end(),
                     [&place](const auto& a, const auto& b) { return place(a) < place(b); });
    for (const QPDFObjectHandle& field : m_top) {
        m_fields.push_back(Field{context.carried(field), m_sources.size()});
    }
    if (QPDFObjectHandle order = form.getKey("/CO"); order.isArray()) {
        for (const QPDFObjectHandle& field : order.getArrayAsVector()) {
            if (field.isIndirect() && m_keptIds.contains(field.getObjGen())) {
                m_calculationOrder.push_back(context.carried(field));
            }
        }
    }
    QPDFObjectHandle needed = form.getKey("/NeedAppearances");
    m_needAppearances = m_needAppearances || (needed.isBool() && needed.getBoolValue());

    if (context.isWholeDocument()) {
        m_xfa = context.carried(form.getKey("/XFA"));
    }
    SourceForm source{context.file, context.carried(form.getKey("/DR")), {}};
    for (const QPDFObjectHandle& field : m_kept) {
        source.appearanceHolders.push_back(context.carried(field));
    }
    mergeResources(context.output, source);
    m_sources.push_back(std::move(source));
}

void FormCarrier::mergeResources(QPDF& output, SourceForm& source) {
    if (!source.resources.isDictionary()) {
        return;
    }
    if (m_resources.isNull()) {
        m_resources = output.makeIndirectObject(QPDFObjectHandle::newDictionary());
    }
    std::map<std::string, std::string> renamedFonts;
    for (auto& [category, entries] : source.resources.getDictAsMap()) {
        if (!entries.isDictionary()) {
            continue;
        }
        QPDFObjectHandle merged = m_resources.getKey(category);
        if (!merged.isDictionary()) {
            merged = m_resources.replaceKeyAndGetNew(category, QPDFObjectHandle::newDictionary());
        }
        for (auto& [name, value] : entries.getDictAsMap()) {
            if (!merged.hasKey(name)) {
                merged.replaceKey(name, detached(value));
            } else if (category == "/Font" && !isSameFont(merged.getKey(name), value)) {
                const std::string fresh = freshName(merged, name);
                merged.replaceKey(fresh, detached(value));
                renamedFonts.emplace(name, fresh);
            }
        }
    }
    if (renamedFonts.empty()) {
        return;
    }
    for (QPDFObjectHandle& holder : source.appearanceHolders) {
        if (QPDFObjectHandle appearance = holder.getKey("/DA"); appearance.isString()) {
            holder.replaceKey("/DA", QPDFObjectHandle::newString(
                                         renameFonts(appearance.getStringValue(), renamedFonts)));
        }
    }
}

void FormCarrier::replaceFields(const std::map<QPDFObjGen, QPDFObjectHandle>& replacements) {
    if (replacements.empty()) {
        return;
    }
    const auto replaced = [&replacements](QPDFObjectHandle& field) {
        if (const auto found = replacements.find(field.getObjGen()); found != replacements.end()) {
            field = found->second;
        }
    };
    for (Field& field : m_fields) {
        replaced(field.object);
    }
    for (QPDFObjectHandle& field : m_calculationOrder) {
        replaced(field);
    }
}

void FormCarrier::renameClashingFields(CarryNotes& notes) {
    std::map<std::string, std::size_t> owners; // name to the source that has it
    for (const Field& field : m_fields) {
        owners.try_emplace(partialName(field.object), field.source);
    }
    std::map<std::pair<std::size_t, std::string>, std::string> renamed;
    for (Field& field : m_fields) {
        const std::string name = partialName(field.object);
        if (name.empty() || owners.at(name) == field.source) {
            continue;
        }
        // Fields of one source that share a name are one field to a reader and stay it.
        std::string& fresh = renamed[{field.source, name}];
        for (int number = 2; fresh.empty(); ++number) {
            const std::string candidate = name + " (" + std::to_string(number) + ")";
            if (owners.try_emplace(candidate, field.source).second) {
                fresh = candidate;
            }
        }
        field.object.replaceKey("/T", QPDFObjectHandle::newUnicodeString(fresh));
        notes.add(PDFCarryNote::Kind::fieldRenamed, m_sources[field.source].file, name);
    }
}

QPDFObjectHandle FormCarrier::finish(QPDF& output, CarryNotes& notes) {
    if (m_fields.empty()) {
        return QPDFObjectHandle::newNull();
    }
    renameClashingFields(notes);
    std::vector<QPDFObjectHandle> fields;
    fields.reserve(m_fields.size());
    for (const Field& field : m_fields) {
        fields.push_back(field.object);
    }
    QPDFObjectHandle form = QPDFObjectHandle::newDictionary();
    form.replaceKey("/Fields", QPDFObjectHandle::newArray(fields));
    if (!m_resources.isNull()) {
        form.replaceKey("/DR", m_resources);
    }
    if (!m_calculationOrder.empty()) {
        form.replaceKey("/CO", QPDFObjectHandle::newArray(m_calculationOrder));
    }
    if (m_needAppearances) {
        form.replaceKey("/NeedAppearances", QPDFObjectHandle::newBool(true));
    }
    if (!m_xfa.isNull()) {
        form.replaceKey("/XFA", m_xfa);
    }
    return output.makeIndirectObject(form);
}

} // namespace quillorn
