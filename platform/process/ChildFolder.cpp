#include "platform/process/ChildFolder.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

constexpr const char* innerName = "child";
constexpr mode_t onlyForItsUser = 0700;
constexpr mode_t letsOthersPass = 0711;

} // namespace

FileResult<ChildFolder> ChildFolder::create(std::optional<ChildUser> user, const fs::path& base) {
    auto made = PrivateFolder::create(base);
    if (!made) {
        return tl::unexpected(std::move(made.error()));
    }
    ChildFolder folder(std::move(*made), user);
    const fs::path& outer = folder.m_folder.path();
    if (user && ::chmod(outer.c_str(), letsOthersPass) != 0) {
        return tl::unexpected(FileError::fromErrno(outer, errno));
    }
    folder.m_path = outer;
    auto inner = folder.makeFolder(innerName);
    if (!inner) {
        return tl::unexpected(std::move(inner.error()));
    }
    folder.m_path = std::move(*inner);
    return folder;
}

ChildFolder::ChildFolder(PrivateFolder folder, std::optional<ChildUser> user)
    : m_folder(std::move(folder)), m_user(user) {}

FileResult<fs::path> ChildFolder::makeFolder(std::string_view name) const {
    const fs::path path = m_path / name;
    if (::mkdir(path.c_str(), onlyForItsUser) != 0) {
        return tl::unexpected(FileError::fromErrno(path, errno));
    }
    if (auto given = giveToChild(path); !given) {
        return tl::unexpected(std::move(given.error()));
    }
    return path;
}

FileResult<void> ChildFolder::giveToChild(const fs::path& path) const {
    if (m_user && ::lchown(path.c_str(), m_user->user, m_user->group) != 0) {
        return tl::unexpected(FileError::fromErrno(path, errno));
    }
    return {};
}

} // namespace quillorn
