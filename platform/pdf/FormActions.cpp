#include "platform/pdf/FormActions.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>

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

/// Bytes of a part of a name. Thousands of fields stand below one that has a name of megabytes,
/// in a file that was made for it.
constexpr std::size_t longestName = 4096;

class ListedFields {
public:
    explicit ListedFields(const FieldTree& fields) : m_fields(fields) {}

    /// What an item of a list becomes; null when it means nothing that stays.
    QPDFObjectHandle kept(QPDFObjectHandle item) {
        if (!item.isString()) {
            return m_fields.keeps(item) || isOtherAnnotation(item) ? item
                                                                   : QPDFObjectHandle::newNull();
        }
        if (m_byName.empty()) {
            for (const QPDFObjectHandle& field : m_fields.kept()) {
                if (const auto& name = fullName(field);
                    name && QPDFObjectHandle(field).hasKey("/T")) {
                    m_byName.emplace(*name, field);
                }
            }
        }
        const auto found = m_byName.find(item.getUTF8Value());
        return found == m_byName.end() ? QPDFObjectHandle::newNull() : found->second;
    }

private:
    /// Comments and the like can be hidden too.
    static bool isOtherAnnotation(QPDFObjectHandle item) {
        QPDFObjectHandle subtype = item.getKeyIfDict("/Subtype");
        return subtype.isName() && !subtype.isNameAndEquals("/Widget");
    }

    /// Nothing when a part of it is longer than any form's. The tree is of limited depth, as
    /// FieldTree left it.
    const std::optional<std::string>& fullName(QPDFObjectHandle field) {
        const auto [place, isNew] = m_names.try_emplace(field.getObjGen(), std::string());
        std::optional<std::string>& name = place->second;
        if (!isNew) {
            return name;
        }
        if (QPDFObjectHandle parent = field.getKey("/Parent"); parent.isDictionary()) {
            name = fullName(parent);
        }
        if (QPDFObjectHandle part = field.getKey("/T"); name && part.isString()) {
            if (part.getStringValue().size() > longestName) {
                name.reset();
            } else {
                *name += (name->empty() ? "" : ".") + part.getUTF8Value();
            }
        }
        return name;
    }

    const FieldTree& m_fields;
    std::map<QPDFObjGen, std::optional<std::string>> m_names;
    std::map<std::string, QPDFObjectHandle> m_byName;
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
