#include "platform/pdf/NameTreeCarrier.h"

#include "platform/pdf/TreeEntries.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

namespace quillorn {

namespace {

constexpr std::size_t entryLimit = 1'000'000;
/// Readers that keep to the limits of PDF 1.7 (ISO 32000-1, annex C) take no longer strings.
constexpr std::size_t longestEntryName = 32'767;
/// Of a tree's names, which may share one text: a fixed allowance, and so many times the file.
constexpr std::uint64_t smallestNameAllowance = 2U << 20U;
constexpr std::uint64_t mostNameExpansion = 8;
constexpr std::size_t namesPerNode = 256;

constexpr const char* attachments = "/EmbeddedFiles";
constexpr const char* scripts = "/JavaScript";

/// "name.txt" becomes "name (2).txt", so that an attachment keeps its type.
std::string numberedName(const std::string& name, int number) {
    const std::size_t dot = name.rfind('.');
    const std::size_t end = dot == std::string::npos || dot == 0 ? name.size() : dot;
    return name.substr(0, end) + " (" + std::to_string(number) + ")" + name.substr(end);
}

/// Readers show and save attached files by the names that these state themselves, not by those in
/// the tree. Here a file of one source gets another name when a file of another source has it.
class FileNames {
public:
    void setApart(QPDFObjectHandle file, std::size_t source) {
        if (!file.isDictionary()) {
            return;
        }
        QPDFObjectHandle stated = file.getKey("/UF");
        if (!stated.isString()) {
            stated = file.getKey("/F");
        }
        if (!stated.isString() || stated.getStringValue().size() > longestName) {
            return;
        }
        const std::string name = stated.getUTF8Value();
        const auto [owner, isNew] = m_owners.try_emplace(name, source);
        if (owner->second == source) {
            return; // also several files of one source: they are as they were
        }
        std::string& fresh = m_renamed[{source, name}];
        for (int number = 2; fresh.empty(); ++number) {
            const std::string candidate = numberedName(name, number);
            if (m_owners.try_emplace(candidate, source).second) {
                fresh = candidate;
            }
        }
        for (const char* key : {"/UF", "/F"}) {
            if (file.hasKey(key)) {
                file.replaceKey(key, QPDFObjectHandle::newUnicodeString(fresh));
            }
        }
    }

private:
    static constexpr std::size_t longestName = 1000; ///< bytes; no file system takes longer ones

    std::map<std::string, std::size_t> m_owners; ///< sources, by the names of their files
    std::map<std::pair<std::size_t, std::string>, std::string> m_renamed;
};

/// One name tree of the output: in the order of the names' bytes, as readers search it.
class Tree {
public:
    void add(QPDFObjectHandle name, const QPDFObjectHandle& value) {
        m_entries.try_emplace(name.getStringValue(), name, value);
    }

    /// Gives the value another name when there is one of that name already.
    void addUnderFreeName(QPDFObjectHandle name, const QPDFObjectHandle& value) {
        if (m_entries.contains(name.getStringValue())) {
            const std::string taken = name.getUTF8Value();
            int& number = m_lastNumbers.try_emplace(taken, 1).first->second;
            do {
                name = QPDFObjectHandle::newUnicodeString(numberedName(taken, ++number));
            } while (m_entries.contains(name.getStringValue()));
        }
        add(name, value);
    }

    [[nodiscard]] QPDFObjectHandle build(QPDF& output) const {
        std::vector<QPDFObjectHandle> nodes;
        for (auto entry = m_entries.begin(); entry != m_entries.end();) {
            const QPDFObjectHandle first = entry->second.first;
            QPDFObjectHandle last;
            std::vector<QPDFObjectHandle> names;
            for (std::size_t i = 0; i < namesPerNode && entry != m_entries.end(); ++i, ++entry) {
                last = entry->second.first;
                names.push_back(entry->second.first);
                names.push_back(entry->second.second);
            }
            QPDFObjectHandle node = QPDFObjectHandle::newDictionary();
            node.replaceKey("/Names", QPDFObjectHandle::newArray(names));
            node.replaceKey("/Limits", QPDFObjectHandle::newArray({first, last}));
            nodes.push_back(node);
        }
        if (nodes.size() == 1) {
            nodes.front().removeKey("/Limits"); // a root has none
            return nodes.front();
        }
        for (QPDFObjectHandle& node : nodes) {
            node = output.makeIndirectObject(node);
        }
        QPDFObjectHandle root = QPDFObjectHandle::newDictionary();
        root.replaceKey("/Kids", QPDFObjectHandle::newArray(nodes));
        return root;
    }

private:
    std::map<std::string, std::pair<QPDFObjectHandle, QPDFObjectHandle>> m_entries;
    std::map<std::string, int> m_lastNumbers;
};

} // namespace

void NameTreeCarrier::collect(const CarryContext& context, bool withScripts) {
    QPDFObjectHandle names = context.source.getRoot().getKey("/Names");
    if (!names.isDictionary()) {
        return;
    }
    for (auto& [tree, root] : names.getDictAsMap()) {
        if (tree == attachments || (tree == scripts && withScripts) || context.isWholeDocument()) {
            collectTree(context, tree, root);
        }
    }
}

void NameTreeCarrier::collectTree(const CarryContext& context, const std::string& tree,
                                  QPDFObjectHandle root) {
    const std::size_t firstOutput = context.pages.firstOutput(context.pages.kept().front());
    std::uint64_t allowance = smallestNameAllowance + mostNameExpansion * context.fileBytes;
    bool isWhole = true;
    const bool complete = forEachTreeEntry(
        root, "/Names", entryLimit, [&](QPDFObjectHandle name, QPDFObjectHandle value) {
            if (name.isString() && !value.isNull()) {
                const std::string text = name.getStringValue();
                if (text.size() > longestEntryName) {
                    isWhole = false;
                    return true;
                }
                if (text.size() > allowance) {
                    return false;
                }
                allowance -= text.size();
                name = QPDFObjectHandle::newString(text);
                m_entries.push_back({firstOutput, tree, name, context.carried(value)});
            }
            return true;
        });
    if (!complete || !isWhole) {
        context.notes.add(PDFCarryNote::Kind::structureLimited, context.file, "names");
    }
}

QPDFObjectHandle NameTreeCarrier::finish(QPDF& output) {
    if (m_entries.empty()) {
        return QPDFObjectHandle::newNull();
    }
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [](const Entry& a, const Entry& b) { return a.firstOutput < b.firstOutput; });
    std::map<std::string, Tree> trees;
    FileNames fileNames;
    for (const Entry& entry : m_entries) {
        if (entry.tree == attachments) {
            fileNames.setApart(entry.value, entry.firstOutput);
        }
        if (entry.tree == attachments || entry.tree == scripts) {
            trees[entry.tree].addUnderFreeName(entry.name, entry.value);
        } else {
            trees[entry.tree].add(entry.name, entry.value);
        }
    }
    QPDFObjectHandle names = QPDFObjectHandle::newDictionary();
    for (const auto& [key, tree] : trees) {
        names.replaceKey(key, tree.build(output));
    }
    return names;
}

} // namespace quillorn
