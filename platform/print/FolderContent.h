#pragma once

#include "platform/files/FileError.h"
#include "platform/print/WebContent.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace quillorn {

/// An HTML file with the folder that it lies in, which is all of the disk that it sees. Symbolic
/// links are followed as long as they stay inside that folder. A page that lies in the root of
/// the file system sees itself only.
class FolderContent final : public WebContent {
public:
    /// The error says why the file cannot be read. The file is read once more when it is loaded.
    [[nodiscard]] static FileResult<std::unique_ptr<FolderContent>>
    open(const std::filesystem::path& file);

    [[nodiscard]] const std::string& startURL() const override { return m_startURL; }
    [[nodiscard]] std::optional<WebResource> find(const std::string& url) const override;

private:
    FolderContent(std::filesystem::path file, std::filesystem::path folder);

    /// Whether a path without links and dots may be seen.
    [[nodiscard]] bool mayBeSeen(const std::filesystem::path& path) const;

    std::filesystem::path m_file;   ///< canonical
    std::filesystem::path m_folder; ///< canonical
    std::string m_startURL;
};

/// The type of a file as the web knows it, by its extension; empty for unknown ones.
[[nodiscard]] std::string webTypeOfFile(const std::filesystem::path& path);

} // namespace quillorn
