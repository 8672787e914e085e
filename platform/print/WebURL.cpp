#include "platform/print/WebURL.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace quillorn {

namespace {

constexpr std::string_view fileScheme = "file";
constexpr std::string_view harmlessInPaths = "/-._~!$&'()*+,;=:@";

bool isAlphanumeric(char ch) {
    const char small = static_cast<char>(ch | 0x20);
    return (ch >= '0' && ch <= '9') || (small >= 'a' && small <= 'z');
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char ch) {
        return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch | 0x20) : ch;
    });
    return result;
}

int hexDigit(char ch) {
    const char small = static_cast<char>(ch | 0x20);
    return ch >= '0' && ch <= '9' ? ch - '0' : small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

/// With every "%41" replaced by the byte that it stands for.
std::string unescaped(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
                              hexDigit(text[i + 2]) >= 0;
        if (isEscape) {
            result += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string_view until(std::string_view text, std::string_view anyOf) {
    return text.substr(0, std::min(text.find_first_of(anyOf), text.size()));
}

/// An address of the form "scheme://authority/rest".
struct Parts {
    std::string scheme;
    std::string_view authority;
    std::string_view rest; ///< path and query
};

std::optional<Parts> partsOf(std::string_view url) {
    url = until(url, "#");
    const std::string scheme = schemeOfURL(url);
    if (scheme.empty() || !url.substr(scheme.size() + 1).starts_with("//")) {
        return std::nullopt;
    }
    url.remove_prefix(scheme.size() + 3);
    const std::string_view authority = until(url, "/?");
    return Parts{scheme, authority, url.substr(authority.size())};
}

} // namespace

std::string fileURL(const std::filesystem::path& path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char ch : path.native()) {
        if (isAlphanumeric(ch) || harmlessInPaths.find(ch) != std::string_view::npos) {
            url += ch;
        } else {
            const auto byte = static_cast<unsigned char>(ch);
            url += '%';
            url += digits[byte >> 4U];
            url += digits[byte & 15U];
        }
    }
    return url;
}

std::optional<std::filesystem::path> pathOfFileURL(std::string_view url) {
    const auto parts = partsOf(url);
    if (!parts || parts->scheme != fileScheme ||
        (!parts->authority.empty() && lowered(parts->authority) != "localhost")) {
        return std::nullopt;
    }
    std::string path = unescaped(until(parts->rest, "?"));
    // A null byte would end the name early for the system.
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    return path;
}

std::string schemeOfURL(std::string_view url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string_view::npos || colon == 0 || std::isalpha(url.front()) == 0 ||
        !std::ranges::all_of(url.substr(0, colon), [](char ch) {
            return isAlphanumeric(ch) || ch == '+' || ch == '-' || ch == '.';
        })) {
        return {};
    }
    return lowered(url.substr(0, colon));
}

std::string hostOfURL(std::string_view url) {
    const auto parts = partsOf(url);
    return parts ? lowered(parts->authority) : std::string();
}

bool isRemoteURL(std::string_view url) {
    const std::string scheme = schemeOfURL(url);
    return scheme == "http" || scheme == "https";
}

std::string urlKey(std::string_view url) {
    const auto parts = partsOf(url);
    if (!parts) {
        return std::string(until(url, "#"));
    }
    std::string host = lowered(parts->authority);
    const std::string_view usualPort = parts->scheme == "http"    ? ":80"
                                       : parts->scheme == "https" ? ":443"
                                                                  : ":";
    if (host.ends_with(usualPort)) {
        host.resize(host.size() - usualPort.size());
    }
    return parts->scheme + "://" + host + (parts->rest.starts_with('/') ? "" : "/") +
           unescaped(parts->rest);
}

} // namespace quillorn
