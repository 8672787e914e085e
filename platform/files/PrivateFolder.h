#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/files/FileError.h"

#include <filesystem>
#include <string>

namespace quillorn {

/// A folder that belongs to this run of the program alone and goes away with it.
///
/// It lives in the system's temporary folder, readable by its owner only, and holds a locked
/// file for as long as its program lives. The destructor removes it; what a killed run left
/// behind is recognised by its free lock and removed by `sweep` at the next start.
class PrivateFolder {
public:
    /// Removes abandoned folders in `base`, then makes a fresh one there.
    [[nodiscard]] static FileResult<PrivateFolder>
    create(const std::filesystem::path& base = defaultBase());

    /// Removes folders of this user in `base` whose program is gone. Never touches others.
    static void sweep(const std::filesystem::path& base = defaultBase());

    /// `$TMPDIR`, else /tmp.
    [[nodiscard]] static std::filesystem::path defaultBase();

    PrivateFolder(PrivateFolder&& other) noexcept;
    PrivateFolder& operator=(PrivateFolder&&) = delete;
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    PrivateFolder(std::filesystem::path path, FileDescriptor lock);

    std::filesystem::path m_path; ///< empty once moved from
    FileDescriptor m_lock;
};

} // namespace quillorn
