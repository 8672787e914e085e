#include "tests/platform/pdf/carrying/Program.h"

#include "tests/fakes/Program.h"

#include <stdexcept>
#include <utility>

namespace quillorn::tests {

namespace {

ProgramResult resultOf(const std::vector<std::string>& words) {
    return Program(words.front(), {words.begin() + 1, words.end()}).run();
}

} // namespace

ProgramRun runProgram(const std::vector<std::string>& words) {
    const ProgramResult result = resultOf(words);
    return {result.status, result.output + result.errors};
}

std::string outputOf(const std::vector<std::string>& words) {
    ProgramResult result = resultOf(words);
    if (result.status != 0) {
        throw std::runtime_error(words.front() + " ended with " + std::to_string(result.status) +
                                 ": " + (result.output + result.errors).substr(0, 2000));
    }
    return std::move(result.output);
}

} // namespace quillorn::tests
