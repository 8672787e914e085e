#pragma once

#include "app/CommandOutput.h"
#include "app/ComposeCommand.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillorn {

/// The program as the command line runs it: reads the words, runs the command, gives the status.
///
/// Keeps what a command opened until it is destroyed. Used once, by one thread.
class CommandLineProgram {
public:
    /// What the program needs of the process that it runs in.
    struct Process {
        CommandOutput output;
        /// Settles it; may make folders.
        std::function<FileResult<std::string>()> defaultOutputFolder;
        std::function<std::stop_token()> watchForStop; ///< called before a long job
        std::function<int()> interruptedStatus;        ///< exit status once asked to stop
        /// Called before the files, of so many bytes in all, are read.
        std::function<void(std::uint64_t)> prepareForInputs;
        bool endsAfterwards = false;          ///< right after the command
        std::filesystem::path workerFolder{}; ///< of the programs that decode images
        /// Whether text documents keep their own pages where no option says so.
        std::function<bool()> prefersPageSetup = [] { return false; };
        /// Whether web pages may fetch from other machines where no option says so.
        std::function<bool()> prefersRemote = [] { return false; };
    };

    explicit CommandLineProgram(Process process) : m_process(std::move(process)) {}

    /// `words` are those after the program's name. Returns the exit status.
    [[nodiscard]] int run(const std::vector<std::string>& words);

private:
    int runCommand(ComposeRequest& request);
    int runCommand(ConvertRequest& request);
    int runCommand(InfoRequest& request);
    int runCommand(const HelpRequest& request);
    int runCommand(const VersionRequest& request);
    int refuse(const UsageError& error);
    [[nodiscard]] ComposeCommand::Surroundings surroundings() const;

    Process m_process;
    std::optional<ComposeCommand> m_compose;
};

} // namespace quillorn
