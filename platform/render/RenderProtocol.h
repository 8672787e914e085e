#pragma once

#include <cstddef>
#include <cstdint>

namespace quillorn::render {

/// How the program and the processes that draw pages for it speak with each other: in packets over
/// a socket pair, each one of the structs below. Both come from the same build on the same machine.
/// Nothing here tells what library draws.
///
/// A worker is started with the socket as `channelDescriptor`; its arguments are bytes of memory,
/// seconds of processor time a page, and the number of the process that started it. It answers
/// one request after the other and ends when the socket is closed, or by itself after an answer
/// when it has grown too large. While it draws, any packet means that the answer is no longer
/// wanted.
inline constexpr int channelDescriptor = 3;

/// In pixels; more than any screen has.
inline constexpr std::uint32_t longestSide = 16384;
inline constexpr std::uint64_t bytesAPixel = 4;

/// What a program sends.
enum class Command : std::uint32_t {
    open = 1,   ///< with a descriptor of the document; answered by `opened` or `failed`
    close = 2,  ///< forgets a document; not answered
    canvas = 3, ///< with a descriptor of shared memory, where pictures go from now on; not answered
    draw = 4,   ///< answered by `drawn`, `failed` or `cancelled`
    cancel = 5  ///< not answered
};

struct Request {
    static constexpr std::size_t longestPassword = 512;

    Command command = Command::cancel;
    std::uint32_t document = 0; ///< a number of the program's choice
    std::uint64_t bytes = 0;    ///< of the document, or of the shared memory
    std::uint32_t page = 0;     ///< from 0
    std::uint32_t width = 0;    ///< pixels; the picture fits in, with the page's proportions
    std::uint32_t height = 0;   ///< pixels
    std::int32_t rotation = 0;  ///< degrees clockwise on top of the page's own: 0, 90, 180, 270
    std::uint32_t passwordLength = 0;
    char password[longestPassword] = {}; ///< to open, as bytes
};

/// What a worker answers.
enum class Answer : std::uint32_t { opened = 1, drawn = 2, failed = 3, cancelled = 4 };

struct Reply {
    Answer answer = Answer::failed;
    std::uint32_t document = 0;
    std::uint32_t pageCount = 0; ///< of an opened document
    std::uint32_t width = 0;     ///< pixels; rows follow each other without gaps
    std::uint32_t height = 0;    ///< pixels; each is four bytes: blue, green, red and unused
    std::uint32_t unused = 0;
};

} // namespace quillorn::render
