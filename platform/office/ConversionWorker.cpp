#include "platform/office/ConversionWorker.h"

#include "platform/files/BesideProgram.h"
#include "platform/files/ReplacementFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <poll.h>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;
using conversion::AnswerHeader;
using conversion::JobHeader;
using conversion::Outcome;
using std::chrono::milliseconds;
using Kind = ConversionError::Kind;

namespace {

/// A stop request is looked for this often: nobody can be called back from a signal's handler.
constexpr milliseconds stopInterval{100};

/// Its pipes are closed a moment before a child is gone. How it ended is worth that moment.
constexpr std::chrono::seconds endPatience{1};

constexpr std::uint64_t largestPDF = std::uint64_t{1} << 30U;
/// The largest text takes a few times its size.
constexpr std::uint64_t textWorkerMemory = std::uint64_t{1} << 30U;
constexpr std::uint32_t longestText = 64U << 10U;
constexpr std::size_t blockSize = std::size_t{256} << 10U;
constexpr std::string_view pdfMark = "%PDF-";

tl::unexpected<ConversionError> failed(Kind kind, std::string reason) {
    return tl::unexpected(ConversionError{kind, std::move(reason)});
}

tl::unexpected<ConversionError> notWritten(const FileError& error) {
    return failed(Kind::notWritten,
                  "its PDF cannot be written: " + error.file.string() + ": " + error.reason);
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (end > 0) {
            lines.emplace_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

/// The user's own fonts are found there.
std::string dataHome() {
    if (const char* const stated = std::getenv("XDG_DATA_HOME"); stated != nullptr) {
        return stated;
    }
    const char* const home = std::getenv("HOME");
    return home != nullptr ? std::string(home) + "/.local/share" : std::string();
}

/// Copies a file of ours to where the child may read it.
bool copyForChild(const fs::path& file, const ChildFolder& folder) {
    const fs::path copy = folder.path() / file.filename();
    std::error_code error;
    return fs::copy_file(file, copy, error) && folder.giveToChild(copy);
}

/// Starts the command's program, or a copy of it and of its libraries where the child's user may
/// not look into the folder that they lie in.
FileResult<ChildProcess> startReachable(ChildCommand& command, const ChildFolder& folder,
                                        const std::vector<std::string>& libraries) {
    auto child = ChildProcess::start(command);
    if (child || child.error().errnoValue != EACCES) {
        return child;
    }
    const fs::path program = command.arguments[0];
    bool isCopied = copyForChild(program, folder);
    for (const std::string& library : libraries) {
        isCopied = isCopied && copyForChild(besideProgram(library), folder);
    }
    if (!isCopied) {
        return child;
    }
    command.arguments[0] = (folder.path() / program.filename()).string();
    return ChildProcess::start(command);
}

} // namespace

ConversionWorker::Options officeWorker() {
    ConversionWorker::Options options;
    options.program = conversion::officeWorkerName;
    options.libraries = {std::string(conversion::officePartName)};
    return options;
}

ConversionWorker::Options textWorker() {
    ConversionWorker::Options options;
    options.program = conversion::textWorkerName;
    options.dataBytes = textWorkerMemory;
    return options;
}

ConversionResult<std::unique_ptr<ConversionWorker::Run>> ConversionWorker::start() const {
    const auto cannot = [](const FileError& error) {
        return failed(Kind::noEngine, error.file.string() + ": " + error.reason);
    };
    auto folder = ChildFolder::create();
    if (!folder) {
        return cannot(folder.error());
    }
    ChildCommand command;
    command.arguments = {besideProgram(m_options.program).string(), folder->path().string()};
    command.workingFolder = folder->path();
    const std::string home = folder->path().string();
    command.environment = {{"HOME", home},
                           {"TMPDIR", home},
                           {"XDG_CONFIG_HOME", home},
                           {"XDG_CACHE_HOME", home},
                           {"XDG_DATA_HOME", dataHome()}};
#ifndef QUILLORN_SANITIZERS
    command.limits.dataBytes = m_options.dataBytes; // a sanitizer reserves far more than that
#endif
    command.limits.fileBytes = m_options.fileBytes;
    command.network = false;
    command.pipes = {{conversion::jobPipe, ChildPipe::Direction::toChild},
                     {conversion::answerPipe, ChildPipe::Direction::fromChild}};
    auto child = startReachable(command, *folder, m_options.libraries);
    if (!child) {
        return cannot(child.error());
    }
    return std::make_unique<Run>(Run{std::move(*folder), std::move(*child)});
}

ConversionResult<void> ConversionWorker::connect(const std::stop_token& stop) {
    if (m_run && !m_run->child.hasEnded()) {
        return {};
    }
    m_run.reset();
    auto run = start();
    if (!run) {
        return tl::unexpected(std::move(run.error()));
    }
    m_run = std::move(*run);
    std::string text;
    const auto head = receiveHead(text, {Clock::now() + m_options.startPatience, stop});
    if (head && head->outcome == Outcome::ready) {
        return {};
    }
    ConversionError error = head ? ConversionError{Kind::noEngine, text} : head.error();
    if (error.kind == Kind::refused) {
        error.kind = Kind::noEngine; // no document was there to be the reason
    }
    m_run.reset();
    return tl::unexpected(std::move(error));
}

ConversionResult<std::vector<std::string>> ConversionWorker::convert(const ConversionJob& job,
                                                                     const fs::path& target,
                                                                     const std::stop_token& stop) {
    if (stop.stop_requested()) {
        return failed(Kind::cancelled, "cancelled");
    }
    while (true) {
        const bool hasServedBefore = m_run != nullptr;
        if (auto connected = connect(stop); !connected) {
            return tl::unexpected(std::move(connected.error()));
        }
        // The engine's own start takes none of the document's time.
        m_isInStep = m_isGone = false;
        auto notices = exchange(job, target, {Clock::now() + m_options.timeLimit, stop});
        if (!m_isInStep) {
            m_run.reset(); // whatever it is doing now, nobody wants it any more
        }
        // One that dies while it is idle is noticed only now. A document that kills each costs
        // one start more.
        if (!m_isGone || !hasServedBefore) {
            return notices;
        }
    }
}

ConversionResult<std::vector<std::string>>
ConversionWorker::exchange(const ConversionJob& job, const fs::path& target, const Watch& watch) {
    JobHeader header;
    header.format = job.format;
    header.keepPageSetup = job.keepPageSetup ? 1 : 0;
    header.paperWidth = job.paper.width;
    header.paperHeight = job.paper.height;
    header.margin = job.margin;
    header.documentBytes = job.document.size();
    auto sent = send(std::span(reinterpret_cast<const char*>(&header), sizeof header), watch);
    if (sent) {
        sent = send(job.document, watch);
    }
    if (!sent) {
        return tl::unexpected(std::move(sent.error()));
    }
    std::string text;
    auto head = receiveHead(text, watch);
    if (!head) {
        return tl::unexpected(std::move(head.error()));
    }
    if (head->outcome != Outcome::converted) {
        m_isInStep = head->outcome == Outcome::refused;
        return failed(Kind::refused, text);
    }
    auto file = ReplacementFile::create(target);
    if (!file) {
        return notWritten(file.error());
    }
    std::string block;
    for (std::uint64_t left = head->pdfBytes; left > 0; left -= block.size()) {
        block.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left, blockSize)));
        if (auto received = receive(block, watch); !received) {
            return tl::unexpected(std::move(received.error()));
        }
        if (left == head->pdfBytes && !block.starts_with(pdfMark)) {
            return failed(Kind::refused, "what was made of it is no PDF");
        }
        if (auto written = file->write(block); !written) {
            return notWritten(written.error());
        }
    }
    m_isInStep = true;
    if (auto committed = file->commit(); !committed) {
        return notWritten(committed.error());
    }
    return linesOf(text);
}

ConversionResult<AnswerHeader> ConversionWorker::receiveHead(std::string& text,
                                                             const Watch& watch) {
    AnswerHeader header;
    auto received = receive(std::span(reinterpret_cast<char*>(&header), sizeof header), watch);
    if (received && (header.textBytes > longestText || header.pdfBytes > largestPDF ||
                     (header.outcome == Outcome::converted && header.pdfBytes == 0))) {
        return failed(Kind::refused, "its converter answers nonsense");
    }
    if (received) {
        text.resize(header.textBytes);
        received = receive(text, watch);
    }
    if (!received) {
        return tl::unexpected(std::move(received.error()));
    }
    return header;
}

ConversionResult<void> ConversionWorker::send(std::span<const char> bytes, const Watch& watch) {
    const int pipe = m_run->child.pipe(conversion::jobPipe).get();
    while (!bytes.empty()) {
        const ssize_t put = ::write(pipe, bytes.data(), bytes.size());
        if (put >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(put));
        } else if (errno == EAGAIN) {
            if (auto ready = wait(pipe, POLLOUT, watch); !ready) {
                return ready;
            }
        } else if (errno != EINTR) {
            return tl::unexpected(gone());
        }
    }
    return {};
}

ConversionResult<void> ConversionWorker::receive(std::span<char> bytes, const Watch& watch) {
    const int pipe = m_run->child.pipe(conversion::answerPipe).get();
    while (!bytes.empty()) {
        const ssize_t got = ::read(pipe, bytes.data(), bytes.size());
        if (got > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(got));
        } else if (got < 0 && errno == EAGAIN) {
            if (auto ready = wait(pipe, POLLIN, watch); !ready) {
                return ready;
            }
        } else if (got == 0 || errno != EINTR) {
            return tl::unexpected(gone());
        }
    }
    return {};
}

ConversionResult<void> ConversionWorker::wait(int pipe, short events, const Watch& watch) {
    while (true) {
        if (watch.stop.stop_requested()) {
            return failed(Kind::cancelled, "cancelled");
        }
        const auto left = std::chrono::ceil<milliseconds>(watch.deadline - Clock::now());
        if (left <= milliseconds{0}) {
            return failed(Kind::refused, "converting it takes too long");
        }
        pollfd news{pipe, events, 0};
        if (::poll(&news, 1, static_cast<int>(std::min(left, stopInterval).count())) > 0) {
            return {};
        }
    }
}

ConversionError ConversionWorker::gone() {
    m_isGone = true;
    static_cast<void>(m_run->child.waitUntil(Clock::now() + endPatience));
    const ChildEnd ended = m_run->child.stop();
    std::string reason = "its converter failed: " + ended.text();
    if (const std::string_view said =
            std::string_view(ended.errors).substr(0, ended.errors.find('\n'));
        !said.empty()) {
        reason += " (" + std::string(said) + ")";
    }
    return {Kind::refused, std::move(reason)};
}

} // namespace quillorn
