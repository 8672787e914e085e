#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillorn {

/// Whether this start of the program is one with a window: there is a display, and the words are
/// none or names of files. What looks like a command or an option is for the command line.
/// Returns the files as absolute paths.
[[nodiscard]] std::optional<std::vector<std::string>>
filesForWindow(const std::vector<std::string>& words, bool hasDisplay);

/// Whether this session can show windows, by its environment.
[[nodiscard]] bool hasDisplay();

/// Hands the files to the program that runs already, or else shows the window, from the module
/// "quillorn-window.so" beside the program, until it is closed. Returns the exit status; what
/// went wrong is told on standard error.
///
/// A module, because the libraries behind a window take longer to load than a command to run.
[[nodiscard]] int runWindow(int argc, char** argv, const std::vector<std::string>& files);

} // namespace quillorn
