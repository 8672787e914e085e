#pragma once

#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quillorn::tests {

/// Runs the program in an empty working folder, with a home folder, a configuration folder and a
/// folder for temporary files of its own.
class ProgramFixture : public testing::Test {
protected:
    ProgramFixture();

    /// The program with these words, ready to run in the working folder.
    [[nodiscard]] Program program(std::vector<std::string> words) const;
    [[nodiscard]] ProgramResult run(std::vector<std::string> words) const {
        return program(std::move(words)).run();
    }

    /// Makes a PDF in the working folder, whose pages say "Page k of NAME", and returns NAME.
    std::string pdf(const std::string& name, std::size_t pages) const;
    /// Makes one that is locked with the passwords "user" and "owner".
    std::string lockedPdf(const std::string& name) const;

    /// What is left in the folder for temporary files.
    [[nodiscard]] std::vector<std::string> litter() const { return namesIn(temporary); }

    const TemporaryFolder folders;
    const std::filesystem::path work = folders / "work";
    const std::filesystem::path home = folders / "home";
    const std::filesystem::path temporary = folders / "temporary";
};

/// The one JSON object that the program printed. Throws when it is none.
[[nodiscard]] nlohmann::json reportIn(const ProgramResult& result);

} // namespace quillorn::tests
