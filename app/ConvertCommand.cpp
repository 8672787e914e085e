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
#include <filesystem>
#include <optional>
#include <span>
#include <system_error>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t blockSize = std::size_t{256} << 10U;

/// Copies a PDF to its place; the answer is its size.
FileResult<std::uint64_t> copyInto(const fs::path& pdf, const fs::path& target) {
    const auto from = FileDescriptor::openRegularFile(pdf);
    if (!from) {
        return tl::unexpected(from.error());
    }
    auto to = ReplacementFile::create(target);
    if (!to) {
        return tl::unexpected(std::move(to.error()));
    }
    std::string block(blockSize, '\0');
    while (true) {
        const auto got = readAt(*from, pdf, block, to->bytesWritten());
        if (!got) {
            return tl::unexpected(got.error());
        }
        if (*got == 0) {
            break;
        }
        if (auto written = to->write(std::span(block).first(*got)); !written) {
            return tl::unexpected(std::move(written.error()));
        }
    }
    const std::uint64_t size = to->bytesWritten();
    if (auto committed = to->commit(); !committed) {
        return tl::unexpected(std::move(committed.error()));
    }
    return size;
}

} // namespace

int ConvertCommand::run() {
    work();
    if (m_request.json) {
        m_surroundings.output.results << convertReportJSON(m_report);
    }
    return m_report.status;
}

void ConvertCommand::work() {
    const std::string folder =
        m_request.outputFolder ? *m_request.outputFolder : m_surroundings.defaultOutputFolder();
    std::error_code folderError;
    if (m_request.outputFolder) {
        fs::create_directories(folder, folderError);
    }
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
    bool goesOn = true;
    for (std::size_t i = 0; i < m_request.files.size() && goesOn; ++i) {
        const std::string& path = m_request.files[i];
        const std::string target = joinedPath(folder, convertedName(path));
        if (folderError) {
            fail(target, "the output folder cannot be made: " + errnoText(folderError.value()));
            break;
        }
        tellProgress(i);
        goesOn = convert(path, target, conversions);
    }
    clearProgress();
    if (m_surroundings.stop.stop_requested()) {
        interrupt();
    }
}

bool ConvertCommand::convert(const std::string& path, const std::string& target,
                             FileConversions& conversions) {
    std::error_code error;
    FileRoute route = fs::exists(path, error) ? commandLineRoute(path) : FileRoute::pdf;
    if (route == FileRoute::pdf) {
        // Only what is one is passed on; its locks go along.
        if (auto pdf = PDFIntake().inspect(path); !pdf) {
            refuse(std::move(pdf.error()));
            return m_request.keepGoing;
        }
    }
    auto converted = conversions.pdfOf(path, route, m_surroundings.stop);
    if (m_surroundings.stop.stop_requested()) {
        return false;
    }
    if (!converted) {
        refuse(std::move(converted.error()));
        return m_request.keepGoing;
    }
    const auto bytes = copyInto(converted->pdf, target);
    if (converted->pdf != path) {
        fs::remove(converted->pdf, error); // a long list would fill the disk with them
    }
    if (!bytes) {
        fail(target, bytes.error().reason);
        return true;
    }
    clearProgress();
    if (!m_request.json && !m_request.quiet) {
        std::ostream& results = m_surroundings.output.results;
        results << "wrote " << printable(fullPath(target)) << ", " << counted(*bytes, "byte")
                << '\n';
        for (const std::string& notice : converted->notices) {
            results << "  " << printable(lastPathComponent(path)) << ": " << printable(notice)
                    << '\n';
        }
        results << std::flush;
    }
    m_report.outputs.push_back(
        {fullPath(path), fullPath(target), *bytes, std::move(converted->notices)});
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
                                   << " was not written.\n  " << printable(fullPath(target)) << ": "
                                   << printable(reason) << '\n';
    m_report.failed.push_back(FailedOutput{fullPath(target), reason});
    m_report.status = exit_status::notWritten;
}

void ConvertCommand::interrupt() {
    m_report.status = m_surroundings.interruptedStatus();
    m_surroundings.output.troubles << "Interrupted. Of " << counted(m_request.files.size(), "file")
                                   << ", " << grouped(m_report.outputs.size())
                                   << (m_report.outputs.size() == 1 ? " was" : " were")
                                   << " written.\n";
}

} // namespace quillorn
