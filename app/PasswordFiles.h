#pragma once

#include "app/CommandLine.h"

#include <tl/expected.hpp>

namespace quillorn {

/// Replaces every password file by the password in it. A file that is named several times is
/// read once, since it may be a pipe; this may wait for whoever fills it.
[[nodiscard]] tl::expected<void, UsageError> readPasswordFiles(ComposeRequest& request);
[[nodiscard]] tl::expected<void, UsageError> readPasswordFiles(InfoRequest& request);

} // namespace quillorn
