#pragma once

#include <string>

namespace quillorn {

/// The folder for what the program makes on the way: "Library/Caches/Quillorn Folivane" in
/// `homeFolder`. It is made at the start and removed when the window closes.
[[nodiscard]] std::string cacheFolder(const std::string& homeFolder);

/// Makes that folder anew where it was deleted behind the program's back, as cleaners of disks do.
/// Whoever writes into it next tells when that fails.
void ensureCacheFolder(const std::string& folder);

} // namespace quillorn
