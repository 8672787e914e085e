#pragma once

#include "app/CommandLine.h"
#include "app/CommandOutput.h"

namespace quillorn {

/// Tells about PDF files, one after the other: `info` of the command line. Passwords are given as
/// text (PasswordFiles.h). Returns the exit status.
[[nodiscard]] int runInfoCommand(const InfoRequest& request, const CommandOutput& output);

} // namespace quillorn
