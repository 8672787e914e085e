#include "platform/pdf/ResourcePruner.h"

#include "platform/pdf/BoundedData.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

/// Bytes of stream data below which an entry is not worth looking for.
constexpr std::uint64_t heavyBytes = 16U << 10U;

constexpr std::size_t contentLimit = 64U << 20U; ///< bytes of one page's decoded contents

using Names = std::set<std::string>;

std::uint64_t streamLength(QPDFObjectHandle object) {
    if (!object.isStream()) {
        return 0;
    }
    QPDFObjectHandle length = object.getDict().getKey("/Length");
    return length.isInteger() && length.getIntValue() > 0
               ? static_cast<std::uint64_t>(length.getIntValue())
               : 0;
}

std::uint64_t fontFileLength(QPDFObjectHandle font) {
    QPDFObjectHandle holder = font;
    if (QPDFObjectHandle descendants = font.getKeyIfDict("/DescendantFonts");
        descendants.isArray() && descendants.getArrayNItems() > 0) {
        holder = descendants.getArrayItem(0);
    }
    QPDFObjectHandle descriptor = holder.getKeyIfDict("/FontDescriptor");
    std::uint64_t length = 0;
    for (const char* key : {"/FontFile", "/FontFile2", "/FontFile3"}) {
        length += streamLength(descriptor.getKeyIfDict(key));
    }
    return length;
}

/// A form or a Type 3 font without resources of its own draws with those of the page, by names
/// that the page's contents do not show.
bool borrowsResources(QPDFObjectHandle resources) {
    if (QPDFObjectHandle objects = resources.getKey("/XObject"); objects.isDictionary()) {
        for (auto& [name, object] : objects.getDictAsMap()) {
            if (object.isStream() && object.getDict().getKey("/Subtype").isNameAndEquals("/Form") &&
                !object.getDict().getKey("/Resources").isDictionary()) {
                return true;
            }
        }
    }
    if (QPDFObjectHandle fonts = resources.getKey("/Font"); fonts.isDictionary()) {
        for (auto& [name, font] : fonts.getDictAsMap()) {
            if (font.getKeyIfDict("/Subtype").isNameAndEquals("/Type3") &&
                !font.getKey("/Resources").isDictionary()) {
                return true;
            }
        }
    }
    return false;
}

Names heavyNames(QPDFObjectHandle resources, const char* category) {
    Names heavy;
    QPDFObjectHandle entries = resources.getKey(category);
    if (entries.isDictionary()) {
        for (auto& [name, object] : entries.getDictAsMap()) {
            const bool isForm = object.isStream() && object.getDict().hasKey("/Resources");
            // A form may hold anything; its own length says little.
            if (isForm || streamLength(object) + fontFileLength(object) >= heavyBytes) {
                heavy.insert(name);
            }
        }
    }
    return heavy;
}

int hexValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Strikes every name that stands in the contents from `wanted`. What merely looks like a name,
/// inside a string or a picture, counts too: keeping too much is safe.
void strikeNames(std::string_view contents, Names& wanted) {
    constexpr std::string_view ends = std::string_view(" \t\r\n\f\0/<>[](){}%", 16);
    std::size_t slash = contents.find('/');
    while (slash != std::string_view::npos && !wanted.empty()) {
        const std::size_t end = std::min(contents.find_first_of(ends, slash + 1), contents.size());
        std::string name(contents.substr(slash, end - slash));
        for (std::size_t i = name.find('#'); i != std::string::npos && i + 2 < name.size();
             i = name.find('#', i + 1)) {
            const int high = hexValue(name[i + 1]);
            const int low = hexValue(name[i + 2]);
            if (high >= 0 && low >= 0) {
                name.replace(i, 3, 1, static_cast<char>(high * 16 + low));
            }
        }
        wanted.erase(name);
        slash = contents.find('/', end);
    }
}

QPDFObjectHandle without(QPDFObjectHandle resources, const char* category, const Names& unused) {
    QPDFObjectHandle entries = resources.getKey(category).shallowCopy();
    for (const std::string& name : unused) {
        entries.removeKey(name);
    }
    QPDFObjectHandle smaller = resources.shallowCopy();
    smaller.replaceKey(category, entries);
    return smaller;
}

/// `resources` without the heavy entries that none of `pages` draws.
QPDFObjectHandle pruned(QPDFObjectHandle resources, const std::vector<QPDFObjectHandle>& pages) {
    Names objects = heavyNames(resources, "/XObject");
    Names fonts = heavyNames(resources, "/Font");
    if ((objects.empty() && fonts.empty()) || borrowsResources(resources)) {
        return resources;
    }
    for (const QPDFObjectHandle& page : pages) {
        const auto contents = decodedData(page, contentLimit, true);
        if (!contents) {
            return resources;
        }
        strikeNames(*contents, objects);
        strikeNames(*contents, fonts);
        if (objects.empty() && fonts.empty()) {
            return resources;
        }
    }
    QPDFObjectHandle smaller = resources;
    if (!objects.empty()) {
        smaller = without(smaller, "/XObject", objects);
    }
    if (!fonts.empty()) {
        smaller = without(smaller, "/Font", fonts);
    }
    return smaller;
}

} // namespace

std::vector<QPDFObjectHandle> pruneResources(const std::vector<QPDFObjectHandle>& pages,
                                             const std::vector<QPDFObjectHandle>& resources) {
    // Pages that share a dictionary are judged together and go on sharing it.
    std::map<const void*, std::vector<std::size_t>> users;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        if (QPDFObjectHandle(resources[i]).isDictionary()) {
            users[resources[i].getObjectPtr()].push_back(i);
        }
    }
    std::vector<QPDFObjectHandle> result = resources;
    for (const auto& [dictionary, indexes] : users) {
        std::vector<QPDFObjectHandle> sharing;
        for (const std::size_t index : indexes) {
            sharing.push_back(pages[index]);
        }
        const QPDFObjectHandle smaller = pruned(resources[indexes.front()], sharing);
        for (const std::size_t index : indexes) {
            result[index] = smaller;
        }
    }
    return result;
}

} // namespace quillorn
