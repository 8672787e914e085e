#pragma once

#include "platform/files/FileError.h"
#include "platform/files/PrivateFolder.h"
#include "platform/process/ChildCommand.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace quillorn {

/// A private folder that a child process works in: its profile, home and temporary files.
///
/// `path` belongs to the child's user and nobody else may look into it. The folder around it is
/// ours, which is what lets the next start of the program recognise and remove what a killed run
/// left (PrivateFolder.h). Goes away with this object: stop the child first.
class ChildFolder {
public:
    [[nodiscard]] static FileResult<ChildFolder>
    create(std::optional<ChildUser> user = ChildUser::withoutPrivileges(),
           const std::filesystem::path& base = PrivateFolder::defaultBase());

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// Makes a further folder in `path` for the child.
    [[nodiscard]] FileResult<std::filesystem::path> makeFolder(std::string_view name) const;

    /// Lets the child use a file or folder that we put there.
    [[nodiscard]] FileResult<void> giveToChild(const std::filesystem::path& path) const;

private:
    ChildFolder(PrivateFolder folder, std::optional<ChildUser> user);

    PrivateFolder m_folder;
    std::optional<ChildUser> m_user;
    std::filesystem::path m_path;
};

} // namespace quillorn
