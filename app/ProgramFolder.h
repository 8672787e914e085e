#pragma once

#include <filesystem>

namespace quillorn {

/// The folder that holds this program's file, and beside it its modules and the workers that it
/// starts. Empty where the system does not tell.
[[nodiscard]] std::filesystem::path programFolder();

} // namespace quillorn
