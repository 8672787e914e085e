#include "tests/platform/pdf/carrying/Program.h"

#include "tests/fakes/Program.h"

#include <stdexcept>
#include <utility>

namespace quillorn::tests {

ProgramRun runProgram(const std::vector<std::string>& words) {
    ProgramResult result = Program(words.front(), {words.begin() + 1, words.end()}).run();
    return {result.status, result.output + result.errors};
}

std::string outputOf(const std::vector<std::string>& words) {
    ProgramRun run = runProgram(words);
    if (run.status != 0) {
        throw std::runtime_error(words.front() + " ended with " + std::to_string(run.status) +
                                 ": " + run.output.substr(0, 2000));
    }
    return std::move(run.output);
}

} // namespace quillorn::tests
