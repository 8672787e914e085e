#pragma once

#include "app/CommandLine.h"
#include "app/ComposeCommand.h"
#include "app/ConvertReport.h"
#include "app/FileConversions.h"
#include "app/OutputPlace.h"

#include <cstddef>
#include <string>

namespace quillorn {

/// Turns each of the given files into a PDF of its own: `convert` of the command line. One file
/// after the other is converted and written; the first that is refused ends that unless it is
/// to go on. Used once, by one thread.
class ConvertCommand {
public:
    using Surroundings = ComposeCommand::Surroundings;

    ConvertCommand(ConvertRequest request, Surroundings surroundings)
        : m_request(std::move(request)),
          m_surroundings(std::move(surroundings)),
          m_place(m_request.outputFolder, m_surroundings.defaultOutputFolder) {}

    /// Returns the exit status.
    [[nodiscard]] int run();

private:
    void work();
    /// False when nothing more is to be done.
    [[nodiscard]] bool convert(const std::string& path, FileConversions& conversions);
    /// False when the stop request came in between.
    [[nodiscard]] bool write(const std::string& path, const PDFSource& pdf,
                             std::vector<std::string> notices);
    void tellProgress(std::size_t index);
    void clearProgress();
    void refuse(ImportRefusal refusal);
    /// `target` as it is to be named.
    void fail(const std::string& target, const std::string& reason);
    /// `done` of the files were dealt with.
    void interrupt(std::size_t done);

    ConvertRequest m_request;
    Surroundings m_surroundings;
    OutputPlace m_place;
    ConvertReport m_report;
};

} // namespace quillorn
