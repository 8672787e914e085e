#pragma once

#include <string>

namespace quillorn {

/// The user's home folder: `$HOME`, else what the system's user list says, else "/".
[[nodiscard]] std::string homeFolder();

} // namespace quillorn
