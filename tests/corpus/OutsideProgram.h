#pragma once

#include <string>
#include <vector>

namespace quillorn::corpus {

/// How another program ended, and what it said.
struct ProgramRun {
    int exitStatus = -1; ///< -1 when it was ended by a signal or by the deadline
    std::string output;
    std::string errors;
    bool startedAndEnded = false; ///< false also when the deadline ended it
};

/// Runs a program found in the PATH without a shell, in the C.UTF-8 locale, and waits for it.
/// One that takes longer than any of our files needs is killed.
[[nodiscard]] ProgramRun runProgram(const std::vector<std::string>& command);

} // namespace quillorn::corpus
