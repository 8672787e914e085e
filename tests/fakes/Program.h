#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace quillorn::tests {

/// Waits until `condition` is met; false when that takes longer than any test should.
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition);

/// How a program ended and what it said.
struct ProgramResult {
    int status = 0; ///< its exit status; minus the signal's number when one killed it
    std::string output;
    std::string errors;
};

/// A program that was started. The destructor kills it if nobody waited for its end.
class RunningProgram {
public:
    RunningProgram(pid_t process, int output, int errors)
        : m_process(process), m_output(output), m_errors(errors) {}
    RunningProgram(RunningProgram&& other) noexcept;
    RunningProgram& operator=(RunningProgram&&) = delete;
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram();

    void signal(int number) const;

    /// Whether it has a file in `folder` open, one that has no name (yet) too, that holds at
    /// least this many bytes.
    [[nodiscard]] bool hasOpenFileIn(const std::filesystem::path& folder,
                                     std::uint64_t bytes = 0) const;

    /// Takes what it says and its end; kills it and throws std::runtime_error when it goes on
    /// longer than any test should.
    [[nodiscard]] ProgramResult wait();

private:
    void readWhatIsSaid(ProgramResult& result, std::chrono::steady_clock::time_point deadline);

    pid_t m_process;
    int m_output;
    int m_errors;
};

/// A program to be run as its own process, with its standard input empty. Throws
/// std::runtime_error where it cannot be started.
class Program {
public:
    /// `name` is a path, or found in PATH.
    explicit Program(std::string name, std::vector<std::string> arguments = {});

    Program& inFolder(std::filesystem::path folder);
    /// Sets an environment variable, or removes it.
    Program& with(const std::string& variable, const std::optional<std::string>& value);
    /// No file may grow beyond this many bytes.
    Program& withFileSizeLimit(std::uint64_t bytes);
    /// It may hold no more bytes of data in memory. Not heeded by programs built with a sanitizer,
    /// which reserve terabytes.
    Program& withMemoryLimit(std::uint64_t bytes);
    /// With its standard errors going to a terminal of 80 columns.
    Program& onTerminal();
    /// As a user without privileges when the test has them. Needs a name with a path.
    Program& asOrdinaryUser();

    [[nodiscard]] RunningProgram start() const;
    [[nodiscard]] ProgramResult run() const { return start().wait(); }

private:
    /// In the child: never returns.
    [[noreturn]] void become(int output, int errors, int executable) const;

    std::string m_name;
    std::vector<std::string> m_arguments;
    std::filesystem::path m_folder;
    std::map<std::string, std::optional<std::string>> m_variables;
    std::optional<std::uint64_t> m_fileSizeLimit;
    std::optional<std::uint64_t> m_memoryLimit;
    bool m_onTerminal = false;
    bool m_asOrdinaryUser = false;
};

} // namespace quillorn::tests
