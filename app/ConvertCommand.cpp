#include "app/ConvertCommand.h"

#include "app/ExitStatus.h"
#include "app/ProgressLine.h"
#include "app/TerminalText.h"
#include "app/WebConversion.h"
#include "import/FileRoute.h"
#include "model/FileNames.h"
#include "platform/files/FileDescriptor.h"
#include "platform/files/PrivateFolder.h"
#include "platform/files/ReplacementFile.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <span>
#include <system_error>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t blockSize = std::size_t{256} << 10U;

/// Copies a PDF to its place; the answer is its size. Whatever happens to the file meanwhile, what
/// is written is what was opened, or nothing. Errors: changed, unreadable, cannotWrite, cancelled.
PDFResult<std::uint64_t> copyInto(const PDFSource& pdf, const fs::path& target,
                                  const std::stop_token& stop) {
    const PDFSourceAccess from = pdf.access();
    auto to = ReplacementFile::create(target);
    if (!to) {
        return tl::unexpected(PDFError::cannotWrite(to.error()));
    }
    std::string block(blockSize, '\0');
    for (std::size_t got = 1; got > 0 && to->bytesWritten() < from.size;) {
        if (stop.stop_requested()) {
            return tl::unexpected(PDFError{PDFError::Kind::cancelled, target, "cancelled"});
        }
        const auto room = std::min<std::uint64_t>(block.size(), from.size - to->bytesWritten());
        const auto read =
            readAt(*from.descriptor, pdf.path(),
                   std::span(block).first(static_cast<std::size_t>(room)), to->bytesWritten());
        if (!read) {
            return tl::unexpected(PDFError::unreadable(read.error()));
        }
        got = *read;
        if (auto written = to->write(std::span(block).first(got)); !written) {
            return tl::unexpected(PDFError::cannotWrite(written.error()));
        }
    }
    if (auto unchanged = pdf.verifyUnchanged(); !unchanged) {
        return tl::unexpected(std::move(unchanged.error()));
    }
    const std::uint64_t size = to->bytesWritten();
    if (auto committed = to->commit(); !committed) {
        return tl::unexpected(PDFError::cannotWrite(committed.error()));
    }
    return size;
}

} // namespace

int ConvertCommand::run() {
    try {
        work();
    } catch (const std::exception& error) {
        clearProgress();
        m_report.error = goesNoFurther(m_surroundings.output.troubles, error);
        m_report.status = exit_status::notWritten;
    }
    if (m_request.json) {
        m_surroundings.output.results << convertReportJSON(m_report);
    }
    return m_report.status;
}

void ConvertCommand::work() {
    const auto privateFolder = PrivateFolder::create();
    std::optional<FileConversions::Tools> tools;
    if (privateFolder) {
        const auto keepsPageSetup = [this]() {
            return m_request.keepPageSetup || m_surroundings.prefersPageSetup();
        };
        const auto openHTML = [this, &privateFolder]() {
            return openHTMLConverter(
                {privateFolder->path(), m_request.allowRemote || m_surroundings.prefersRemote()});
        };
        tools = FileConversions::Tools{ImageReader(m_surroundings.workerFolder),
                                       privateFolder->path(), openHTML, keepsPageSetup};
    }
    FileConversions conversions(std::move(tools));
    std::size_t done = 0;
    for (; done < m_request.files.size(); ++done) {
        tellProgress(done);
        if (m_surroundings.stop.stop_requested() || !convert(m_request.files[done], conversions)) {
            break;
        }
    }
    clearProgress();
    if (m_surroundings.stop.stop_requested()) {
        interrupt(done);
    }
}

bool ConvertCommand::convert(const std::string& path, FileConversions& conversions) {
    std::error_code error;
    const FileRoute route = fs::exists(path, error) ? commandLineRoute(path) : FileRoute::pdf;
    auto converted = conversions.pdfOf(path, route, m_surroundings.stop);
    if (m_surroundings.stop.stop_requested()) {
        return false;
    }
    if (!converted) {
        refuse(std::move(converted.error()));
        return m_request.keepGoing;
    }
    // Only what is a PDF is passed on, locked or not.
    bool goesOn = m_request.keepGoing;
    if (auto pdf = PDFIntake().inspect(converted->pdf); !pdf) {
        refuse(ImportRefusal::make(pdf.error().kind, path, std::move(pdf.error().reason)));
    } else {
        goesOn = write(path, **pdf, std::move(converted->notices));
    }
    if (converted->pdf != path) {
        fs::remove(converted->pdf, error); // a long list would fill the disk with them
    }
    return goesOn;
}

bool ConvertCommand::write(const std::string& path, const PDFSource& pdf,
                           std::vector<std::string> notices) {
    const std::string name = convertedName(path);
    const auto target = m_place.targetFor(name);
    if (!target) {
        fail(m_place.nameOf(name), target.error().reason);
        return false; // nor will any other find a place
    }
    const auto bytes = copyInto(pdf, *target, m_surroundings.stop);
    if (!bytes) {
        switch (bytes.error().kind) {
        case PDFError::Kind::cancelled:
            return false;
        case PDFError::Kind::cannotWrite:
            fail(fullPath(*target), bytes.error().reason);
            return true;
        default:
            refuse(ImportRefusal::fromError(path, bytes.error()));
            return m_request.keepGoing;
        }
    }
    clearProgress();
    if (!m_request.json && !m_request.quiet) {
        std::ostream& results = m_surroundings.output.results;
        results << "wrote " << printable(fullPath(*target)) << ", " << counted(*bytes, "byte")
                << '\n';
        for (const std::string& notice : notices) {
            results << "  " << printable(lastPathComponent(path)) << ": " << printable(notice)
                    << '\n';
        }
        results << std::flush;
    }
    m_report.outputs.push_back({fullPath(path), fullPath(*target), *bytes, std::move(notices)});
    return true;
}

void ConvertCommand::tellProgress(std::size_t index) {
    const CommandOutput& output = m_surroundings.output;
    if (output.progressWidth == 0 || m_request.quiet) {
        return;
    }
    const std::string count =
        grouped(index + 1) + " of " + counted(m_request.files.size(), "file") + ": ";
    // The last column stays free: some terminals go on to the next line when it is used.
    const std::size_t room =
        output.progressWidth > count.size() + 1 ? output.progressWidth - count.size() - 1 : 1;
    output.troubles << eraseLine << count
                    << shortened(printable(lastPathComponent(m_request.files[index])), room)
                    << std::flush;
}

void ConvertCommand::clearProgress() {
    if (m_surroundings.output.progressWidth > 0 && !m_request.quiet) {
        m_surroundings.output.troubles << eraseLine << std::flush;
    }
}

void ConvertCommand::refuse(ImportRefusal refusal) {
    clearProgress();
    printRefusal(m_surroundings.output.troubles, refusal);
    m_report.refused.push_back(std::move(refusal));
    m_report.status = std::max(m_report.status, exit_status::refused);
}

void ConvertCommand::fail(const std::string& target, const std::string& reason) {
    clearProgress();
    m_surroundings.output.troubles << printable(lastPathComponent(target))
                                   << " was not written.\n  " << printable(target) << ": "
                                   << printable(reason) << '\n';
    m_report.failed.push_back(FailedOutput{target, reason});
    m_report.status = exit_status::notWritten;
}

void ConvertCommand::interrupt(std::size_t done) {
    for (std::size_t i = done; i < m_request.files.size(); ++i) {
        m_report.failed.push_back(
            FailedOutput{m_place.nameOf(convertedName(m_request.files[i])), "interrupted"});
    }
    m_report.status = m_surroundings.interruptedStatus();
    m_surroundings.output.troubles << "Interrupted. Of " << counted(m_request.files.size(), "file")
                                   << ", " << grouped(m_report.outputs.size())
                                   << (m_report.outputs.size() == 1 ? " was" : " were")
                                   << " written.\n";
}

} // namespace quillorn
