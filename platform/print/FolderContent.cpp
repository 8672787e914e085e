#include "platform/print/FolderContent.h"

#include "platform/files/FileDescriptor.h"
#include "platform/print/WebURL.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

struct Type {
    std::string_view extension;
    std::string_view mimeType;
};

/// What a browser insists on knowing; pictures and sounds it recognises by itself.
constexpr std::array<Type, 20> types = {{
    {".html", "text/html"},
    {".htm", "text/html"},
    {".xhtml", "application/xhtml+xml"},
    {".xht", "application/xhtml+xml"},
    {".xml", "text/xml"},
    {".css", "text/css"},
    {".js", "text/javascript"},
    {".mjs", "text/javascript"},
    {".json", "application/json"},
    {".txt", "text/plain"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".jpg", "image/jpeg"},
    {".jpeg", "image/jpeg"},
    {".gif", "image/gif"},
    {".webp", "image/webp"},
    {".ttf", "font/ttf"},
    {".otf", "font/otf"},
    {".woff", "font/woff"},
    {".woff2", "font/woff2"},
}};

/// The bytes of the UTF-8 sequence at the start of a text; 0 where none begins.
std::size_t sequenceLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xc2 ? 0
                               : first < 0xe0 ? 2
                               : first < 0xf0 ? 3
                               : first < 0xf5 ? 4
                                              : 0;
    const bool isWhole =
        length <= text.size() &&
        std::ranges::all_of(text.substr(1, length > 0 ? length - 1 : 0), [](char ch) {
            return (static_cast<unsigned char>(ch) & 0xc0U) == 0x80;
        });
    return isWhole ? length : 0;
}

/// Whether a text can hardly be anything but UTF-8: it has many sequences of several bytes, and
/// nothing else. A few may come about by chance in other encodings.
bool isSurelyUTF8(std::string_view text) {
    constexpr int many = 8;
    int sequences = 0;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) {
            return false;
        }
        sequences += length > 1 ? 1 : 0;
        text.remove_prefix(length);
    }
    return sequences >= many;
}

/// Where an open file really lies, whatever has happened to the way to it since.
fs::path realPathOf(const FileDescriptor& file) {
    std::error_code error;
    return fs::read_symlink("/proc/self/fd/" + std::to_string(file.get()), error);
}

} // namespace

FileResult<std::unique_ptr<FolderContent>> FolderContent::open(const fs::path& file) {
    std::error_code error;
    fs::path real = fs::canonical(file, error);
    if (error) {
        return tl::unexpected(FileError::fromErrno(file, error.value()));
    }
    const auto opened = FileDescriptor::openRegularFile(real);
    if (!opened) {
        return tl::unexpected(opened.error());
    }
    if (fs::file_size(real, error) > largestWebResource || error) {
        return tl::unexpected(FileError{file, "it is too large for a web page", 0});
    }
    fs::path folder = real.parent_path();
    return std::unique_ptr<FolderContent>(new FolderContent(std::move(real), std::move(folder)));
}

FolderContent::FolderContent(fs::path file, fs::path folder)
    : m_file(std::move(file)), m_folder(std::move(folder)), m_startURL(fileURL(m_file)) {}

bool FolderContent::mayBeSeen(const fs::path& path) const {
    return path == m_file ||
           (m_folder != m_folder.root_path() && path.native().starts_with(m_folder.native() + "/"));
}

std::optional<WebResource> FolderContent::find(const std::string& url) const {
    const auto path = pathOfFileURL(url);
    std::error_code error;
    const fs::path real = path ? fs::canonical(*path, error) : fs::path();
    if (!path || error || !mayBeSeen(real)) {
        return std::nullopt;
    }
    const auto file = FileDescriptor::openRegularFile(real);
    // A link may have taken the file's place just now.
    if (!file || !mayBeSeen(realPathOf(*file))) {
        return std::nullopt;
    }
    const auto stamp = FileStamp::of(*file, real);
    if (!stamp || stamp->size > largestWebResource) {
        return std::nullopt;
    }
    WebResource resource{std::string(stamp->size, '\0'), webTypeOfFile(real)};
    const auto length = readAt(*file, real, std::span(resource.data), 0);
    if (!length) {
        return std::nullopt;
    }
    resource.data.resize(*length);
    if (resource.mimeType == "text/html" && isSurelyUTF8(resource.data)) {
        // Pages that were converted on the way often still declare what they were before.
        resource.mimeType += "; charset=utf-8";
    }
    return resource;
}

std::string webTypeOfFile(const fs::path& path) {
    std::string extension = path.extension().string();
    std::ranges::transform(extension, extension.begin(), [](char ch) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    });
    const auto* const found = std::ranges::find(types, extension, &Type::extension);
    return found != types.end() ? std::string(found->mimeType) : std::string();
}

} // namespace quillorn
