#pragma once

namespace quillorn {

/// What the commands end with. An interrupted one ends with 128 plus the signal's number, as
/// shells expect.
namespace exit_status {
inline constexpr int done = 0;
inline constexpr int usage = 2;      ///< the command line makes no sense; nothing was written
inline constexpr int refused = 3;    ///< an input was refused
inline constexpr int notWritten = 4; ///< an output could not be written; outranks `refused`
} // namespace exit_status

} // namespace quillorn
