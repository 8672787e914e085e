#include "platform/pdf/FormCarrier.h"

#include "platform/pdf/FieldAppearances.h"
#include "platform/pdf/FontNames.h"
#include "platform/pdf/FormActions.h"

#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

QPDFObjectHandle formOf(QPDF& document) {
    return document.getRoot().getKey("/AcroForm");
}

/// Empty for a name that is longer than any form's. Fields may share one of megabytes.
std::string partialName(QPDFObjectHandle field) {
    constexpr std::size_t longestName = 4096; // bytes
    QPDFObjectHandle name = field.getKey("/T");
    return name.isString() && name.getStringValue().size() <= longestName ? name.getUTF8Value()
                                                                          : std::string();
}

bool asksForDrawing(QPDFObjectHandle form) {
    QPDFObjectHandle needed = form.getKey("/NeedAppearances");
    return needed.isBool() && needed.getBoolValue();
}

/// Whether a default of the form is worth a copy in every field: a string of some bytes, a number.
bool isShort(QPDFObjectHandle value) {
    constexpr std::size_t longestDefault = 4096;
    return value.isInteger() ||
           (value.isString() && value.getStringValue().size() <= longestDefault);
}

bool keepsOwnLayout(const CarryContext& context) {
    return context.onlySource && context.pages.isInOrder();
}

} // namespace

void FormCarrier::prepare(const CarryContext& context, LinkCarrier& links) {
    m_tree.reset();
    QPDFObjectHandle form = formOf(context.source);
    if (!form.isDictionary() && links.widgets().empty()) {
        return;
    }
    m_tree.emplace(context, links.widgets());
    for (const QPDFObjectHandle& field : m_tree->kept()) {
        dropSignature(context, field);
        links.prepareActions(field);
    }
    keepFieldsOfActions(context.source, links.formActions(), *m_tree);
    if (form.isDictionary()) {
        inheritFormDefaults(form);
        if (asksForDrawing(form) && !context.onlySource) {
            drawFields(m_tree->kept(), context.fileBytes);
        }
        if (form.hasKey("/XFA") && !keepsOwnLayout(context)) {
            context.notes.add(PDFCarryNote::Kind::formScriptingLost, context.file);
        }
    }
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
    for (const char* key : {"/DA", "/Q"}) {
        QPDFObjectHandle value = form.getKey(key);
        if (!isShort(value)) {
            continue;
        }
        for (QPDFObjectHandle field : m_tree->top()) {
            if (!field.hasKey(key)) {
                field.replaceKey(key, detached(value));
            }
        }
    }
}

void FormCarrier::collect(const CarryContext& context) {
    QPDFObjectHandle form = formOf(context.source);
    m_collectedFields = false;
    if (!form.isDictionary()) {
        return; // widgets of no form are pictures
    }
    if (keepsOwnLayout(context)) {
        m_xfa = context.carried(form.getKey("/XFA"));
    }
    if (m_tree->top().empty()) {
        return;
    }
    m_collectedFields = true;
    SourceForm source;
    source.file = context.file;
    source.firstOutput = context.pages.firstOutput(context.pages.kept().front());
    for (const QPDFObjectHandle& field : m_tree->top()) {
        source.fields.push_back(context.carried(field));
    }
    if (QPDFObjectHandle order = form.getKey("/CO"); order.isArray()) {
        for (const QPDFObjectHandle& field : order.getArrayAsVector()) {
            if (m_tree->keeps(field)) {
                source.calculationOrder.push_back(context.carried(field));
            }
        }
    }
    m_needAppearances = context.onlySource && asksForDrawing(form);

    std::vector<QPDFObjectHandle> fields;
    for (const QPDFObjectHandle& field : m_tree->kept()) {
        fields.push_back(context.carried(field));
    }
    mergeResources(context.output, context.carried(form.getKey("/DR")), std::move(fields));
    m_sources.push_back(std::move(source));
}

void FormCarrier::mergeResources(QPDF& output, QPDFObjectHandle resources,
                                 std::vector<QPDFObjectHandle> fields) {
    if (!resources.isDictionary()) {
        return;
    }
    if (m_resources.isNull()) {
        m_resources = output.makeIndirectObject(QPDFObjectHandle::newDictionary());
    }
    std::map<std::string, std::string> renamedFonts;
    for (auto& [category, entries] : resources.getDictAsMap()) {
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
    for (QPDFObjectHandle& holder : fields) {
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
    const auto replace = [&replacements](std::vector<QPDFObjectHandle>& fields) {
        for (QPDFObjectHandle& field : fields) {
            if (const auto found = replacements.find(field.getObjGen());
                found != replacements.end()) {
                field = found->second;
            }
        }
    };
    for (SourceForm& source : m_sources) {
        replace(source.fields);
        replace(source.calculationOrder);
    }
}

void FormCarrier::renameClashingFields(CarryNotes& notes) {
    std::map<std::string, const SourceForm*> owners; // by name
    for (const SourceForm& source : m_sources) {
        for (const QPDFObjectHandle& field : source.fields) {
            owners.try_emplace(partialName(field), &source);
        }
    }
    for (const SourceForm& source : m_sources) {
        std::map<std::string, std::string> renamed;
        for (QPDFObjectHandle field : source.fields) {
            const std::string name = partialName(field);
            if (name.empty() || owners.at(name) == &source) {
                continue;
            }
            // Fields of one source that share a name are one field to a reader and stay it.
            std::string& fresh = renamed[name];
            for (int number = 2; fresh.empty(); ++number) {
                const std::string candidate = name + " (" + std::to_string(number) + ")";
                if (owners.try_emplace(candidate, &source).second) {
                    fresh = candidate;
                }
            }
            field.replaceKey("/T", QPDFObjectHandle::newUnicodeString(fresh));
            notes.add(PDFCarryNote::Kind::fieldRenamed, source.file, name);
        }
    }
}

QPDFObjectHandle FormCarrier::finish(QPDF& output, CarryNotes& notes) {
    if (m_sources.empty() && m_xfa.isNull()) {
        return QPDFObjectHandle::newNull();
    }
    std::stable_sort(m_sources.begin(), m_sources.end(),
                     [](const auto& a, const auto& b) { return a.firstOutput < b.firstOutput; });
    renameClashingFields(notes);
    std::vector<QPDFObjectHandle> fields;
    std::vector<QPDFObjectHandle> order;
    for (const SourceForm& source : m_sources) {
        fields.insert(fields.end(), source.fields.begin(), source.fields.end());
        order.insert(order.end(), source.calculationOrder.begin(), source.calculationOrder.end());
    }
    QPDFObjectHandle form = QPDFObjectHandle::newDictionary();
    form.replaceKey("/Fields", QPDFObjectHandle::newArray(fields));
    if (!m_resources.isNull()) {
        form.replaceKey("/DR", m_resources);
    }
    if (!order.empty()) {
        form.replaceKey("/CO", QPDFObjectHandle::newArray(order));
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
