#include "app/ComposeCommand.h"

#include "app/ExitStatus.h"
#include "app/ProgressLine.h"
#include "app/TerminalText.h"
#include "app/WebConversion.h"
#include "model/FileNames.h"
#include "platform/files/PrivateFolder.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

/// A run is short, and a source that is rewritten during it is noticed and reported. So only what
/// is copied in no time is copied to be safe from that.
constexpr std::uint64_t copyLimit = 1U << 20U; // bytes

/// What went wrong, with the file that it concerns where that is not the output itself.
std::string reasonOf(const PDFError& error, const std::filesystem::path& target) {
    return error.file.empty() || error.file == target
               ? error.reason
               : fullPath(error.file.string()) + ": " + error.reason;
}

} // namespace

int ComposeCommand::run() {
    try {
        work();
    } catch (const std::exception& error) {
        m_report.error = goesNoFurther(m_surroundings.output.troubles, error);
        m_report.status = exit_status::notWritten;
    }
    std::ostream& results = m_surroundings.output.results;
    if (m_request.json) {
        results << composeReportJSON(m_report);
    }
    return m_report.status;
}

void ComposeCommand::work() {
    // Without a folder of our own the sources are read where they lie, which is as right but
    // notices a rewrite in place only afterwards.
    const auto privateFolder = PrivateFolder::create();
    std::optional<SnapshotPolicy> snapshots;
    std::optional<FileConversions::Tools> conversions;
    if (privateFolder) {
        snapshots = SnapshotPolicy{privateFolder->path(), copyLimit};
        conversions = FileConversions::Tools{
            ImageReader(m_surroundings.workerFolder), privateFolder->path(),
            [this, folder = privateFolder->path()]() {
                return openHTMLConverter(
                    {folder, m_request.allowRemote || m_surroundings.prefersRemote()});
            },
            [this]() { return m_request.keepPageSetup || m_surroundings.prefersPageSetup(); }};
    }
    m_inputs =
        std::make_unique<ComposeInputs>(PDFIntake(std::move(snapshots)), std::move(conversions));
    m_plan = m_inputs->plan(m_request, m_surroundings.stop);
    if (m_surroundings.stop.stop_requested()) {
        for (const GroupRequest& group : m_request.groups) {
            m_report.failed.push_back(FailedOutput{m_place.nameOf(group.name), "interrupted"});
        }
        interrupt();
    } else if (inputsAreFine()) {
        writeGroups();
    }
}

bool ComposeCommand::inputsAreFine() {
    std::ostream& troubles = m_surroundings.output.troubles;
    for (const ImportRefusal& refusal : m_plan.refused) {
        printRefusal(troubles, refusal);
    }
    m_report.refused = std::move(m_plan.refused);
    for (const FileNotice& notice : m_plan.notices) {
        if (!m_request.json && !m_request.quiet) {
            m_surroundings.output.results << printable(lastPathComponent(notice.file)) << ": "
                                          << printable(notice.text) << '\n';
        }
    }
    m_report.notices = std::move(m_plan.notices);
    if (!m_plan.usageErrors.empty()) {
        for (const UsageError& error : m_plan.usageErrors) {
            printUsageError(troubles, error);
        }
        m_report.error = m_plan.usageErrors.front().message;
        m_report.status = exit_status::usage;
        return false;
    }
    if (!m_report.refused.empty()) {
        m_report.status = exit_status::refused;
        if (!m_request.keepGoing) {
            troubles << "Nothing was written.\n";
            return false;
        }
    }
    return true;
}

void ComposeCommand::writeGroups() {
    bool goesOn = true;
    for (std::size_t i = 0; i < m_plan.groups.size(); ++i) {
        const std::string& name = m_plan.groups[i].name;
        goesOn = goesOn && !m_surroundings.stop.stop_requested();
        if (!goesOn) {
            m_report.failed.push_back(FailedOutput{m_place.nameOf(name), "interrupted"});
            continue;
        }
        if (!m_plan.hasInputs[i]) {
            // Not a failure to write: the status speaks of the refused files.
            fail(m_place.nameOf(name), "all of its files were refused");
            continue;
        }
        const auto target = m_place.targetFor(name);
        if (!target) {
            fail(m_place.nameOf(name), target.error().reason);
            m_report.status = exit_status::notWritten;
        } else if (!writeGroup(m_plan.groups[i], *target, i + 1 == m_plan.groups.size())) {
            m_report.failed.push_back(FailedOutput{m_place.nameOf(name), "interrupted"});
            goesOn = false;
        }
    }
    if (!goesOn) {
        interrupt();
    }
}

bool ComposeCommand::writeGroup(const OutputGroup& group, const std::string& target, bool isLast) {
    const CommandOutput& output = m_surroundings.output;
    PDFWriteOptions options;
    options.stop = m_surroundings.stop;
    options.flatOutline = m_request.flatOutline;
    options.leaveMemoryToProcessEnd = isLast && m_surroundings.processEndsAfterwards;
    std::optional<ProgressLine> progress;
    if (output.progressWidth > 0 && !m_request.quiet) {
        progress.emplace(output.troubles, output.progressWidth, printable(group.name));
        options.observer = &*progress;
    }
    auto written = group.document->writeToFile(target, options);
    progress.reset(); // whatever is said now begins on a blank line
    if (!written) {
        if (written.error().kind == PDFError::Kind::cancelled) {
            return false;
        }
        fail(fullPath(target), reasonOf(written.error(), target));
        m_report.status = exit_status::notWritten;
        return true;
    }
    if (!m_request.json && !m_request.quiet) {
        tellOf(*written);
    }
    if (m_request.verify) {
        verify(*written);
    }
    m_report.outputs.push_back(std::move(*written));
    return true;
}

void ComposeCommand::tellOf(const PDFWriteReport& written) {
    std::ostream& results = m_surroundings.output.results;
    results << "wrote " << printable(fullPath(written.file.string())) << ", "
            << counted(written.pages, "page") << ", " << counted(written.bytes, "byte") << '\n';
    for (const PDFCarryNote& note : written.notes) {
        results << "  " << printable(lastPathComponent(note.file.string())) << ": "
                << printable(note.text()) << '\n';
    }
    results << std::flush;
}

void ComposeCommand::verify(const PDFWriteReport& written) {
    const auto verification = m_surroundings.verify(written.file, written.pages);
    std::vector<std::string> problems = verification
                                            ? verification->problems
                                            : std::vector<std::string>{verification.error().reason};
    if (problems.empty()) {
        return;
    }
    m_report.status = exit_status::notWritten;
    const std::string file = fullPath(written.file.string());
    m_surroundings.output.troubles << printable(lastPathComponent(file))
                                   << " did not pass the verification.\n";
    for (const std::string& problem : problems) {
        m_surroundings.output.troubles << "  " << printable(file) << ": " << printable(problem)
                                       << '\n';
        m_report.failed.push_back(FailedOutput{file, problem});
    }
}

void ComposeCommand::fail(const std::string& file, const std::string& reason) {
    m_report.failed.push_back(FailedOutput{file, reason});
    m_surroundings.output.troubles << printable(lastPathComponent(file)) << " was not written.\n  "
                                   << printable(file) << ": " << printable(reason) << '\n';
}

void ComposeCommand::interrupt() {
    m_report.status = m_surroundings.interruptedStatus();
    m_surroundings.output.troubles << "Interrupted. Of " << counted(m_request.groups.size(), "file")
                                   << ", " << grouped(m_report.outputs.size())
                                   << (m_report.outputs.size() == 1 ? " was" : " were")
                                   << " written.\n";
}

} // namespace quillorn
