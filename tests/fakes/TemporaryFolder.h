#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn::tests {

/// An empty folder for one test, removed with everything in it at the end.
class TemporaryFolder {
public:
    /// In the system's folder for such. Throws std::runtime_error where no folder can be made.
    TemporaryFolder();
    /// In another folder.
    explicit TemporaryFolder(const std::filesystem::path& base);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const {
        return m_path / name;
    }

    /// The names in it, hidden ones too, sorted.
    [[nodiscard]] std::vector<std::string> names() const;

private:
    std::filesystem::path m_path;
};

/// Replaces `path` by a file that holds `content`. Throws std::runtime_error on failure.
void writeFile(const std::filesystem::path& path, std::string_view content);

/// All bytes of a regular file. Throws std::runtime_error on failure.
[[nodiscard]] std::string readFile(const std::filesystem::path& path);

/// The names in a folder, hidden ones too, sorted.
[[nodiscard]] std::vector<std::string> namesIn(const std::filesystem::path& folder);

} // namespace quillorn::tests
