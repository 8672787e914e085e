#pragma once

#include "app/CommandOutput.h"
#include "app/ComposeInputs.h"
#include "app/ComposeReport.h"
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
        std::function<std::string()> defaultOutputFolder; ///< asked only when no folder is given
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
        : m_request(std::move(request)), m_surroundings(std::move(surroundings)) {}

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
    void fail(const std::string& file, const std::string& reason);
    void interrupt();

    ComposeRequest m_request;
    Surroundings m_surroundings;
    std::unique_ptr<ComposeInputs> m_inputs;
    ComposePlan m_plan;
    ComposeReport m_report;
};

} // namespace quillorn
