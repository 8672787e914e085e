#pragma once

#include "app/CommandLine.h"

#include <string_view>

namespace quillorn {

/// What --help prints, with a line end at its end.
[[nodiscard]] std::string_view helpText(HelpTopic topic);

/// "quillorn-folivane 0.1.0" with a line end.
[[nodiscard]] std::string_view versionText();

/// Where more is to be read after a mistake, e.g. `Try "quillorn-folivane --help".`
[[nodiscard]] std::string_view helpHint(HelpTopic topic);

} // namespace quillorn
