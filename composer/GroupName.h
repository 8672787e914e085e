#pragma once

#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace quillorn {

/// The texts that tell the user why a group cannot have a name, which stands for "%@".
namespace group_message {
inline constexpr std::string_view alreadyExists = "%@ already exists.";
inline constexpr std::string_view unsupportedFormat = "%@ is not of a supported format.";
} // namespace group_message

/// Whether a new group may be called `name`; the error is the text for the user.
///
/// A group's name is the name of the file that it becomes. It is unique among `existing` names,
/// compared exactly: "Untitled.PDF" may stand beside "Untitled.pdf". Its extension is pdf in any
/// case, so ".pdf" alone, which has no extension, is refused. Whether a folder can hold a file
/// of that name shows when it is written.
[[nodiscard]] tl::expected<void, std::string> checkGroupName(const std::string& name,
                                                             std::span<const std::string> existing);

} // namespace quillorn
