#pragma once

#include <string_view>

namespace quillorn {

/// The program's name as people read it, in titles, and in the names of its folders.
inline constexpr std::string_view applicationName = "Quillorn Folivane";

/// The same where a name without blanks and capitals is the custom: the executable, settings.
inline constexpr std::string_view applicationUnixName = "quillorn-folivane";

} // namespace quillorn
