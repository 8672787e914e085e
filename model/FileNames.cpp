#include "model/FileNames.h"

#include <algorithm>
#include <cstddef>

namespace quillorn {

namespace {

char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// The position of the dot before the extension of a last path component, or npos.
std::size_t extensionDot(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == 0 || dot + 1 == name.size() ? std::string_view::npos : dot;
}

} // namespace

std::string lastPathComponent(std::string_view path) {
    const std::size_t end = path.find_last_not_of('/');
    if (end == std::string_view::npos) {
        return std::string(path.substr(0, 1));
    }
    path = path.substr(0, end + 1);
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string pathExtension(std::string_view path) {
    const std::string name = lastPathComponent(path);
    const std::size_t dot = extensionDot(name);
    return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

std::string baseName(std::string_view path) {
    std::string name = lastPathComponent(path);
    if (const std::size_t dot = extensionDot(name); dot != std::string::npos) {
        name.resize(dot);
    }
    return name;
}

bool hasExtension(std::string_view path, std::string_view extension) {
    const std::string own = pathExtension(path);
    return std::equal(own.begin(), own.end(), extension.begin(), extension.end(),
                      [](char a, char b) { return lowerCase(a) == b; });
}

std::string joinedPath(std::string_view folder, std::string_view name) {
    std::string path(folder);
    if (!path.empty() && path.back() != '/') {
        path += '/';
    }
    path += name;
    return path;
}

std::string messageText(std::string_view text, std::string_view name) {
    constexpr std::string_view mark = "%@";
    std::string message(text);
    if (const std::size_t place = text.find(mark); place != std::string_view::npos) {
        message.replace(place, mark.size(), name);
    }
    return message;
}

} // namespace quillorn
