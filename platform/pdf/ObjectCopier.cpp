#include "platform/pdf/ObjectCopier.h"

#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

/// Parameters of stream filters are a handful of small dictionaries (with a shared JBIG2 stream
/// at most). They are the one thing that libqpdf copies by itself, recursively, so anything
/// larger or deeper is a trap and is left out.
constexpr int deepestDecodeParameters = 6;
constexpr int mostDecodeParameters = 256;

bool isSmall(QPDFObjectHandle value, int depth, int& visited) {
    if (depth > deepestDecodeParameters || ++visited > mostDecodeParameters) {
        return false;
    }
    std::vector<QPDFObjectHandle> children;
    if (value.isArray()) {
        children = value.getArrayAsVector();
    } else if (value.isDictionary() || value.isStream()) {
        QPDFObjectHandle entries = value.isStream() ? value.getDict() : value;
        for (auto& [key, child] : entries.getDictAsMap()) {
            children.push_back(child);
        }
    }
    return std::all_of(children.begin(), children.end(), [&](const QPDFObjectHandle& child) {
        return isSmall(child, depth + 1, visited);
    });
}

/// Just what decides how a stream's bytes are read: libqpdf copies these entries along.
QPDFObjectHandle readingEntries(QPDFObjectHandle dictionary) {
    QPDFObjectHandle entries = QPDFObjectHandle::newDictionary();
    for (const char* key : {"/Type", "/Filter", "/DecodeParms"}) {
        QPDFObjectHandle value = dictionary.getKey(key);
        int visited = 0;
        if (!value.isNull() && isSmall(value, 0, visited)) {
            entries.replaceKey(key, value);
        }
    }
    return entries;
}

} // namespace

void ObjectCopier::redirect(QPDFObjGen from, QPDFObjectHandle to) {
    m_copies[from] = to;
}

QPDFObjectHandle ObjectCopier::copy(QPDFObjectHandle value) {
    QPDFObjectHandle result = translate(value);
    finishPending();
    return result;
}

std::map<std::string, QPDFObjectHandle>
ObjectCopier::copyEntries(std::map<std::string, QPDFObjectHandle> entries) {
    translateEntries(entries);
    finishPending();
    return entries;
}

/// Direct containers nest no deeper than the parser allows, so this recursion is bounded.
QPDFObjectHandle ObjectCopier::translate(QPDFObjectHandle value) {
    if (value.isIndirect()) {
        return translateReference(value);
    }
    if (value.isDictionary()) {
        std::map<std::string, QPDFObjectHandle> entries = value.getDictAsMap();
        translateEntries(entries);
        return QPDFObjectHandle::newDictionary(entries);
    }
    if (value.isArray()) {
        std::vector<QPDFObjectHandle> items = value.getArrayAsVector();
        for (QPDFObjectHandle& item : items) {
            item = translate(item);
        }
        return QPDFObjectHandle::newArray(items);
    }
    return value;
}

void ObjectCopier::translateEntries(std::map<std::string, QPDFObjectHandle>& entries) {
    for (auto& [key, value] : entries) {
        value = translate(value);
    }
}

QPDFObjectHandle ObjectCopier::translateReference(QPDFObjectHandle reference) {
    const QPDFObjGen id = reference.getObjGen();
    if (const auto known = m_copies.find(id); known != m_copies.end()) {
        return known->second;
    }
    QPDFObjectHandle copied;
    if (reference.isStream()) {
        copied = copyStream(reference);
    } else if (reference.isDictionary() || reference.isArray()) {
        copied = reserve(reference);
    } else if (reference.isString()) {
        copied = m_destination.makeIndirectObject(
            QPDFObjectHandle::newString(reference.getStringValue()));
    } else {
        // A number or a name is as good in place as behind a reference.
        copied = reference.isNull() ? QPDFObjectHandle::newNull() : reference.shallowCopy();
    }
    m_copies.emplace(id, copied);
    return copied;
}

QPDFObjectHandle ObjectCopier::reserve(QPDFObjectHandle content) {
    QPDFObjectHandle copied = m_destination.makeIndirectObject(QPDFObjectHandle::newNull());
    m_pending.push_back({copied, content});
    return copied;
}

QPDFObjectHandle ObjectCopier::copyStream(QPDFObjectHandle stream) {
    QPDFObjectHandle dictionary = stream.getDict();
    if (!dictionary.hasKey("/Filter")) {
        if (QPDFObjectHandle length = dictionary.getKey("/Length");
            length.isInteger() && length.getIntValue() > 0) {
            m_uncompressedBytes += static_cast<std::uint64_t>(length.getIntValue());
        }
    }
    stream.replaceDict(readingEntries(dictionary));
    QPDFObjectHandle copied = m_destination.copyForeignObject(stream);
    m_pending.push_back({copied, dictionary});
    return copied;
}

void ObjectCopier::finish(Pending pending) {
    if (!pending.content.isDictionary()) {
        std::vector<QPDFObjectHandle> items = pending.content.getArrayAsVector();
        for (QPDFObjectHandle& item : items) {
            item = translate(item);
        }
        m_destination.replaceObject(pending.copy.getObjGen(), QPDFObjectHandle::newArray(items));
        return;
    }
    std::map<std::string, QPDFObjectHandle> entries = pending.content.getDictAsMap();
    if (!pending.copy.isStream()) {
        translateEntries(entries);
        m_destination.replaceObject(pending.copy.getObjGen(),
                                    QPDFObjectHandle::newDictionary(entries));
        return;
    }
    // How the bytes are read has been settled by copyStream.
    for (const char* key : {"/Length", "/Filter", "/DecodeParms"}) {
        entries.erase(key);
    }
    translateEntries(entries);
    for (const auto& [key, value] : pending.copy.getDict().getDictAsMap()) {
        entries.insert_or_assign(key, value);
    }
    pending.copy.replaceDict(QPDFObjectHandle::newDictionary(entries));
}

void ObjectCopier::finishPending() {
    while (!m_pending.empty()) {
        Pending next = std::move(m_pending.back());
        m_pending.pop_back();
        finish(std::move(next));
    }
}

} // namespace quillorn
