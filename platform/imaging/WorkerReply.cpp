#include "platform/imaging/WorkerReply.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

using worker::PlaneReply;
using worker::Reply;
using worker::ReplyKind;

constexpr std::uint64_t longestText = 1000;
constexpr std::uint64_t largestPalette = std::uint64_t{3} * 256;
constexpr std::uint64_t largestProfile = 16U << 20U;
constexpr double shortestDrawing = 1e-3; // points
constexpr double longestDrawing = 1e6;   // points

bool isAllowedDepth(std::uint32_t bits) {
    return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
}

/// What does not get smaller by packing gets this much larger at most, with room to spare.
std::uint64_t mostPackedBytes(const Reply& reply, const PlaneReply& plane) {
    constexpr std::uint64_t overhead = 4096;
    constexpr std::uint64_t share = 64;
    const std::uint64_t bits =
        std::uint64_t{reply.width} * plane.components * plane.bitsPerComponent;
    const std::uint64_t rows = reply.height * (1 + (bits + 7) / 8);
    return rows + rows / share + overhead;
}

bool isSoundPlane(const Reply& reply, const PlaneReply& plane, bool isAlpha) {
    const bool isFax = plane.coding == static_cast<std::uint32_t>(PackedPlane::Coding::group4);
    const bool isRows = plane.coding == static_cast<std::uint32_t>(PackedPlane::Coding::pngRows);
    const bool hasColours =
        plane.components == 1 || (!isAlpha && (plane.components == 3 || plane.components == 4));
    return plane.bytes > 0 && plane.bytes <= mostPackedBytes(reply, plane) &&
           isAllowedDepth(plane.bitsPerComponent) && hasColours &&
           (isRows || (isFax && plane.components == 1 && plane.bitsPerComponent == 1));
}

bool isSound(const Reply& reply, std::uint64_t size, ImageFormat asked, const ImageLimits& limits) {
    // Each part is bounded by the whole first, so that their sum cannot overflow.
    for (const std::uint64_t part : {reply.textBytes, reply.paletteBytes, reply.profileBytes,
                                     reply.drawingBytes, reply.colours.bytes, reply.alpha.bytes}) {
        if (part > size) {
            return false;
        }
    }
    if (sizeof reply + reply.textBytes + reply.paletteBytes + reply.profileBytes +
            reply.drawingBytes + reply.colours.bytes + reply.alpha.bytes !=
        size) {
        return false;
    }
    switch (reply.kind) {
    case ReplyKind::pixels:
        return asked != ImageFormat::svg && limits.allowSize(reply.width, reply.height) &&
               isSoundPlane(reply, reply.colours, false) &&
               (reply.alpha.bytes == 0 || isSoundPlane(reply, reply.alpha, true)) &&
               reply.paletteBytes <= largestPalette && reply.paletteBytes % 3 == 0 &&
               (reply.paletteBytes == 0 ||
                (reply.colours.components == 1 && reply.colours.bitsPerComponent <= 8)) &&
               reply.profileBytes <= largestProfile;
    case ReplyKind::drawing:
        return asked == ImageFormat::svg && reply.drawingBytes > 0 &&
               reply.drawingWidth >= shortestDrawing && reply.drawingHeight >= shortestDrawing &&
               reply.drawingWidth <= longestDrawing && reply.drawingHeight <= longestDrawing;
    case ReplyKind::refused:
    case ReplyKind::notMine:
    case ReplyKind::tooLarge:
        return reply.textBytes <= longestText;
    }
    return false;
}

/// Takes the parts one after the other.
class Parts {
public:
    Parts(const FileDescriptor& output, std::uint64_t start) : m_output(output), m_at(start) {}

    std::vector<char> take(std::uint64_t size) {
        std::vector<char> bytes(static_cast<std::size_t>(size));
        const auto got = readAt(m_output, "the worker's answer", bytes, m_at);
        m_isWhole = m_isWhole && got && *got == bytes.size();
        m_at += size;
        return bytes;
    }
    [[nodiscard]] bool isWhole() const { return m_isWhole; }

private:
    const FileDescriptor& m_output;
    std::uint64_t m_at;
    bool m_isWhole = true;
};

PackedPlane planeOf(const PlaneReply& reply, std::vector<char> data) {
    return PackedPlane{static_cast<PackedPlane::Coding>(reply.coding),
                       static_cast<int>(reply.components), static_cast<int>(reply.bitsPerComponent),
                       std::move(data)};
}

PackedImage imageOf(const Reply& reply, Parts& parts) {
    PackedImage image;
    image.width = reply.width;
    image.height = reply.height;
    image.density = {reply.horizontalDensity, reply.verticalDensity};
    image.colours = planeOf(reply.colours, parts.take(reply.colours.bytes));
    image.palette = parts.take(reply.paletteBytes);
    if (reply.alpha.bytes > 0) {
        image.alpha = planeOf(reply.alpha, parts.take(reply.alpha.bytes));
    }
    image.iccProfile = parts.take(reply.profileBytes);
    const int components = image.palette.empty() ? image.colours.components : 3;
    if (!isProfileFor(image.iccProfile, components)) {
        image.iccProfile.clear();
    }
    return image;
}

std::string printableLine(const std::vector<char>& text) {
    std::string line(text.begin(), text.end());
    std::ranges::replace_if(
        line, [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 127; },
        ' ');
    return line.empty() ? "it cannot be read" : line;
}

} // namespace

tl::expected<WorkerReply, std::string>
readWorkerReply(const FileDescriptor& output, ImageFormat asked, const ImageLimits& limits) {
    const auto stamp = FileStamp::of(output, "the worker's answer");
    if (!stamp) {
        return tl::unexpected(stamp.error().reason);
    }
    Reply reply;
    const auto got = readAt(output, "the worker's answer",
                            std::span(reinterpret_cast<char*>(&reply), sizeof reply), 0);
    if (!got || *got != sizeof reply || reply.mark != worker::replyMark ||
        stamp->size > limits.workerOutput || !isSound(reply, stamp->size, asked, limits)) {
        return tl::unexpected(std::string("its answer makes no sense"));
    }
    Parts parts(output, sizeof reply);
    WorkerReply result;
    result.kind = reply.kind;
    result.text = printableLine(parts.take(reply.textBytes));
    if (reply.kind == ReplyKind::pixels) {
        result.image = imageOf(reply, parts);
    } else if (reply.kind == ReplyKind::drawing) {
        result.image =
            VectorImage{parts.take(reply.drawingBytes), reply.drawingWidth, reply.drawingHeight};
    }
    if (!parts.isWhole()) {
        return tl::unexpected(std::string("its answer is cut off"));
    }
    return result;
}

} // namespace quillorn
