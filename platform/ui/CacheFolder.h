#pragma once

#include <string>

namespace quillorn {

/// The folder for what the program makes on the way: "Library/Caches/Quillorn Folivane" in
/// `homeFolder`. It is made at the start and removed when the window closes.
[[nodiscard]] std::string cacheFolder(const std::string& homeFolder);

} // namespace quillorn
