#include "platform/pdf/LayerCarrier.h"

#include <cstddef>
#include <set>

namespace quillorn {

namespace {

std::set<QPDFObjGen> idsIn(QPDFObjectHandle list) {
    std::set<QPDFObjGen> ids;
    if (list.isArray()) {
        for (const QPDFObjectHandle& item : list.getArrayAsVector()) {
            ids.insert(item.getObjGen());
        }
    }
    return ids;
}

} // namespace

void LayerCarrier::collect(const CarryContext& context) {
    QPDFObjectHandle properties = context.source.getRoot().getKey("/OCProperties");
    QPDFObjectHandle listed = properties.getKeyIfDict("/OCGs");
    if (!listed.isArray()) {
        return;
    }
    ++m_sources;
    if (context.onlySource) {
        m_single = context.carried(properties);
        return;
    }
    std::vector<QPDFObjectHandle> groups;
    for (const QPDFObjectHandle& group : listed.getArrayAsVector()) {
        if (group.isIndirect() && QPDFObjectHandle(group).isDictionary()) {
            groups.push_back(group);
            m_groups.push_back(context.carried(group));
        }
    }
    QPDFObjectHandle configuration = properties.getKey("/D");
    if (!configuration.isDictionary()) {
        return;
    }
    collectStates(context, configuration, groups);
    append(context, configuration, "/RBGroups", m_radioButtons);
    append(context, configuration, "/Locked", m_locked);
    append(context, configuration, "/AS", m_usage);
    QPDFObjectHandle order = configuration.getKey("/Order");
    if (order.isArray()) {
        // A text before the entries of an array is the title that a reader shows over them.
        std::vector<QPDFObjectHandle> titled{
            QPDFObjectHandle::newUnicodeString(context.file.filename().string())};
        append(context, configuration, "/Order", titled);
        m_order.push_back(QPDFObjectHandle::newArray(titled));
    }
}

void LayerCarrier::collectStates(const CarryContext& context, QPDFObjectHandle configuration,
                                 const std::vector<QPDFObjectHandle>& groups) {
    // Sources may start from opposite states; the output starts from "on".
    const bool startsOff = configuration.getKey("/BaseState").isNameAndEquals("/OFF");
    const std::set<QPDFObjGen> on = idsIn(configuration.getKey("/ON"));
    const std::set<QPDFObjGen> off = idsIn(configuration.getKey("/OFF"));
    for (const QPDFObjectHandle& group : groups) {
        const QPDFObjGen id = group.getObjGen();
        if (off.contains(id) || (startsOff && !on.contains(id))) {
            m_off.push_back(context.carried(group));
        }
    }
}

void LayerCarrier::append(const CarryContext& context, QPDFObjectHandle configuration,
                          const char* key, std::vector<QPDFObjectHandle>& list) {
    QPDFObjectHandle value = configuration.getKey(key);
    if (value.isArray()) {
        for (const QPDFObjectHandle& item : value.getArrayAsVector()) {
            list.push_back(context.carried(item));
        }
    }
}

QPDFObjectHandle LayerCarrier::finish() {
    if (m_sources == 0 || !m_single.isNull()) {
        return m_single;
    }
    QPDFObjectHandle configuration = QPDFObjectHandle::newDictionary();
    const auto put = [&configuration](const char* key, const std::vector<QPDFObjectHandle>& list) {
        if (!list.empty()) {
            configuration.replaceKey(key, QPDFObjectHandle::newArray(list));
        }
    };
    put("/OFF", m_off);
    put("/Order", m_order);
    put("/RBGroups", m_radioButtons);
    put("/Locked", m_locked);
    put("/AS", m_usage);
    QPDFObjectHandle properties = QPDFObjectHandle::newDictionary();
    properties.replaceKey("/OCGs", QPDFObjectHandle::newArray(m_groups));
    properties.replaceKey("/D", configuration);
    return properties;
}

} // namespace quillorn
