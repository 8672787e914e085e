#pragma once

#include "platform/office/ConversionError.h"
#include "platform/office/ConversionProtocol.h"
#include "platform/pdf/PDFGeometry.h"
#include "platform/process/ChildFolder.h"
#include "platform/process/ChildProcess.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace quillorn {

/// A text document to be converted. Lengths are points.
struct ConversionJob {
    conversion::DocumentFormat format = conversion::DocumentFormat::plainText;
    bool keepPageSetup = false; ///< the document's own paper, margins, headers and footers
    PDFSize paper;
    double margin = 0; ///< on all four sides
    std::span<const char> document;
};

/// A process that turns text documents into PDFs: one child for a run of the program, started when
/// a document first needs it and kept for the next ones. What it runs lies in a private folder; it
/// works under limits, without privileges and without a network. One that fails or takes too long
/// is ended with all that belongs to it, and the next document gets another.
///
/// Used by one thread at a time. The destructor ends the child.
class ConversionWorker {
public:
    struct Options {
        std::string program;                               ///< its name beside this program
        std::vector<std::string> libraries;                ///< of ours, beside it, that it loads
        std::uint64_t dataBytes = std::uint64_t{2} << 30U; ///< memory of each of its processes
        std::uint64_t fileBytes = std::uint64_t{1} << 30U; ///< size of a file that it may write
        std::chrono::milliseconds startPatience{60'000};
        std::chrono::milliseconds timeLimit{60'000}; ///< for each document
    };

    explicit ConversionWorker(Options options) : m_options(std::move(options)) {}
    ConversionWorker(const ConversionWorker&) = delete;
    ConversionWorker& operator=(const ConversionWorker&) = delete;
    ~ConversionWorker() { end(); }

    /// Converts a document into the file `target`, which is complete afterwards or as it was
    /// before. Returns what people should know about it, a line each.
    [[nodiscard]] ConversionResult<std::vector<std::string>>
    convert(const ConversionJob& job, const std::filesystem::path& target,
            const std::stop_token& stop = {});

    /// Ends the child. The next document starts another.
    void end() { m_run.reset(); }

    /// 0 while it does not run.
    [[nodiscard]] pid_t processGroup() const { return m_run ? m_run->child.processGroup() : 0; }

private:
    using Clock = ChildProcess::Clock;
    struct Run {
        ChildFolder folder; ///< outlives the process
        ChildProcess child;
    };
    /// What an exchange with the child has to heed.
    struct Watch {
        Clock::time_point deadline;
        const std::stop_token& stop;
    };

    ConversionResult<void> connect(const std::stop_token& stop);
    ConversionResult<std::unique_ptr<Run>> start() const;
    ConversionResult<std::vector<std::string>>
    exchange(const ConversionJob& job, const std::filesystem::path& target, const Watch& watch);
    ConversionResult<void> send(std::span<const char> bytes, const Watch& watch);
    ConversionResult<void> receive(std::span<char> bytes, const Watch& watch);
    ConversionResult<conversion::AnswerHeader> receiveHead(std::string& text, const Watch& watch);
    /// Waits until a pipe is ready for `events`.
    ConversionResult<void> wait(int pipe, short events, const Watch& watch);
    /// Why the child does not speak any more.
    ConversionError gone();

    Options m_options;
    std::unique_ptr<Run> m_run;
    bool m_isInStep = true; ///< the child's last answer was taken whole, so it can take a job
    bool m_isGone = false;  ///< the child died over the last exchange
};

/// Converts rich text and Word documents with the office engine.
[[nodiscard]] ConversionWorker::Options officeWorker();
/// Lays plain text out.
[[nodiscard]] ConversionWorker::Options textWorker();

} // namespace quillorn
