#include "platform/pdf/FontNames.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace quillorn {

namespace {

constexpr std::string_view delimiters = " \t\r\n\f/<>[](){}%";

bool sameEncoding(QPDFObjectHandle a, QPDFObjectHandle b) {
    if (a.isIndirect() && b.isIndirect() && a.getObjGen() == b.getObjGen()) {
        return true;
    }
    if (a.isDictionary() && b.isDictionary()) {
        // Encodings are flat: a base name and an array of numbers and names.
        return a.getKey("/BaseEncoding").unparse() == b.getKey("/BaseEncoding").unparse() &&
               a.getKey("/Differences").unparseResolved() ==
                   b.getKey("/Differences").unparseResolved();
    }
    if (a.isName() && b.isName()) {
        return a.getName() == b.getName();
    }
    return a.isNull() && b.isNull();
}

} // namespace

bool isSameFont(QPDFObjectHandle a, QPDFObjectHandle b) {
    if (a.isIndirect() && b.isIndirect() && a.getObjGen() == b.getObjGen()) {
        return true;
    }
    if (!a.isDictionary() || !b.isDictionary() || a.hasKey("/FontDescriptor") ||
        b.hasKey("/FontDescriptor")) {
        return false;
    }
    QPDFObjectHandle nameOfA = a.getKey("/BaseFont");
    QPDFObjectHandle nameOfB = b.getKey("/BaseFont");
    return nameOfA.isName() && nameOfB.isName() && nameOfA.getName() == nameOfB.getName() &&
           sameEncoding(a.getKey("/Encoding"), b.getKey("/Encoding"));
}

std::string freshName(QPDFObjectHandle dictionary, const std::string& name) {
    for (int number = 2;; ++number) {
        std::string candidate = name + "_" + std::to_string(number);
        if (!dictionary.hasKey(candidate)) {
            return candidate;
        }
    }
}

std::string renameFonts(const std::string& appearance,
                        const std::map<std::string, std::string>& renamed) {
    std::string result;
    std::size_t position = 0;
    while (position < appearance.size()) {
        const std::size_t slash = appearance.find('/', position);
        if (slash == std::string::npos) {
            break;
        }
        const std::size_t end =
            std::min(appearance.find_first_of(delimiters, slash + 1), appearance.size());
        const std::string name = appearance.substr(slash, end - slash);
        result += appearance.substr(position, slash - position);
        const auto found = renamed.find(name);
        result += found == renamed.end() ? name : found->second;
        position = end;
    }
    return result + appearance.substr(position);
}

std::string fontNameIn(const std::string& appearance) {
    const std::size_t slash = appearance.rfind('/');
    if (slash == std::string::npos) {
        return {};
    }
    return appearance.substr(slash, appearance.find_first_of(delimiters, slash + 1) - slash);
}

QPDFObjectHandle detached(QPDFObjectHandle value) {
    return value.isIndirect() ? value : value.shallowCopy();
}

} // namespace quillorn
