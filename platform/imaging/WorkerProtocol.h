#pragma once

#include <array>
#include <cstdint>

namespace quillorn::worker {

/// How the program and the processes that decode images for it speak with each other. Both come
/// from the same build on the same machine, so numbers are in its own order.
///
/// A worker is started with `inputDescriptor`, an open file; `outputDescriptor`, an empty file in
/// memory; and `lifeDescriptor`, a pipe that it never touches: when its end is closed the worker is
/// gone. Its arguments are the format's name, then the limits, each in decimal: the most pixels,
/// the longest side, bytes of memory, bytes of output, seconds of processor time, and the number
/// of the process that started it. It writes a Reply and what that announces to the output, and
/// ends with status 0. Any other end is a failure.
inline constexpr int inputDescriptor = 3;
inline constexpr int outputDescriptor = 4;
inline constexpr int lifeDescriptor = 5;

inline constexpr std::array<char, 8> replyMark = {'Q', 'F', 'i', 'm', 'a', 'g', 'e', '1'};

enum class ReplyKind : std::uint32_t {
    refused = 1, ///< the text says why
    notMine = 2, ///< this worker cannot read the image, another one may; the text says why
    pixels = 3,
    drawing = 4,
    tooLarge = 5 ///< the text says why
};

/// What one plane of pixels is packed as; `bytes` is 0 for a plane that is missing.
struct PlaneReply {
    std::uint64_t bytes = 0;
    std::uint32_t coding = 0; ///< PackedPlane::Coding
    std::uint32_t components = 0;
    std::uint32_t bitsPerComponent = 0;
    std::uint32_t unused = 0;
};

/// Stands at the start of the output. Behind it follow, without gaps, the text, the colours'
/// plane, the palette, the alpha plane, the ICC profile, and the drawing.
struct Reply {
    std::array<char, 8> mark = replyMark;
    ReplyKind kind = ReplyKind::refused;
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0; ///< pixels
    std::uint32_t unused = 0;
    double horizontalDensity = 0; ///< pixels an inch
    double verticalDensity = 0;   ///< pixels an inch
    double drawingWidth = 0;      ///< points
    double drawingHeight = 0;     ///< points
    PlaneReply colours;
    PlaneReply alpha;
    std::uint64_t textBytes = 0;
    std::uint64_t paletteBytes = 0;
    std::uint64_t profileBytes = 0;
    std::uint64_t drawingBytes = 0;
};

} // namespace quillorn::worker
