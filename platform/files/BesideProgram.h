#pragma once

#include <filesystem>
#include <string_view>

namespace quillorn {

/// The path of a file that is installed in the running program's own folder, where its modules
/// and helpers are, whether or not it is there.
[[nodiscard]] std::filesystem::path besideProgram(std::string_view name);

} // namespace quillorn
