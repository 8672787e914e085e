#include "platform/pdf/LayerCarrier.h"

#include <algorithm>
#include <set>

namespace quillorn {

namespace {

/// The panel of layers nests no deeper; configurations of hostile files may be loops.
constexpr std::size_t deepestOrder = 16;
constexpr std::size_t orderLimit = 100'000;

std::set<QPDFObjGen> idsIn(QPDFObjectHandle list) {
    std::set<QPDFObjGen> ids;
    if (list.isArray()) {
        for (const QPDFObjectHandle& item : list.getArrayAsVector()) {
            ids.insert(item.getObjGen());
        }
    }
    return ids;
}

/// A document that lists no layers may still mark contents as belonging to some, and readers show
/// them. Beside another document's list they would take such layers for hidden.
void addUnlisted(QPDF& output, std::vector<QPDFObjectHandle>& groups) {
    std::set<QPDFObjGen> listed;
    for (const QPDFObjectHandle& group : groups) {
        listed.insert(group.getObjGen());
    }
    for (QPDFObjectHandle& object : output.getAllObjects()) {
        if (object.isDictionaryOfType("/OCG") && !listed.contains(object.getObjGen())) {
            groups.push_back(object);
        }
    }
}

/// Turns what a configuration says of groups into the same of those that came along.
class Configuration {
public:
    Configuration(const CarryContext& context, std::set<QPDFObjGen> groups)
        : m_context(context), m_groups(std::move(groups)) {}

    /// The items of a list that are groups, or lists with groups in them, that came along.
    std::vector<QPDFObjectHandle> kept(QPDFObjectHandle list, std::size_t depth = 0) {
        std::vector<QPDFObjectHandle> items;
        if (!list.isArray() || depth == deepestOrder || m_visited > orderLimit) {
            return items;
        }
        bool any = false;
        for (QPDFObjectHandle& item : list.getArrayAsVector()) {
            if (++m_visited > orderLimit) {
                break;
            }
            if (item.isIndirect() && m_groups.contains(item.getObjGen())) {
                items.push_back(m_context.carried(item));
                any = true;
            } else if (item.isArray()) {
                const std::vector<QPDFObjectHandle> below = kept(item, depth + 1);
                if (!below.empty()) {
                    items.push_back(QPDFObjectHandle::newArray(below));
                    any = true;
                }
            } else if (item.isString()) {
                items.push_back(QPDFObjectHandle::newString(item.getStringValue())); // a title
            }
        }
        return any ? items : std::vector<QPDFObjectHandle>{};
    }

    /// Rules like "in print, do as the group says": dictionaries that list groups.
    std::vector<QPDFObjectHandle> keptUsage(QPDFObjectHandle list) {
        std::vector<QPDFObjectHandle> items;
        if (!list.isArray()) {
            return items;
        }
        for (QPDFObjectHandle& rule : list.getArrayAsVector()) {
            const std::vector<QPDFObjectHandle> groups = kept(rule.getKeyIfDict("/OCGs"));
            if (!groups.empty()) {
                QPDFObjectHandle copy = rule.shallowCopy();
                copy.removeKey("/OCGs");
                copy = m_context.carried(copy);
                copy.replaceKey("/OCGs", QPDFObjectHandle::newArray(groups));
                items.push_back(copy);
            }
        }
        return items;
    }

private:
    const CarryContext& m_context;
    std::set<QPDFObjGen> m_groups;
    std::size_t m_visited = 0;
};

} // namespace

void LayerCarrier::collect(const CarryContext& context) {
    QPDFObjectHandle properties = context.source.getRoot().getKey("/OCProperties");
    QPDFObjectHandle listed = properties.getKeyIfDict("/OCGs");
    if (!listed.isArray()) {
        return;
    }
    if (context.onlySource) {
        m_single = context.carried(properties);
        return;
    }
    QPDFObjectHandle stated = properties.getKey("/D");
    // Sources may start from opposite states; the output starts from "on".
    const bool startsOff = stated.getKeyIfDict("/BaseState").isNameAndEquals("/OFF");
    const std::set<QPDFObjGen> on = idsIn(stated.getKeyIfDict("/ON"));
    const std::set<QPDFObjGen> off = idsIn(stated.getKeyIfDict("/OFF"));

    SourceLayers layers;
    layers.firstOutput = context.pages.firstOutput(context.pages.kept().front());
    std::set<QPDFObjGen> ids;
    for (QPDFObjectHandle& group : listed.getArrayAsVector()) {
        if (!group.isIndirect() || !group.isDictionary() || !context.isInUse(group) ||
            !ids.insert(group.getObjGen()).second) {
            continue;
        }
        layers.groups.push_back(context.carried(group));
        const QPDFObjGen id = group.getObjGen();
        if (off.contains(id) || (startsOff && !on.contains(id))) {
            layers.off.push_back(layers.groups.back());
        }
    }
    if (layers.groups.empty()) {
        return;
    }
    Configuration configuration(context, std::move(ids));
    layers.radioButtons = configuration.kept(stated.getKeyIfDict("/RBGroups"));
    layers.locked = configuration.kept(stated.getKeyIfDict("/Locked"));
    layers.usage = configuration.keptUsage(stated.getKeyIfDict("/AS"));
    layers.order = configuration.kept(stated.getKeyIfDict("/Order"));
    if (!layers.order.empty()) {
        // A text before the entries of an array is the title that a reader shows over them.
        layers.order.insert(layers.order.begin(),
                            QPDFObjectHandle::newUnicodeString(context.file.filename().string()));
        layers.order = {QPDFObjectHandle::newArray(layers.order)};
    }
    m_sources.push_back(std::move(layers));
}

QPDFObjectHandle LayerCarrier::finish(QPDF& output) {
    if (m_sources.empty()) {
        return m_single;
    }
    std::stable_sort(m_sources.begin(), m_sources.end(),
                     [](const auto& a, const auto& b) { return a.firstOutput < b.firstOutput; });
    const auto all = [this](std::vector<QPDFObjectHandle> SourceLayers::*list) {
        std::vector<QPDFObjectHandle> joined;
        for (const SourceLayers& source : m_sources) {
            joined.insert(joined.end(), (source.*list).begin(), (source.*list).end());
        }
        return joined;
    };
    QPDFObjectHandle configuration = QPDFObjectHandle::newDictionary();
    const auto put = [&configuration](const char* key, const std::vector<QPDFObjectHandle>& list) {
        if (!list.empty()) {
            configuration.replaceKey(key, QPDFObjectHandle::newArray(list));
        }
    };
    put("/OFF", all(&SourceLayers::off));
    put("/Order", all(&SourceLayers::order));
    put("/RBGroups", all(&SourceLayers::radioButtons));
    put("/Locked", all(&SourceLayers::locked));
    put("/AS", all(&SourceLayers::usage));
    std::vector<QPDFObjectHandle> groups = all(&SourceLayers::groups);
    addUnlisted(output, groups);
    QPDFObjectHandle properties = QPDFObjectHandle::newDictionary();
    properties.replaceKey("/OCGs", QPDFObjectHandle::newArray(groups));
    properties.replaceKey("/D", configuration);
    return properties;
}

} // namespace quillorn
