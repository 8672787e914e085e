#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <tl/expected.hpp>

namespace quillorn::worker {

/// The text of an SVG file (or a compressed one, SVGZ) as it may be shown to a library: plain XML
/// in UTF-8 of at most `limit` bytes, whatever the file's encoding was.
///
/// Everything by which some kilobytes can become gigabytes only while they are parsed is settled
/// here: there is no document type any more, and entities stand expanded. Real files use them for
/// addresses and for repeated styles; those that stand for entities or elements, and declarations
/// that are put together while they are read, are refused. Comments and processing instructions are
/// gone as well (one kind of the latter names files to be read).
///
/// The error is one line: why this is no usable drawing.
[[nodiscard]] tl::expected<std::string, std::string> readDrawingText(std::span<const char> file,
                                                                     std::uint64_t limit);

} // namespace quillorn::worker
