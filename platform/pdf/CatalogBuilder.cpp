#include "platform/pdf/CatalogBuilder.h"

#include "platform/pdf/BoundedData.h"
#include "platform/pdf/LabelRanges.h"
#include "platform/pdf/RepeatedPages.h"

#include <algorithm>
#include <array>
#include <functional>

namespace quillorn {

namespace {

/// How a document wishes to be shown and what its addresses are relative to: kept for the pages
/// of one source, meaningless for a mixture.
constexpr std::array<const char*, 5> viewingKeys{"/ViewerPreferences", "/PageLayout", "/PageMode",
                                                 "/URI", "/AF"};

/// What only holds for a document that comes along whole.
constexpr std::array<const char*, 7> wholeDocumentKeys{
    "/Dests", "/Extensions", "/Collection", "/PieceInfo", "/Requirements", "/AA", "/OpenAction"};

/// A printing condition in one text that tells it from others: what it says of itself, and its
/// profile, since many profiles are just called "Custom".
std::string conditionsOf(QPDFObjectHandle intents) {
    constexpr int mostIntents = 100;    // of honest files one or two
    std::size_t allowance = 64U << 20U; // bytes of profiles decoded in all
    std::string conditions;
    for (int i = 0; i < std::min(intents.getArrayNItems(), mostIntents); ++i) {
        QPDFObjectHandle intent = intents.getArrayItem(i);
        for (const char* key :
             {"/S", "/OutputConditionIdentifier", "/OutputCondition", "/RegistryName", "/Info"}) {
            QPDFObjectHandle value = intent.getKeyIfDict(key);
            conditions += (value.isString() ? value.getUTF8Value() : std::string()) + "\n";
        }
        std::size_t decoded = 0;
        const auto profile =
            decodedData(intent.getKeyIfDict("/DestOutputProfile"), allowance, false, &decoded);
        allowance = profile ? allowance - decoded : allowance / 2;
        conditions += std::to_string(std::hash<std::string>()(profile.value_or("")));
    }
    return conditions;
}

/// Takes the entries off a page that only mean something beside a structure tree.
void forgetStructure(QPDFObjectHandle page) {
    page.removeKey("/StructParents");
    if (page.getKey("/Tabs").isNameAndEquals("/S")) {
        page.removeKey("/Tabs"); // the tab order follows the structure
    }
}

} // namespace

void CatalogBuilder::prepare(CarryContext& context) {
    m_destinations.emplace(context.source, context.pages);
    m_links.emplace(context, *m_destinations);
    for (const std::size_t page : context.pages.kept()) {
        if (QPDFObjectHandle object = context.pages.sourcePage(page); object.isInitialized()) {
            m_links->preparePage(object);
            if (!context.isWholeDocument()) {
                forgetStructure(object);
            }
        }
    }
    m_forms.prepare(context, *m_links);
    m_threads.prepare(context);
}

void CatalogBuilder::collect(CarryContext& context,
                             const std::vector<QPDFObjectHandle>& outputPages) {
    ++m_sources;
    m_outlines.collect(context, *m_destinations, *m_links);
    m_forms.collect(context);
    m_layers.collect(context);
    m_names.collect(context, m_forms.collectedFields());
    m_threads.collect(context);
    const auto ranges = readLabelRanges(context.source.getRoot().getKey("/PageLabels"));
    for (const PageUse& use : context.pages.uses()) {
        m_labels.setLabel(use.output, use.page, ranges);
    }
    m_information.collect(context);
    collectStructure(context);
    collectOutputIntents(context);
    collectViewing(context);
    separateRepeatedPages(context, outputPages, m_forms);
    m_links.reset();
    m_destinations.reset();
}

/// The structure tree names pages and their contents throughout. It is right as it stands when
/// every page of its document came along once; the order of the pages is not its matter.
void CatalogBuilder::collectStructure(const CarryContext& context) {
    QPDFObjectHandle catalog = context.source.getRoot();
    QPDFObjectHandle tree = catalog.getKey("/StructTreeRoot");
    if (!tree.isDictionary()) {
        return;
    }
    if (context.isWholeDocument()) {
        m_catalog.replaceKey("/StructTreeRoot", context.carried(tree));
        if (QPDFObjectHandle marks = catalog.getKey("/MarkInfo"); !marks.isNull()) {
            m_catalog.replaceKey("/MarkInfo", context.carried(marks));
        }
        return;
    }
    context.notes.add(PDFCarryNote::Kind::structureLost, context.file);
}

/// One printing condition holds for a whole document, so it stays when all sources name it.
void CatalogBuilder::collectOutputIntents(const CarryContext& context) {
    QPDFObjectHandle intents = context.source.getRoot().getKey("/OutputIntents");
    if (context.onlySource) {
        if (intents.isArray()) {
            m_catalog.replaceKey("/OutputIntents", context.carried(intents));
        }
        return;
    }
    const std::string conditions = intents.isArray() ? conditionsOf(intents) : std::string();
    if (m_sources == 1) {
        m_outputConditions = conditions;
        if (intents.isArray()) {
            m_outputIntents = context.carried(intents);
            m_outputIntentsFile = context.file;
        }
    } else if (m_outputConditions != conditions) {
        if (!m_outputIntents.isNull()) {
            context.notes.add(PDFCarryNote::Kind::outputIntentLost, m_outputIntentsFile);
        }
        if (intents.isArray()) {
            context.notes.add(PDFCarryNote::Kind::outputIntentLost, context.file);
        }
        m_outputIntents = QPDFObjectHandle::newNull();
        m_outputConditions.reset();
    }
}

void CatalogBuilder::collectViewing(const CarryContext& context) {
    QPDFObjectHandle catalog = context.source.getRoot();
    QPDFObjectHandle language = catalog.getKey("/Lang");
    const std::string name = language.isString() ? language.getUTF8Value() : std::string();
    if (m_sources == 1) {
        m_language = name;
    } else if (m_language != name) {
        m_language.reset();
    }
    if (!context.onlySource) {
        return;
    }
    for (const char* key : viewingKeys) {
        if (QPDFObjectHandle value = catalog.getKey(key); !value.isNull()) {
            m_catalog.replaceKey(key, context.carried(value));
        }
    }
    if (context.isWholeDocument()) {
        for (const char* key : wholeDocumentKeys) {
            if (QPDFObjectHandle value = catalog.getKey(key); !value.isNull()) {
                m_catalog.replaceKey(key, context.carried(value));
            }
        }
        return;
    }
    QPDFObjectHandle open = catalog.getKey("/OpenAction");
    const bool isAction = open.getKeyIfDict("/S").isNameAndEquals("/GoTo");
    if (open.isArray() || isAction) {
        const auto target = m_destinations->resolve(isAction ? open.getKey("/D") : open);
        if (target && context.pages.isKept(target->page)) {
            std::vector<QPDFObjectHandle> items{context.pages.outputPage(target->page)};
            items.insert(items.end(), target->view.begin(), target->view.end());
            m_catalog.replaceKey("/OpenAction", QPDFObjectHandle::newArray(items));
        }
    }
}

QPDFObjectHandle CatalogBuilder::finish(QPDF& output, QPDFObjectHandle pageTree,
                                        const Choices& choices, CarryNotes& notes) {
    m_catalog.replaceKey("/Type", QPDFObjectHandle::newName("/Catalog"));
    m_catalog.replaceKey("/Pages", pageTree);
    const auto put = [this](const char* key, QPDFObjectHandle value) {
        if (!value.isNull()) {
            m_catalog.replaceKey(key, value);
        }
    };
    put("/Outlines", m_outlines.finish(output, choices.flatOutline));
    put("/AcroForm", m_forms.finish(output, notes));
    put("/OutputIntents", m_outputIntents);
    put("/OCProperties", m_layers.finish(output));
    put("/Names", m_names.finish(output));
    put("/Threads", m_threads.finish());
    put("/PageLabels", m_labels.finish(output));
    if (m_language && !m_language->empty()) {
        m_catalog.replaceKey("/Lang", QPDFObjectHandle::newUnicodeString(*m_language));
    }
    m_information.finish(output, m_catalog, m_sources, choices.title);
    return output.makeIndirectObject(m_catalog);
}

} // namespace quillorn
