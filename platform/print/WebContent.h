#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillorn {

/// Bytes for the web engine, with their type as HTTP states it ("text/html; charset=utf-8"); an
/// empty type lets the engine look.
struct WebResource {
    std::string data;
    std::string mimeType;
};

/// More bytes than this of one resource are not handed to the engine, whose messages are limited
/// to 100 MiB of text.
inline constexpr std::uint64_t largestWebResource = 64U << 20U;

/// A page and all that it may see. The engine asks here for every address that the page needs.
class WebContent {
public:
    WebContent() = default;
    WebContent(const WebContent&) = delete;
    WebContent& operator=(const WebContent&) = delete;
    virtual ~WebContent() = default;

    /// The page's own address.
    [[nodiscard]] virtual const std::string& startURL() const = 0;

    /// What stands at an address; nothing where the page must not look or nothing is.
    [[nodiscard]] virtual std::optional<WebResource> find(const std::string& url) const = 0;
};

} // namespace quillorn
