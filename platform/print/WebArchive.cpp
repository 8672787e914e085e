#include "platform/print/WebArchive.h"

#include "platform/files/FileDescriptor.h"
#include "platform/print/PropertyListGuard.h"
#include "platform/print/WebURL.h"

#include <algorithm>
#include <cstdint>
#include <plist/plist.h>
#include <span>
#include <utility>

namespace quillorn {

namespace {

constexpr std::uint64_t largestArchive = 512U << 20U; // bytes
constexpr int deepestFrame = 16;

/// Stands in for an address that cannot be loaded ("about:blank", or none at all).
constexpr std::string_view ownAddress = "http://webarchive.invalid/";

struct PlistDeleter {
    void operator()(void* node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, PlistDeleter>;

/// Looked up in a dictionary; null when that is none, the key is missing or of another type.
plist_t entry(plist_t dictionary, const char* key, plist_type type) {
    if (dictionary == nullptr || plist_get_node_type(dictionary) != PLIST_DICT) {
        return nullptr;
    }
    const plist_t found = plist_dict_get_item(dictionary, key);
    return found != nullptr && plist_get_node_type(found) == type ? found : nullptr;
}

std::string text(plist_t dictionary, const char* key) {
    const plist_t found = entry(dictionary, key, PLIST_STRING);
    std::uint64_t length = 0;
    const char* const chars = found != nullptr ? plist_get_string_ptr(found, &length) : nullptr;
    return chars != nullptr ? std::string(chars, length) : std::string();
}

/// Types and encodings go into a header line, where nothing but a plain word is safe.
std::string plainWord(std::string word) {
    const bool isPlain = std::ranges::all_of(
        word, [](char ch) { return ch > ' ' && ch < '\x7f' && ch != ';' && ch != '"'; });
    return isPlain ? std::move(word) : std::string();
}

bool canBeLoaded(const std::string& url) {
    return isRemoteURL(url) || pathOfFileURL(url).has_value();
}

} // namespace

class WebArchive::Reader {
public:
    explicit Reader(WebArchive& archive) : m_archive(archive) {}

    /// Adds an archive's files; the error says why it is none.
    tl::expected<void, std::string> read(plist_t root) {
        if (plist_get_node_type(root) != PLIST_DICT) {
            return tl::unexpected(std::string("it is a property list, but no web archive"));
        }
        const plist_t main = entry(root, "WebMainResource", PLIST_DICT);
        if (main == nullptr) {
            return tl::unexpected(std::string("it has no main page"));
        }
        const plist_t data = entry(main, "WebResourceData", PLIST_DATA);
        if (data == nullptr) {
            return tl::unexpected(std::string("its main page has no content"));
        }
        const std::string stated = text(main, "WebResourceURL");
        m_archive.m_startURL = canBeLoaded(stated) ? stated : std::string(ownAddress);
        add(main, m_archive.m_startURL, "text/html");
        addRest(root, 0);
        return {};
    }

private:
    /// The frame of an archive, or the page itself, with all below.
    void addRest(plist_t root, int depth) {
        forEach(root, "WebSubresources", [this](plist_t item) { add(item, {}, {}); });
        if (depth == deepestFrame) {
            return;
        }
        forEach(root, "WebSubframeArchives", [this, depth](plist_t item) {
            if (const plist_t main = entry(item, "WebMainResource", PLIST_DICT)) {
                add(main, {}, "text/html");
            }
            addRest(item, depth + 1);
        });
    }

    template <class Function>
    static void forEach(plist_t dictionary, const char* key, const Function& function) {
        const plist_t list = entry(dictionary, key, PLIST_ARRAY);
        if (list == nullptr) {
            return;
        }
        // Taken one by one from an iterator: access by number is linear in libplist.
        plist_array_iter iterator = nullptr;
        plist_array_new_iter(list, &iterator);
        const std::unique_ptr<void, decltype(&std::free)> owner(iterator, &std::free);
        for (plist_t item = nullptr;;) {
            plist_array_next_item(list, iterator, &item);
            if (item == nullptr) {
                return;
            }
            function(item);
        }
    }

    void add(plist_t resource, std::string url, const std::string& usualType) {
        const plist_t data = entry(resource, "WebResourceData", PLIST_DATA);
        if (url.empty()) {
            url = text(resource, "WebResourceURL");
        }
        if (data == nullptr || url.empty()) {
            return; // a file that could not be saved
        }
        std::uint64_t length = 0;
        const char* const bytes = plist_get_data_ptr(data, &length);
        WebResource found;
        if (bytes != nullptr) {
            found.data.assign(bytes, length);
        }
        found.mimeType = plainWord(text(resource, "WebResourceMIMEType"));
        if (found.mimeType.empty()) {
            found.mimeType = usualType;
        }
        const std::string encoding = plainWord(text(resource, "WebResourceTextEncodingName"));
        if (!encoding.empty() && !found.mimeType.empty()) {
            found.mimeType += "; charset=" + encoding;
        }
        m_archive.m_resources.emplace(urlKey(url), std::move(found));
    }

    WebArchive& m_archive;
};

FileResult<std::unique_ptr<WebArchive>> WebArchive::open(const std::filesystem::path& path) {
    const auto file = FileDescriptor::openRegularFile(path);
    if (!file) {
        return tl::unexpected(file.error());
    }
    const auto stamp = FileStamp::of(*file, path);
    if (!stamp) {
        return tl::unexpected(stamp.error());
    }
    if (stamp->size > largestArchive) {
        return tl::unexpected(FileError{path, "it is too large for a web archive", 0});
    }
    std::string bytes(stamp->size, '\0');
    const auto length = readAt(*file, path, std::span(bytes), 0);
    if (!length) {
        return tl::unexpected(length.error());
    }
    bytes.resize(*length);
    auto archive = parse(bytes);
    if (!archive) {
        return tl::unexpected(FileError{path, std::move(archive.error()), 0});
    }
    return std::move(*archive);
}

tl::expected<std::unique_ptr<WebArchive>, std::string> WebArchive::parse(std::string_view bytes) {
    if (auto danger = dangerOfPropertyList(bytes)) {
        return tl::unexpected("it is no web archive that can be read: " + *danger);
    }
    plist_t root = nullptr;
    if (!bytes.empty() && bytes.size() <= largestArchive) {
        const auto length = static_cast<std::uint32_t>(bytes.size());
        if (isBinaryPropertyList(bytes)) {
            plist_from_bin(bytes.data(), length, &root);
        } else {
            plist_from_xml(bytes.data(), length, &root);
        }
    }
    const Plist owner(root);
    if (root == nullptr) {
        return tl::unexpected(std::string("it is no property list, which a web archive is"));
    }
    std::unique_ptr<WebArchive> archive(new WebArchive);
    if (auto read = Reader(*archive).read(root); !read) {
        return tl::unexpected(std::move(read.error()));
    }
    return archive;
}

std::optional<WebResource> WebArchive::find(const std::string& url) const {
    const auto found = m_resources.find(urlKey(url));
    if (found == m_resources.end() || found->second.data.size() > largestWebResource) {
        return std::nullopt;
    }
    return found->second;
}

} // namespace quillorn
