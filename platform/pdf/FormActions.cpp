#include "platform/pdf/FormActions.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace quillorn {

namespace {

/// Where an action of this kind keeps its list of fields.
const char* listKey(QPDFObjectHandle action) {
    QPDFObjectHandle kind = action.getKeyIfDict("/S");
    if (kind.isNameAndEquals("/SubmitForm") || kind.isNameAndEquals("/ResetForm")) {
        return "/Fields";
    }
    return kind.isNameAndEquals("/Hide") ? "/T" : nullptr;
}

/// Bytes of a part of a name, and of a whole name. Thousands of fields stand below one that has a
/// name of megabytes, in a file that was made for it.
constexpr std::size_t longestPart = 4096;
constexpr std::size_t longestName = 65'536;

/// Fields whose names have the same hash are compared letter by letter; more of them than this
/// were made to waste time.
constexpr std::size_t mostNamesakes = 16;

/// The hash of a text that goes on behind one with the hash `before` (FNV-1a, 64 bits).
std::uint64_t hashOf(std::string_view text, std::uint64_t before = 0xcbf29ce484222325U) {
    for (const char letter : text) {
        before = (before ^ static_cast<unsigned char>(letter)) * 0x100000001b3U;
    }
    return before;
}

/// Finds fields by their full names. These are not kept: each level of a form adds its part, so
/// they could take gigabytes. Kept are their hashes.
class ListedFields {
public:
    explicit ListedFields(const FieldTree& fields) : m_fields(fields) {}

    /// What an item of a list becomes; null when it means nothing that stays.
    QPDFObjectHandle kept(QPDFObjectHandle item) {
        if (!item.isString()) {
            return m_fields.keeps(item) || isOtherAnnotation(item) ? item
                                                                   : QPDFObjectHandle::newNull();
        }
        if (!item.isIndirect()) {
            return fieldCalled(item);
        }
        // Lists may name one long text again and again.
        const auto [place, isNew] =
            m_byItem.try_emplace(item.getObjGen(), QPDFObjectHandle::newNull());
        if (isNew) {
            place->second = fieldCalled(item);
        }
        return place->second;
    }

private:
    /// Comments and the like can be hidden too.
    static bool isOtherAnnotation(QPDFObjectHandle item) {
        QPDFObjectHandle subtype = item.getKeyIfDict("/Subtype");
        return subtype.isName() && !subtype.isNameAndEquals("/Widget");
    }

    QPDFObjectHandle fieldCalled(QPDFObjectHandle item) {
        if (item.getStringValue().size() > longestName) {
            return QPDFObjectHandle::newNull();
        }
        if (m_byHash.empty()) {
            listFields();
        }
        const std::string name = item.getUTF8Value();
        const auto [first, last] = m_byHash.equal_range(hashOf(name));
        std::size_t compared = 0;
        for (auto entry = first; entry != last && compared < mostNamesakes; ++entry, ++compared) {
            if (isCalled(entry->second, name)) {
                return entry->second;
            }
        }
        return QPDFObjectHandle::newNull();
    }

    void listFields() {
        for (const QPDFObjectHandle& field : m_fields.kept()) {
            if (const auto& name = nameOf(field); name && QPDFObjectHandle(field).hasKey("/T")) {
                m_byHash.emplace(name->hash, field);
            }
        }
    }

    /// What is kept of a full name.
    struct Name {
        std::uint64_t hash = hashOf("");
        std::size_t length = 0;
    };

    /// Nothing when it, or a part of it, is longer than any form's. The tree is of limited depth,
    /// as FieldTree left it.
    const std::optional<Name>& nameOf(QPDFObjectHandle field) {
        const auto [place, isNew] = m_names.try_emplace(field.getObjGen(), Name());
        std::optional<Name>& name = place->second;
        if (!isNew) {
            return name;
        }
        if (QPDFObjectHandle parent = field.getKey("/Parent"); parent.isDictionary()) {
            name = nameOf(parent);
        }
        if (QPDFObjectHandle part = field.getKey("/T"); name && part.isString()) {
            if (part.getStringValue().size() > longestPart) {
                name.reset();
                return name;
            }
            const std::string text = (name->length == 0 ? "" : ".") + part.getUTF8Value();
            name->hash = hashOf(text, name->hash);
            name->length += text.size();
            if (name->length > longestName) {
                name.reset();
            }
        }
        return name;
    }

    /// Whether the full name of a field that has one is this.
    static bool isCalled(QPDFObjectHandle field, std::string_view name) {
        std::vector<std::string> parts; // from the last to the first
        for (; field.isDictionary(); field = field.getKey("/Parent")) {
            if (QPDFObjectHandle part = field.getKey("/T"); part.isString()) {
                parts.push_back(part.getUTF8Value());
            }
        }
        std::string full;
        for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
            full += (full.empty() ? "" : ".") + *part;
        }
        return full == name;
    }

    const FieldTree& m_fields;
    std::map<QPDFObjGen, std::optional<Name>> m_names;
    std::multimap<std::uint64_t, QPDFObjectHandle> m_byHash;
    std::map<QPDFObjGen, QPDFObjectHandle> m_byItem;
};

} // namespace

bool namesFields(QPDFObjectHandle action) {
    const char* key = listKey(action);
    return key != nullptr && action.hasKey(key);
}

void keepFieldsOfActions(QPDF& source, const std::vector<QPDFObjectHandle>& actions,
                         const FieldTree& fields) {
    std::set<QPDFObjGen> shared; // lists that actions name by reference
    ListedFields listed(fields);
    for (QPDFObjectHandle action : actions) {
        const char* key = listKey(action);
        QPDFObjectHandle list = action.getKey(key);
        const bool isShared = list.isArray() && list.isIndirect();
        if (isShared && !shared.insert(list.getObjGen()).second) {
            continue;
        }
        const std::vector<QPDFObjectHandle> items =
            list.isArray() ? list.getArrayAsVector() : std::vector<QPDFObjectHandle>{list};
        std::vector<QPDFObjectHandle> staying;
        for (const QPDFObjectHandle& item : items) {
            if (QPDFObjectHandle field = listed.kept(item); !field.isNull()) {
                staying.push_back(field);
            }
        }
        if (staying.empty() && !items.empty()) {
            // An empty list would mean all fields; a field without a name is none.
            staying.push_back(QPDFObjectHandle::newString(""));
        }
        if (isShared) {
            source.replaceObject(list.getObjGen(), QPDFObjectHandle::newArray(staying));
        } else {
            action.replaceKey(key, QPDFObjectHandle::newArray(staying));
        }
    }
}

} // namespace quillorn
