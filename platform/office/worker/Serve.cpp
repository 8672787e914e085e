#include "platform/office/worker/Serve.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <span>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace quillorn::conversion {

namespace {

constexpr std::size_t blockSize = std::size_t{256} << 10U;
constexpr std::size_t longestText = std::size_t{16} << 10U;

/// False when the pipe ends before.
bool readAll(std::span<char> bytes) {
    while (!bytes.empty()) {
        const ssize_t got = ::read(jobPipe, bytes.data(), bytes.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
    return true;
}

bool say(std::span<const char> bytes) {
    while (!bytes.empty()) {
        const ssize_t put = ::write(answerPipe, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(put));
    }
    return true;
}

/// Says the answer without the PDF, which is to follow.
bool sayHead(const Answer& answer, std::uint64_t pdfBytes) {
    const std::string_view text = std::string_view(answer.text).substr(0, longestText);
    AnswerHeader header;
    header.outcome = answer.outcome;
    header.textBytes = static_cast<std::uint32_t>(text.size());
    header.pdfBytes = pdfBytes;
    return say(std::span(reinterpret_cast<const char*>(&header), sizeof header)) && say(text);
}

bool sayFile(const FileDescriptor& file, std::uint64_t size) {
    std::string block(blockSize, '\0');
    std::uint64_t said = 0;
    while (said < size) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(size - said, blockSize));
        const ssize_t got = ::pread(file.get(), block.data(), wanted, static_cast<off_t>(said));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0 || !say(std::span(block).first(static_cast<std::size_t>(got)))) {
            return false;
        }
        said += static_cast<std::uint64_t>(got);
    }
    return true;
}

bool reply(const Answer& answer) {
    if (answer.outcome != Outcome::converted) {
        return sayHead(answer, 0);
    }
    struct stat status {};
    if (!answer.pdf.isOpen() || ::fstat(answer.pdf.get(), &status) != 0 || status.st_size <= 0) {
        return sayHead({Outcome::refused, "nothing was made of it"}, 0);
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    return sayHead(answer, size) && sayFile(answer.pdf, size);
}

} // namespace

bool announce(const Answer& answer) {
    return sayHead(answer, 0);
}

int serve(const Converter& convert) {
    while (true) {
        Job job;
        if (!readAll(std::span(reinterpret_cast<char*>(&job.header), sizeof job.header))) {
            return 0;
        }
        job.document.resize(job.header.documentBytes);
        if (!readAll(job.document)) {
            return 0;
        }
        const Answer answer = convert(job);
        if (!reply(answer) || answer.outcome == Outcome::unavailable) {
            return 1;
        }
    }
}

} // namespace quillorn::conversion
