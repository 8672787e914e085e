#include "platform/pdf/ResourceWeight.h"

#include <algorithm>
#include <array>

namespace quillorn {

namespace {

constexpr std::array<const char*, 6> categories{"/ColorSpace", "/ExtGState", "/Font",
                                                "/Pattern",    "/Shading",   "/XObject"};

/// Items of the longest colour space that the format knows; more of them mean nothing.
constexpr int colorSpaceItems = 5;

/// Bytes of stream data below which an entry is not worth looking for.
constexpr std::uint64_t heavyBytes = 16U << 10U;

std::uint64_t fontFileLength(QPDFObjectHandle font) {
    QPDFObjectHandle holder = font;
    if (QPDFObjectHandle descendants = font.getKeyIfDict("/DescendantFonts");
        descendants.isArray() && descendants.getArrayNItems() > 0) {
        holder = descendants.getArrayItem(0);
    }
    QPDFObjectHandle descriptor = holder.getKeyIfDict("/FontDescriptor");
    std::uint64_t length = 0;
    for (const char* key : {"/FontFile", "/FontFile2", "/FontFile3"}) {
        length += storedLength(descriptor.getKeyIfDict(key));
    }
    return length;
}

bool isHeavyObject(QPDFObjectHandle object) {
    if (!object.isStream()) {
        return false;
    }
    QPDFObjectHandle dictionary = object.getDict();
    return dictionary.getKey("/Subtype").isNameAndEquals("/Form") ||
           storedLength(object) + storedLength(dictionary.getKey("/SMask")) +
                   storedLength(dictionary.getKey("/Mask")) >=
               heavyBytes;
}

bool isHeavyFont(QPDFObjectHandle font) {
    return font.getKeyIfDict("/Subtype").isNameAndEquals("/Type3") ||
           fontFileLength(font) >= heavyBytes;
}

bool isHeavyState(QPDFObjectHandle state) {
    return state.getKeyIfDict("/SMask").isDictionary();
}

/// A profile or a palette in a colour space, or in the one that it is based on.
bool isHeavyColorSpace(QPDFObjectHandle space, int depth = 0) {
    if (!space.isArray() || depth > 2) {
        return false;
    }
    for (int i = 0; i < std::min(space.getArrayNItems(), colorSpaceItems); ++i) {
        QPDFObjectHandle item = space.getArrayItem(i);
        if (storedLength(item) >= heavyBytes || isHeavyColorSpace(item, depth + 1)) {
            return true;
        }
    }
    return false;
}

bool isHeavy(const std::string& category, const std::string& name, QPDFObjectHandle object) {
    if (category == "/XObject") {
        return isHeavyObject(object);
    }
    if (category == "/Font") {
        return isHeavyFont(object);
    }
    if (category == "/Pattern") {
        return object.isStream() || storedLength(object.getKeyIfDict("/Shading")) >= heavyBytes;
    }
    if (category == "/Shading") {
        return storedLength(object) >= heavyBytes;
    }
    if (category == "/ExtGState") {
        return isHeavyState(object);
    }
    // The default colour spaces are in use without being named.
    return category == "/ColorSpace" && !name.starts_with("/Default") && isHeavyColorSpace(object);
}

} // namespace

std::uint64_t storedLength(QPDFObjectHandle object) {
    if (!object.isStream()) {
        return 0;
    }
    QPDFObjectHandle length = object.getDict().getKey("/Length");
    return length.isInteger() && length.getIntValue() > 0
               ? static_cast<std::uint64_t>(length.getIntValue())
               : 0;
}

HeavyResources heavyResources(QPDFObjectHandle resources) {
    HeavyResources heavy;
    for (const char* category : categories) {
        QPDFObjectHandle entries = resources.getKeyIfDict(category);
        if (!entries.isDictionary()) {
            continue;
        }
        for (auto& [name, object] : entries.getDictAsMap()) {
            if (isHeavy(category, name, object)) {
                heavy.emplace(name, HeavyResource{category, object});
            }
        }
    }
    return heavy;
}

std::size_t resourceCount(QPDFObjectHandle resources) {
    std::size_t count = 0;
    for (const char* category : categories) {
        if (QPDFObjectHandle entries = resources.getKeyIfDict(category); entries.isDictionary()) {
            count += entries.getKeys().size();
        }
    }
    return count;
}

} // namespace quillorn
