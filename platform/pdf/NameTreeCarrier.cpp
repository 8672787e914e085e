#include "platform/pdf/NameTreeCarrier.h"

#include "platform/pdf/TreeEntries.h"

#include <cstddef>
#include <vector>

namespace quillorn {

namespace {

constexpr std::size_t entryLimit = 100'000;

/// "name.txt" becomes "name (2).txt", so that an attachment keeps its type.
std::string numberedName(const std::string& name, int number) {
    const std::size_t dot = name.rfind('.');
    const std::size_t end = dot == std::string::npos || dot == 0 ? name.size() : dot;
    return name.substr(0, end) + " (" + std::to_string(number) + ")" + name.substr(end);
}

/// One flat node: readers search it as fast as they read it, and no document has millions.
QPDFObjectHandle treeOf(const std::map<std::string, QPDFObjectHandle>& entries) {
    std::vector<QPDFObjectHandle> names;
    for (const auto& [name, value] : entries) {
        names.push_back(QPDFObjectHandle::newUnicodeString(name));
        names.push_back(value);
    }
    QPDFObjectHandle tree = QPDFObjectHandle::newDictionary();
    tree.replaceKey("/Names", QPDFObjectHandle::newArray(names));
    return tree;
}

} // namespace

void NameTreeCarrier::collect(const CarryContext& context) {
    QPDFObjectHandle names = context.source.getRoot().getKey("/Names");
    if (!names.isDictionary()) {
        return;
    }
    if (context.isWholeDocument()) {
        m_whole = context.carried(names);
    } else {
        collectTree(context, "/EmbeddedFiles", m_attachments);
        collectTree(context, "/JavaScript", m_scripts);
    }
}

void NameTreeCarrier::collectTree(const CarryContext& context, const char* tree, Entries& entries) {
    QPDFObjectHandle root = context.source.getRoot().getKey("/Names").getKey(tree);
    forEachTreeEntry(root, "/Names", entryLimit, [&](QPDFObjectHandle key, QPDFObjectHandle value) {
        if (!key.isString() || !value.isDictionary()) {
            return true;
        }
        const std::string name = key.getUTF8Value();
        std::string free = name;
        for (int number = 2; entries.contains(free); ++number) {
            free = numberedName(name, number);
        }
        entries.emplace(free, context.carried(value));
        return true;
    });
}

QPDFObjectHandle NameTreeCarrier::finish() {
    if (!m_whole.isNull() || (m_attachments.empty() && m_scripts.empty())) {
        return m_whole;
    }
    QPDFObjectHandle names = QPDFObjectHandle::newDictionary();
    if (!m_attachments.empty()) {
        names.replaceKey("/EmbeddedFiles", treeOf(m_attachments));
    }
    if (!m_scripts.empty()) {
        names.replaceKey("/JavaScript", treeOf(m_scripts));
    }
    return names;
}

} // namespace quillorn
