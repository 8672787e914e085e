#pragma once

#include "platform/files/FileError.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace quillorn {

/// The first line of a small file without its line end, for example a password.
/// Also reads a pipe (`<(command)`, `/dev/stdin`), so it may wait for its writer.
/// A file whose first line is longer than `limit` bytes is refused.
[[nodiscard]] FileResult<std::string> readFirstLine(const std::filesystem::path& path,
                                                    std::size_t limit = 4096);

} // namespace quillorn
