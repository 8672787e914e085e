#pragma once

#include "platform/ui/Preferences.h"

#include <string>

namespace quillorn {

/// Settles the folder that outputs are written into, and makes it.
///
/// It is the one remembered in the preferences under "SaveFilePlace", else "Movies/Quillorn
/// Folivane" in `homeFolder`. A folder that is missing is made with all folders above it; where
/// that fails the answer is "Movies" in the home folder, which is not made. The preferences are
/// only read.
[[nodiscard]] std::string InitAppPath(const Preferences& preferences,
                                      const std::string& homeFolder);

} // namespace quillorn
