#include "import/FileRoute.h"

#include "model/FileNames.h"
#include "platform/imaging/ImageReader.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <system_error>

namespace quillorn {

namespace {

constexpr std::array<std::string_view, 14> panelTypes = {"icns", "tiff", "tif",   "jpg",  "png",
                                                         "ico",  "tga",  "psd",   "jpeg", "gif",
                                                         "bmp",  "jp2",  "pages", "pdf"};

/// What the image converters decode: the open panel's image types, and formats of today.
constexpr std::array<std::string_view, 18> imageTypes = {
    "icns", "tiff", "tif", "jpg",  "png", "ico",  "tga",  "psd",  "jpeg",
    "gif",  "bmp",  "jp2", "webp", "svg", "svgz", "heic", "heif", "avif"};

/// What `dropRoute` has a route for.
constexpr std::array<std::string_view, 28> droppedTypes = {
    "pdf",  "pages", "icns",       "tiff", "tif",  "jpg", "jpeg", "png",  "ico",  "tga",
    "psd",  "gif",   "bmp",        "jp2",  "webp", "svg", "svgz", "heic", "heif", "avif",
    "html", "htm",   "webarchive", "rtf",  "rtfd", "txt", "doc",  "docx"};

bool hasAnyExtension(const std::string& path, std::initializer_list<std::string_view> extensions) {
    return std::any_of(extensions.begin(), extensions.end(), [&path](std::string_view extension) {
        return hasExtension(path, extension);
    });
}

} // namespace

std::span<const std::string_view> openPanelTypes() {
    return panelTypes;
}

std::span<const std::string_view> dropTypes() {
    return droppedTypes;
}

bool isImageFile(const std::string& path) {
    const bool named =
        std::any_of(imageTypes.begin(), imageTypes.end(),
                    [&path](std::string_view extension) { return hasExtension(path, extension); });
    std::error_code error;
    if (!named && pathExtension(path).empty()) {
        return imageFormatOf(path).has_value();
    }
    return named && std::filesystem::exists(path, error);
}

FileRoute openPanelRoute(const std::string& path) {
    if (isImageFile(path)) {
        return FileRoute::image;
    }
    if (hasAnyExtension(path, {"rtf", "rtfd", "doc", "docx"})) {
        return FileRoute::richText;
    }
    return FileRoute::pdf;
}

FileRoute dropRoute(const std::string& path) {
    if (isImageFile(path)) {
        return FileRoute::image;
    }
    if (hasAnyExtension(path, {"html", "htm", "webarchive"})) {
        return FileRoute::html;
    }
    if (hasAnyExtension(path, {"rtf", "rtfd", "txt"})) {
        return FileRoute::richText;
    }
    if (hasExtension(path, "doc")) {
        return FileRoute::word;
    }
    if (hasExtension(path, "docx")) {
        return FileRoute::richText;
    }
    if (hasAnyExtension(path, {"pdf", "pages"})) {
        return FileRoute::pdf;
    }
    return FileRoute::notLegal;
}

FileRoute commandLineRoute(const std::string& path) {
    const FileRoute dropped = dropRoute(path);
    if (dropped == FileRoute::word) {
        return openPanelRoute(path);
    }
    return dropped == FileRoute::notLegal ? FileRoute::pdf : dropped;
}

} // namespace quillorn
