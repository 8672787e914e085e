#pragma once

#include "platform/files/FileError.h"
#include "platform/print/WebContent.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace quillorn {

/// A saved web page with what belongs to it: a property list, binary or XML, that holds the page
/// ("WebMainResource"), the files it uses ("WebSubresources"), and the same for each of its frames
/// ("WebSubframeArchives"). Such a page sees what the archive holds and nothing of disk or net.
class WebArchive final : public WebContent {
public:
    /// The error says what is wrong with it.
    [[nodiscard]] static FileResult<std::unique_ptr<WebArchive>>
    open(const std::filesystem::path& file);

    /// The same for the bytes of an archive; the error is one line.
    [[nodiscard]] static tl::expected<std::unique_ptr<WebArchive>, std::string>
    parse(std::string_view bytes);

    /// The address that the page was saved from; one of ours where that cannot be loaded.
    [[nodiscard]] const std::string& startURL() const override { return m_startURL; }
    [[nodiscard]] std::optional<WebResource> find(const std::string& url) const override;

    [[nodiscard]] std::size_t resourceCount() const { return m_resources.size(); }

private:
    class Reader;
    WebArchive() = default;

    std::string m_startURL;
    std::map<std::string, WebResource> m_resources; ///< by `urlKey`
};

} // namespace quillorn
