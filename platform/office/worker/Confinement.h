#pragma once

#include <filesystem>

namespace quillorn::conversion {

/// Lets this process and its children see `folder` as "/tmp", so that sockets and other litter
/// that a killed engine leaves in there go away with the folder. Returns the folder's path from
/// now on: "/tmp", or `folder` where the system does not let us arrange that. Call it while there
/// is one thread.
[[nodiscard]] std::filesystem::path
enterPrivateTemporaryFolder(const std::filesystem::path& folder);

/// From now on this process and its children read files in the system's folders and in the fonts
/// of the user only, start programs in the former only, and write nowhere but in `folder`
/// and "/tmp": whatever file a document names, it does not get. They may read `library`, too. Does
/// nothing where the kernel lacks Landlock.
void confineFiles(const std::filesystem::path& folder, const std::filesystem::path& library);

} // namespace quillorn::conversion
