#include "app/CommandLineProgram.h"

#include "app/ComposeReport.h"
#include "app/ConvertCommand.h"
#include "app/ExitStatus.h"
#include "app/FileInfo.h"
#include "app/HelpTexts.h"
#include "app/InfoCommand.h"
#include "app/MemoryLimit.h"
#include "app/PasswordFiles.h"

#include <exception>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quillorn {

namespace {

/// What the command that makes no sense would have reported, as JSON.
std::string reportOf(const UsageError& error) {
    if (error.topic == HelpTopic::info) {
        return fileInfosJSON({}, {}, error.message, exit_status::usage);
    }
    if (error.topic == HelpTopic::convert) {
        ConvertReport report;
        report.error = error.message;
        report.status = exit_status::usage;
        return convertReportJSON(report);
    }
    ComposeReport report;
    report.error = error.message;
    report.status = exit_status::usage;
    return composeReportJSON(report);
}

} // namespace

int CommandLineProgram::run(const std::vector<std::string>& words) {
    if (words.empty()) {
        m_process.output.troubles << helpText(HelpTopic::program);
        return exit_status::usage;
    }
    auto command = parseCommandLine(words);
    if (!command) {
        return refuse(command.error());
    }
    return std::visit([this](auto& request) { return runCommand(request); }, *command);
}

int CommandLineProgram::runCommand(ComposeRequest& request) {
    // Waiting for a password can be ended by a signal as usual; nothing has been made yet.
    if (auto read = readPasswordFiles(request); !read) {
        return refuse(read.error());
    }
    std::vector<std::string> files;
    for (const GroupRequest& group : request.groups) {
        for (const FileRequest& file : group.files) {
            files.push_back(file.path);
        }
    }
    m_process.prepareForInputs(sizeOfFiles(files));
    m_compose.emplace(std::move(request), surroundings());
    return m_compose->run();
}

int CommandLineProgram::runCommand(ConvertRequest& request) {
    m_process.prepareForInputs(sizeOfFiles(request.files));
    return ConvertCommand(std::move(request), surroundings()).run();
}

ComposeCommand::Surroundings CommandLineProgram::surroundings() const {
    ComposeCommand::Surroundings result{m_process.output,         m_process.defaultOutputFolder,
                                        m_process.watchForStop(), m_process.interruptedStatus,
                                        m_process.endsAfterwards, m_process.workerFolder};
    result.prefersPageSetup = m_process.prefersPageSetup;
    result.prefersRemote = m_process.prefersRemote;
    return result;
}

int CommandLineProgram::runCommand(InfoRequest& request) {
    if (auto read = readPasswordFiles(request); !read) {
        return refuse(read.error());
    }
    m_process.prepareForInputs(sizeOfFiles(request.files));
    try {
        return runInfoCommand(request, m_process.output);
    } catch (const std::exception& error) {
        const std::string text = goesNoFurther(m_process.output.troubles, error);
        if (request.json) {
            m_process.output.results << fileInfosJSON({}, {}, text, exit_status::notWritten);
        }
        return exit_status::notWritten;
    }
}

int CommandLineProgram::runCommand(const HelpRequest& request) {
    m_process.output.results << helpText(request.topic);
    return exit_status::done;
}

int CommandLineProgram::runCommand(const VersionRequest& /*request*/) {
    m_process.output.results << versionText();
    return exit_status::done;
}

int CommandLineProgram::refuse(const UsageError& error) {
    printUsageError(m_process.output.troubles, error);
    if (error.json) {
        m_process.output.results << reportOf(error);
    }
    return exit_status::usage;
}

} // namespace quillorn
