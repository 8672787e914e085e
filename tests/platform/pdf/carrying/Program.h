#pragma once

#include <string>
#include <vector>

namespace quillorn::tests {

/// What a program printed (both streams together) and how it ended.
struct ProgramRun {
    int status = -1; ///< exit status; minus the signal's number when one killed it
    std::string output;
};

/// Runs a program of the search path with these words, its input empty, and waits for it.
/// Throws std::runtime_error when it cannot be run or does not end.
[[nodiscard]] ProgramRun runProgram(const std::vector<std::string>& words);

/// The standard output of a program that must end well; std::runtime_error with what it said
/// otherwise.
[[nodiscard]] std::string outputOf(const std::vector<std::string>& words);

} // namespace quillorn::tests
