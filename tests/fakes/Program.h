#pragma once

#include <string>
#include <vector>

namespace quillorn::tests {

/// What a program said, on both its outputs, and how it ended.
struct ProgramResult {
    int status = 0; ///< the exit status; 128 and the signal's number when a signal ended it
    std::string output;
};

/// Runs a program of the search path with its arguments and waits for it. Throws
/// std::runtime_error when it cannot be started.
[[nodiscard]] ProgramResult runProgram(std::vector<std::string> words);

} // namespace quillorn::tests
