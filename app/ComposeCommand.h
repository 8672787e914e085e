#pragma once

#include "app/CommandOutput.h"
#include "app/ComposeInputs.h"
#include "app/ComposeReport.h"
#include "app/OutputPlace.h"
#include "platform/pdf/PDFVerifier.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace quillorn {

/// Writes PDFs made of pages of the given files: `compose` of the command line.
///
/// Opens and checks every input, then writes group after group, and reports on the way. Keeps
/// its sources and documents until it is destroyed, which a program that is about to end need
/// not wait for. Used once, by one thread.
class ComposeCommand {
public:
    struct Surroundings {
        CommandOutput output;
        /// Settles the program's own folder; asked only when none is given and something is
        /// written.
        std::function<FileResult<std::string>()> defaultOutputFolder;
        std::stop_token stop;
        std::function<int()> interruptedStatus; ///< the exit status once `stop` was requested
        bool processEndsAfterwards = false;     ///< so memory need not be given back
        std::filesystem::path workerFolder{};   ///< of the programs that decode images
        /// Reads an output back when that is asked for.
        std::function<PDFResult<PDFVerification>(const std::filesystem::path&, std::size_t)>
            verify = verifyPDF;
        /// Whether text documents keep their own pages where no option says so.
        std::function<bool()> prefersPageSetup = [] { return false; };
        /// Whether web pages may fetch from other machines where no option says so.
        std::function<bool()> prefersRemote = [] { return false; };
    };

    /// Passwords are given as text (PasswordFiles.h).
    ComposeCommand(ComposeRequest request, Surroundings surroundings)
        : m_request(std::move(request)),
          m_surroundings(std::move(surroundings)),
          m_place(m_request.outputFolder, m_surroundings.defaultOutputFolder) {}

    /// Returns the exit status.
    [[nodiscard]] int run();

private:
    void work();
    [[nodiscard]] bool inputsAreFine();
    void writeGroups();
    /// False when the stop request came in between and nothing was written.
    [[nodiscard]] bool writeGroup(const OutputGroup& group, const std::string& target, bool isLast);
    void tellOf(const PDFWriteReport& written);
    void verify(const PDFWriteReport& written);
    /// `file` as it is to be named: with its full path where that is known.
    void fail(const std::string& file, const std::string& reason);
    void interrupt();

    ComposeRequest m_request;
    Surroundings m_surroundings;
    OutputPlace m_place;
    std::unique_ptr<ComposeInputs> m_inputs;
    ComposePlan m_plan;
    ComposeReport m_report;
};

} // namespace quillorn
