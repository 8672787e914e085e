#include "platform/pdf/FormActions.h"

#include <cstddef>
#include <map>
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

/// Empty when it is longer than any form's.
std::string fullName(QPDFObjectHandle field) {
    std::string name;
    while (field.isDictionary()) { // a tree of limited depth, as FieldTree left it
        if (QPDFObjectHandle part = field.getKey("/T"); part.isString()) {
            if (part.getStringValue().size() > longestName) {
                return {};
            }
            name.insert(0, name.empty() ? "" : ".");
            name.insert(0, part.getUTF8Value());
        }
        field = field.getKey("/Parent");
    }
    return name;
}

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
                if (QPDFObjectHandle(field).hasKey("/T")) {
                    m_byName.emplace(fullName(field), field);
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

    const FieldTree& m_fields;
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
