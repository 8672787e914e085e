#include "platform/imaging/worker/Task.h"

#include "platform/files/FileDescriptor.h"
#include "platform/sandbox/Confinement.h"

#include <charconv>
#include <csignal>
#include <cstddef>
#include <exception>
#include <new>
#include <optional>
#include <span>
#include <string_view>
#include <sys/prctl.h>
#include <unistd.h>
#include <utility>

namespace quillorn::worker {

namespace {

constexpr int wrongUse = 2;
constexpr int noOutput = 3;
constexpr std::size_t longestText = 500;

struct Arguments {
    Task task;
    std::uint64_t parent = 0;
};

bool readNumber(std::string_view text, std::uint64_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

std::optional<Arguments> readArguments(int argc, char** argv) {
    constexpr int expected = 8;
    if (argc != expected) {
        return std::nullopt;
    }
    Arguments arguments;
    std::uint64_t side = 0;
    std::uint64_t seconds = 0;
    const auto format = imageFormatNamed(argv[1]);
    ImageLimits& limits = arguments.task.limits;
    if (!format || !readNumber(argv[2], limits.pixels) || !readNumber(argv[3], side) ||
        !readNumber(argv[4], limits.workerMemory) || !readNumber(argv[5], limits.workerOutput) ||
        !readNumber(argv[6], seconds) || !readNumber(argv[7], arguments.parent)) {
        return std::nullopt;
    }
    arguments.task.format = *format;
    limits.side = static_cast<std::uint32_t>(side);
    limits.workerProcessorTime = std::chrono::seconds(seconds);
    return arguments;
}

class Answer {
public:
    [[nodiscard]] bool send(const Decoded& decoded) {
        if (!decoded) {
            m_reply.kind = decoded.error().kind;
            const std::string text = decoded.error().reason.substr(0, longestText);
            m_reply.textBytes = text.size();
            return write(std::span(reinterpret_cast<const char*>(&m_reply), sizeof m_reply)) &&
                   write(text);
        }
        return std::visit([this](const auto& image) { return sendImage(image); }, *decoded);
    }

private:
    static PlaneReply planeReply(const PackedPlane& plane) {
        return PlaneReply{plane.data.size(), static_cast<std::uint32_t>(plane.coding),
                          static_cast<std::uint32_t>(plane.components),
                          static_cast<std::uint32_t>(plane.bitsPerComponent), 0};
    }

    bool sendImage(const PackedImage& image) {
        m_reply.kind = ReplyKind::pixels;
        m_reply.width = image.width;
        m_reply.height = image.height;
        m_reply.horizontalDensity = image.density.horizontal;
        m_reply.verticalDensity = image.density.vertical;
        m_reply.colours = planeReply(image.colours);
        if (image.alpha) {
            m_reply.alpha = planeReply(*image.alpha);
        }
        m_reply.paletteBytes = image.palette.size();
        m_reply.profileBytes = image.iccProfile.size();
        return write(std::span(reinterpret_cast<const char*>(&m_reply), sizeof m_reply)) &&
               write(image.colours.data) && write(image.palette) &&
               (!image.alpha || write(image.alpha->data)) && write(image.iccProfile);
    }

    bool sendImage(const VectorImage& image) {
        m_reply.kind = ReplyKind::drawing;
        m_reply.drawingWidth = image.width;
        m_reply.drawingHeight = image.height;
        m_reply.drawingBytes = image.pdf.size();
        return write(std::span(reinterpret_cast<const char*>(&m_reply), sizeof m_reply)) &&
               write(image.pdf);
    }

    bool write(std::span<const char> bytes) {
        return writeAll(m_output, "output", bytes).has_value();
    }

    FileDescriptor m_output{outputDescriptor};
    Reply m_reply;
};

FileResult<std::vector<char>> readInput(std::uint64_t limit) {
    const FileDescriptor input(inputDescriptor);
    const auto stamp = FileStamp::of(input, "input");
    if (!stamp) {
        return tl::unexpected(stamp.error());
    }
    if (stamp->size > limit) {
        return tl::unexpected(FileError{"input", "the file is too large", 0});
    }
    std::vector<char> bytes(static_cast<std::size_t>(stamp->size));
    const auto got = readAt(input, "input", bytes, 0);
    if (!got) {
        return tl::unexpected(got.error());
    }
    bytes.resize(*got);
    return bytes;
}

Decoded decodeInput(const Task& task,
                    const std::function<Decoded(const Task&, std::vector<char>&)>& decode) {
    try {
        auto bytes = readInput(task.limits.fileBytes);
        if (!bytes) {
            return tl::unexpected(Refusal{ReplyKind::refused, bytes.error().reason});
        }
        return decode(task, *bytes);
    } catch (const std::bad_alloc&) {
        return tl::unexpected(
            Refusal{ReplyKind::tooLarge, "it needs more memory than an image may take"});
    } catch (const std::exception& error) {
        return tl::unexpected(Refusal{ReplyKind::refused, error.what()});
    }
}

} // namespace

int serve(int argc, char** argv,
          const std::function<Decoded(const Task&, std::vector<char>&)>& decode) {
    const auto arguments = readArguments(argc, argv);
    if (!arguments) {
        return wrongUse;
    }
    // A worker must not outlive whom it works for, who may have gone before this was said.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (static_cast<std::uint64_t>(::getppid()) != arguments->parent) {
        return wrongUse;
    }
    const ImageLimits& limits = arguments->task.limits;
    limitResources(
        ResourceLimits{limits.workerMemory, limits.workerOutput, limits.workerProcessorTime});
    confine(systemFolders());
    const Decoded decoded = decodeInput(arguments->task, decode);
    return Answer().send(decoded) ? 0 : noOutput;
}

} // namespace quillorn::worker
