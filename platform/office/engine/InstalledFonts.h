#pragma once

#include <string>

namespace quillorn::office {

/// Whether a font family of this name is installed. Several names with semicolons in between, as
/// the office engine has them, mean any of these.
[[nodiscard]] bool isFontInstalled(const std::string& name);

} // namespace quillorn::office
